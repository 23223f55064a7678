#pragma once

#include <optional>
#include <vector>

#include "limber_motion/Clip.h"
#include "limber_motion/Constraint.h"
#include "limber_motion/Contacts.h"
#include "limber_motion/Edit.h"
#include "limber_motion/Report.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/Floor.h"
#include "limber_motion/detail/GivingUp.h"
#include "limber_motion/detail/Loosening.h"
#include "limber_motion/detail/Motion.h"
#include "limber_motion/detail/Reach.h"
#include "limber_motion/detail/Reasons.h"

namespace limber::motion::detail {

/// Edits a clip so that it meets the constraints, in as many attempts as it takes, and reports the result.
class EditRun {
 public:
  /// `constraints` are sorted by frame and not empty. `rank` is 0 for contacts and 1 for constraints of the
  /// user. The operands must outlive this object.
  EditRun(Clip* clip, const Contacts& feet, const std::vector<Constraint>& constraints,
          const std::vector<int>& rank, const EditOptions& options);

  Report run();

 private:
  /// The best attempt so far.
  struct Best {
    double badness;  // Loosening::badness
    Clip clip;
    std::vector<double> looseness;
    std::vector<EditStep> steps;
  };

  bool attempt(GivingUp* givingUp);
  void takeSteps(Motion* motion);
  bool loosen(const Motion& motion);
  void take(const Clip& edited, const std::vector<EditStep>& steps);
  std::vector<double> misses() const;
  std::vector<bool> missedOrAtFault(const std::vector<double>& misses) const;
  void noteMisses();
  void measure();
  std::vector<std::string> measureDepth();
  void explain();
  void noteBrokenBounds();
  void noteGimbalLock();

  Clip& clip_;
  const Contacts& feet_;
  const std::vector<Constraint>& constraints_;
  const std::vector<int>& rank_;
  const EditOptions& options_;
  const Clip original_;
  const Clip continuous_;  // the original with continuous angles
  const Skeleton skeleton_;
  const Impossible impossible_;
  const Floor floor_;
  const Task task_;
  Loosening loosening_;
  int loosened_ = 0;  // the number of times that contacts were loosened
  std::optional<Best> best_;
  std::vector<Hindrance> whyGivenUp_;  // for each constraint, if it is given up
  Hindrance hindrance_ = Hindrance::Steps;
  bool interrupted_ = false;
  Report report_;
};

}  // namespace limber::motion::detail
