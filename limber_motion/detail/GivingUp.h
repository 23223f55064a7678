#pragma once

#include <vector>

#include "limber_motion/Constraint.h"

namespace limber::motion::detail {

/// What an edit gives up when not all wishes can be met by a smooth motion: which wishes, and how strongly
/// they still pull. At first it is what no motion can meet, with full pull. As long as the result is not
/// smooth, or what can be met suffers, the pull becomes weaker; when that does not help, more is given up:
/// what was missed, then what is met beside it; first of what was asked for, then of the contacts.
class GivingUp {
 public:
  /// `wishes` are sorted by frame, `rank` is 0 for contacts and 1 for what was asked for; both must outlive
  /// it. `impossible` has true for wishes that cannot be met.
  GivingUp(const std::vector<Constraint>& wishes, const std::vector<int>& rank,
           const std::vector<bool>& impossible)
      : wishes_(wishes), rank_(rank), wishesGivenUp_(impossible) {}

  const std::vector<bool>& wishes() const { return wishesGivenUp_; }
  /// From 0 to 1.
  double pull() const { return pull_; }
  /// Prepares the next attempt; false when the last one is good enough or nothing else helps. `missed` has
  /// true for the wishes that the last attempt did not meet.
  bool tryAgain(bool smooth, const std::vector<bool>& missed);

 private:
  bool giveUpMore(const std::vector<bool>& missed);
  bool giveUpBeside();

  const std::vector<Constraint>& wishes_;
  const std::vector<int>& rank_;
  std::vector<bool> wishesGivenUp_;
  double pull_ = 1.0;
};

/// Gives up whole runs of consecutive frames of a joint where one of their wishes is given up: a joint that
/// is held in some of them only would jump. `wishes` are sorted by frame.
void spreadOverRuns(const std::vector<Constraint>& wishes, std::vector<bool>* givenUp);

}  // namespace limber::motion::detail
