#pragma once

#include <string>
#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// The constraints that no motion of a skeleton can meet, and what the edit aims at instead.
struct Impossible {
  std::vector<std::string> reasons;  ///< a sentence for each joint with constraints that are given up
  std::vector<bool> givenUp;         ///< one per constraint: true if it is given up
  std::vector<Constraint> aims;      ///< with targets within reach where one is given up or only pulls
};

/// Finds constraints that cannot be met:
/// - targets in one frame that are further apart than the bones between their joints reach, or closer
/// together than a rigid bone is long;
/// - targets far beyond the reach of the bones from the position of the root in the clip, unless the user
/// also asks for a place of the root or of a foot;
/// - targets of one joint in such quick succession that no body moves so fast.
/// Of two joints, the constraint with the higher rank is given up, or the later one if the ranks are equal.
/// With it, the whole run of frames in which that joint is held is given up. After a movement that is too
/// fast, the joint's constraints within 0.3 s are given up.
class ReachCheck {
 public:
  /// `constraints` are sorted by frame; those with a weight below 1 do not count. `rank` has one number per
  /// constraint: 0 for contacts, which take precedence, and 1 for constraints of the user. `feet` carry the
  /// body. `slack` is in the clip's unit.
  ReachCheck(const Clip& clip, const Skeleton& skeleton, const std::vector<Constraint>& constraints,
             const std::vector<int>& rank, const std::vector<int>& feet, double slack);

  Impossible find();

 private:
  /// The bones between two joints.
  struct Way {
    double length;
    bool rigid;  // a single bone, whose ends are always that far apart
  };
  /// The constraint of a joint that is furthest from what can be met.
  struct Worst {
    double excess = 0.0;
    std::string reason;
  };

  const Way& way(int a, int b);
  void comparePairs();
  void compareWithRoot();
  void compareTimes();
  void aimWithinReach();
  void giveUp(std::size_t constraint, double excess, const std::string& reason);
  bool counts(std::size_t constraint) const { return constraints_[constraint].weight >= 1.0; }
  bool isFoot(int joint) const;
  std::string name(int joint) const { return clip_.joints[static_cast<std::size_t>(joint)].name; }
  /// The speed that a joint rarely exceeds in the clip.
  double fastest(int joint);

  const Clip& clip_;
  const Skeleton& skeleton_;
  const std::vector<Constraint>& constraints_;
  const std::vector<int>& rank_;
  const std::vector<int>& feet_;
  const int root_;  // the joint that carries the body
  const double slack_;
  std::vector<Way> ways_;        // joints times joints; a length below 0 has not been computed yet
  std::vector<double> fastest_;  // below 0: not computed yet
  std::vector<Worst> worst_;
  Impossible found_;
};

}  // namespace limber::motion::detail
