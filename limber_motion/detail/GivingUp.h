#pragma once

#include <vector>

#include "limber_motion/Constraint.h"

namespace limber::motion::detail {

/// Decides which constraints an edit gives up when a smooth motion cannot meet all of them, and how strongly
/// these still pull. At first it gives up what no motion can meet, with full pull. As long as the result is
/// not smooth, the pull becomes weaker. If that does not help, it gives up more: first the constraints that
/// were missed, then those in the same frames that were met. In both cases those of the user go before the
/// contacts.
class GivingUp {
 public:
  /// `constraints` are sorted by frame. `rank` is 0 for contacts and 1 for constraints of the user. Both must
  /// outlive this object. `impossible` is true for constraints that cannot be met.
  GivingUp(const std::vector<Constraint>& constraints, const std::vector<int>& rank,
           const std::vector<bool>& impossible)
      : constraints_(constraints), rank_(rank), givenUp_(impossible) {}

  const std::vector<bool>& givenUp() const { return givenUp_; }
  /// From 0 to 1.
  double pull() const { return pull_; }
  /// Prepares the next attempt after one that was not smooth. Returns false if nothing else helps. `missed`
  /// is true for the constraints that the last attempt did not meet.
  bool tryAgain(const std::vector<bool>& missed);

 private:
  bool giveUpMore(const std::vector<bool>& missed);
  bool giveUpBeside();

  const std::vector<Constraint>& constraints_;
  const std::vector<int>& rank_;
  std::vector<bool> givenUp_;
  double pull_ = 1.0;
};

/// If a constraint is given up, also gives up the whole run of consecutive frames in which its joint is held.
/// A joint that is held only in some of these frames would jump. `constraints` are sorted by frame.
void spreadOverRuns(const std::vector<Constraint>& constraints, std::vector<bool>* givenUp);

}  // namespace limber::motion::detail
