#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Quality.h"
#include "limber_motion/detail/Places.h"
#include "limber_motion/detail/Task.h"

namespace limber::motion::detail {

/// Decides where the contacts that were found must not be held firmly, because the motion would not look
/// natural: a foot would start or stop too abruptly, or a joint would turn too far. Around such a moment, the
/// contacts of that limb, or only of what the turning joint moves, are held loosely: they follow the movement
/// that the first stages of the edit give them. If this does not help, so are the contacts of the whole limb
/// and then of all limbs, because what holds a foot also moves the trunk.
///
/// The looseness of a constraint is 0 if it is held at its target. From 0 to 1 it is held between its target
/// and where the first stages bring its joint. Each further 1 makes its pull in these stages about thirty
/// times weaker. Constraints of the user are never loose.
class Loosening {
 public:
  static constexpr double actsFor = 0.5;  ///< seconds: a constraint of the user acts that far

  /// The task must outlive this object.
  explicit Loosening(const Task& task);

  /// One number per constraint.
  const std::vector<double>& looseness() const { return looseness_; }
  /// Sets the looseness.
  void restore(const std::vector<double>& looseness) { looseness_ = looseness; }
  bool isLoose(std::size_t constraint) const { return looseness_[constraint] > 0.0; }
  /// The number of loose constraints.
  int count() const;

  /// Judges an edited clip, both with continuous angles. `missed` is true for the constraints that are not
  /// met although they should be.
  void judge(const Clip& edited, const std::vector<bool>& missed);
  /// How far the judged clip is from the bounds: at most 1 if it keeps them all.
  double badness() const { return badness_; }
  /// Loosens the contacts around the moments at which the judged clip breaks the bounds. Returns false if
  /// there are none.
  bool loosen();
  /// A sentence for each joint with loose contacts: where they are, how far they are from their targets at
  /// most, and why.
  std::vector<std::string> notes(const Clip& edited) const;

 private:
  /// A moment at which the motion breaks a bound.
  struct Offence {
    int joint, frame;
    double badness;
    int top;  // the contacts of the joints below this one are loosened
  };

  void judgeEnds(const Places& after, const std::vector<Stand>& stands, double mostMean);
  void judgeTurns(const Clip& edited);
  void judgeBody(const Places& after);
  void judgeMisses(const std::vector<bool>& missed);
  void offend(int joint, int frame, double badness);
  void offendByPart(const std::vector<Offence>& list);
  int limbOf(int joint) const { return limb_[static_cast<std::size_t>(joint)]; }
  /// The root is its own parent.
  int parentOf(int joint) const {
    return std::max(task_.original.joints[static_cast<std::size_t>(joint)].parent, 0);
  }
  int topOf(const Offence& offence) const;
  static bool isBefore(const Offence& a, const Offence& b);
  bool isAsked(int frame) const;

  const Task& task_;
  const Places before_;
  std::vector<Stand> stands_, runs_;  // the stands of the original, and the runs of held frames
  std::vector<int> limb_;             // for each joint the topmost joint of its limb; 0 for the trunk
  std::vector<bool> asked_;           // frames that are so near to a constraint of the user that it counts
  std::vector<double> looseness_;
  std::vector<Offence> offences_;
  std::vector<Offence> loosened_;  // those for which contacts were loosened last, by joint and frame
  double badness_ = 0.0;
};

}  // namespace limber::motion::detail
