#pragma once

#include <utility>
#include <vector>

#include "limber/linalg/Vector.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Curves.h"
#include "limber_motion/Edit.h"
#include "limber_motion/Holds.h"
#include "limber_motion/detail/Floor.h"
#include "limber_motion/detail/Places.h"
#include "limber_motion/detail/Stages.h"
#include "limber_motion/detail/Task.h"
#include "limber_motion/detail/TurnBounds.h"
#include "limber_motion/detail/Window.h"
#include "limber_motion/detail/WindowStep.h"

namespace limber::motion::detail {

/// Takes the Gauss-Newton steps of an edit, from the original motion to the edited one, stage by stage. The
/// measure of smoothness is local in time. So after its first step a stage continues only in windows around
/// the frames that need it, and a later run changes only windows around the constraints that changed.
class Motion {
 public:
  /// Constraints for which `givenUp` is true pull only in the first stage, and gently: their pull is
  /// multiplied by `pull`, which is between 0 and 1. The task must outlive this object.
  Motion(const Task& task, const std::vector<bool>& givenUp, double pull, Floor floor);

  /// Takes all steps. `looseness` has one number per constraint (Loosening). A later call keeps the result of
  /// the last one outside the windows around the constraints that changed. If no constraint pulls more weakly
  /// than before, only the last stage is repeated.
  void run(const std::vector<double>& looseness);

  /// True if the last stage would take another step, but has taken as many as the options allow.
  bool ranOutOfSteps() const { return !interrupted_ && !open_.empty(); }
  /// Takes as many more steps of the last stage as the options allow for a run.
  void goOn();

  const Clip& clip() const { return changes_.clip; }
  const std::vector<EditStep>& steps() const { return steps_; }
  /// True if the steps near a frame would have turned a joint by more than is allowed.
  bool turnsTooFar(int frame) const;
  /// True if the observer ended the edit.
  bool interrupted() const { return interrupted_; }

 private:
  std::size_t lastStage() const { return stages_.size() - 1; }
  bool pullsAsBefore(const std::vector<double>& looseness) const;
  void begin(std::size_t s);
  void aimBetween();
  void keepBone(std::size_t constraint, const Places& places);
  std::vector<Window> windowsOf(std::size_t s, std::vector<Window> windows);
  void restore(const Vector& change, const std::vector<Window>& windows);
  void run(const Stage& stage, std::vector<Window> windows, int mostSteps);
  std::vector<Window> step(const Stage& stage, const std::vector<Window>& windows);
  double step(const Stage& stage, const Window& window);
  std::vector<Window> unfinished(const Stage& stage, const Window& window, double scale,
                                 const std::vector<double>& missesBefore);
  std::vector<Hold> asks(const Stage& stage) const;
  std::vector<Hold> holdsIn(const Stage& stage, const Window& window) const;
  std::vector<Window> around(const std::vector<bool>& marks, const Window& window, int margin) const;
  void measureMisses(const Window& window);
  double largestMiss(const Window& window) const;
  std::pair<int, int> framesOf(const Window& window) const {
    return detail::framesOf(window, curves_, task_.original.frames);
  }
  std::pair<std::size_t, std::size_t> constraintsOf(const Window& window) const;
  bool isExact(std::size_t constraint) const {
    return task_.constraints[constraint].weight >= 1.0 && !givenUp_[constraint] &&
           looseness_[constraint] == 0.0;
  }

  const Task& task_;
  const std::vector<bool> givenUp_;  // for each constraint
  const double givenUpPull_;
  const Curves curves_;
  const std::vector<int> channels_;    // the channels that move a held joint or a foot
  const std::vector<double> urgency_;  // for each constraint
  const Window all_;                   // the whole clip
  Floor floor_;
  TurnBounds turns_;
  const std::vector<Stage> stages_;

  std::vector<double> looseness_;  // for each constraint
  std::vector<Pnt3> aims_;         // for each constraint, where the last stage holds its joint
  std::vector<double> misses_;     // for each constraint, in heights
  Changes changes_;
  struct Done {               // what is kept of each stage for the next run
    std::vector<Hold> asked;  // for each constraint; the weight is 0 if it does not count
    Vector change;
  };
  std::vector<Done> done_;
  int stepsOfRun_ = 0,
      stepsBeforeLast_ = 0;   // the steps that count for this run, and those before its last stage
  std::vector<Window> open_;  // those in which the last stage would take another step
  bool interrupted_ = false;
  std::vector<EditStep> steps_;
};

}  // namespace limber::motion::detail
