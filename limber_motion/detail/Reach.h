#pragma once

#include <string>
#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Skeleton.h"

namespace limber::motion::detail {

/// What no motion of a skeleton can meet, and what is aimed at instead.
struct Impossible {
  std::vector<std::string> reasons;  ///< a sentence for each joint with wishes that are given up
  std::vector<bool> wishes;          ///< one a wish: true for those that are given up
  std::vector<Constraint> aims;  ///< the wishes; what is given up or only pulls aims at a place within reach
};

/// Finds what cannot be met: targets of one frame that are further apart than the bones between their joints
/// reach, or not as far apart as a rigid bone is long; targets far beyond the reach of the bones from where
/// the root is, unless the root or a foot is asked to be elsewhere; and targets of one joint so soon after
/// one another that no body moves so fast. Of two joints the wish with the higher rank is given up, or the
/// later one in the order of the wishes, and with it all of the run of frames in which that joint is held.
class ReachCheck {
 public:
  /// `wishes` are sorted by frame; those of a weight below 1 do not count. `rank` has one number a wish: 0
  /// for contacts, which go first, and 1 for what was asked for. `feet` carry the body. `slack` is in the
  /// clip's unit.
  ReachCheck(const Clip& clip, const Skeleton& skeleton, const std::vector<Constraint>& wishes,
             const std::vector<int>& rank, const std::vector<int>& feet, double slack);

  Impossible find();

 private:
  /// The bones between two joints.
  struct Way {
    double length;
    bool rigid;  // a single bone: its ends are always that far apart
  };
  /// The wish of a joint that is furthest from what can be met.
  struct Worst {
    double excess = 0.0;
    std::string reason;
  };

  const Way& way(int a, int b);
  void comparePairs();
  void compareWithRoot();
  void compareTimes();
  void aimWithinReach();
  void giveUp(std::size_t wish, double excess, const std::string& reason);
  bool counts(std::size_t wish) const { return wishes_[wish].weight >= 1.0; }
  bool isFoot(int joint) const;
  std::string name(int joint) const { return clip_.joints[static_cast<std::size_t>(joint)].name; }
  /// The speed that a joint hardly ever exceeds in the clip.
  double fastest(int joint);

  const Clip& clip_;
  const Skeleton& skeleton_;
  const std::vector<Constraint>& wishes_;
  const std::vector<int>& rank_;
  const std::vector<int>& feet_;
  const double slack_;
  std::vector<Way> ways_;        // joints times joints; a length below 0 has not been looked for
  std::vector<double> fastest_;  // below 0: has not been looked for
  std::vector<Worst> worst_;
  Impossible found_;
};

}  // namespace limber::motion::detail
