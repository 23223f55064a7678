#pragma once

#include <vector>

#include "limber/linalg/Vector.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Curves.h"
#include "limber_motion/Edit.h"
#include "limber_motion/Holds.h"
#include "limber_motion/detail/Floor.h"
#include "limber_motion/detail/Stages.h"
#include "limber_motion/detail/Task.h"
#include "limber_motion/detail/TurnBounds.h"

namespace limber::motion::detail {

/// Takes the Gauss-Newton steps of one attempt, from the original motion to the edited one, stage by stage.
class Motion {
 public:
  /// Constraints for which `givenUp` is true pull only in the first stage, and gently: their pull is
  /// multiplied by `pull`, which is between 0 and 1. The task must outlive this object.
  Motion(const Task& task, const std::vector<bool>& givenUp, double pull, Floor floor);

  /// Takes all steps. `looseness` has one number per constraint (Loosening). If it is called again and no
  /// constraint pulls more weakly than before, only the steps of the last stage are taken again.
  void run(const std::vector<double>& looseness);

  const Clip& clip() const { return clip_; }
  const std::vector<EditStep>& steps() const { return steps_; }
  /// For each constraint, true if it was given up, including those that stayed far from their targets.
  const std::vector<bool>& givenUp() const { return givenUp_; }
  /// True if a target would have turned a joint by more than is allowed.
  bool turnedTooFar() const { return turns_.turnedTooFar(); }
  /// True if the observer ended the edit.
  bool interrupted() const { return interrupted_; }

 private:
  void approach();
  void meet();
  bool pullsAsBefore(const std::vector<double>& looseness) const;
  void run(const Stage& stage);
  bool worthAnother(const Stage& stage) const;
  bool getsNearer() const;
  bool finished(const Stage& stage) const;
  bool step(const Stage& stage, double damping);
  std::vector<Hold> holds(const Stage& stage) const;
  Vector direction(const Stage& stage, double damping);
  double goAlong(const Stage& stage, Vector step, const std::vector<Hold>& wanted);
  double cost(const Stage& stage, const Vector& change, const std::vector<Hold>& holds) const;
  void show(const Vector& change);
  void giveUpWhatStaysFar(const Stage& stage);
  void aimBetween();
  bool anyLoose() const;
  bool isExact(std::size_t wish) const {
    return task_.wishes[wish].weight >= 1.0 && !givenUp_[wish] && looseness_[wish] == 0.0;
  }
  double largestMiss() const;

  const Task& task_;
  const std::vector<bool> givenUpAtFirst_;
  std::vector<bool> givenUp_;
  const double givenUpPull_;
  std::vector<double> looseness_;
  std::vector<Pnt3> aims_;  // for each constraint, where the last stage holds its joint
  Floor floor_;
  Curves curves_;
  std::vector<int> channels_;    // the channels that move a held joint or a foot
  std::vector<double> urgency_;  // for each constraint
  Clip clip_;
  Holds holds_;
  TurnBounds turns_;
  std::vector<Stage> stages_;
  Vector before_, change_;  // the changes of the previous stages and of this one
  // After all stages but the last one: the change, the number of steps, and what was given up until then.
  Vector approach_;
  std::size_t approachSteps_ = 0;
  std::vector<bool> approachGivenUp_;
  bool interrupted_ = false;
  std::vector<EditStep> steps_;
};

}  // namespace limber::motion::detail
