#pragma once

#include <vector>

#include "limber/linalg/Vector.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Curves.h"
#include "limber_motion/Edit.h"
#include "limber_motion/Holds.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/Smoothness.h"
#include "limber_motion/StepSystem.h"
#include "limber_motion/detail/Floor.h"

namespace limber::motion::detail {

/// Takes the Gauss-Newton steps of an edit, from the original motion to the edited one.
///
/// The change is made in three stages with shorter and shorter time constants. In the first two, the targets
/// pull only as strongly as the trembling of the recording allows. The last stage meets the targets exactly;
/// little is missing by then. (A single stage would have to imitate the trembling with a smooth curve. The
/// linearized equations can do that by turning joints far, but the body cannot.)
class Motion {
 public:
  /// `original` has continuous angles. `wishes` are sorted by frame. Those for which `givenUp` is true pull
  /// only in the first stage, and gently: their pull is multiplied by `pull`, which is between 0 and 1. The
  /// other operands must outlive this object.
  Motion(const Clip& original, const Skeleton& skeleton, const std::vector<Constraint>& wishes,
         const std::vector<int>& rank, const std::vector<bool>& givenUp, double pull, Floor floor,
         const EditOptions& options);

  /// Takes all steps.
  void run();

  const Clip& clip() const { return clip_; }
  const std::vector<EditStep>& steps() const { return steps_; }
  /// For each constraint, true if it was given up, including those that stayed far from their targets.
  const std::vector<bool>& givenUp() const { return givenUp_; }
  /// True if a target would have turned a joint by more than is allowed.
  bool turnedTooFar() const { return turnedTooFar_; }
  /// True if the observer ended the edit.
  bool interrupted() const { return interrupted_; }
  /// The largest distance of an exact constraint from its target, in body heights, and the index of that
  /// constraint (-1 if there is none).
  double largestMiss(int* wish = nullptr) const;

 private:
  /// What one step minimizes.
  struct Stage {
    const Smoothness& measure;
    bool exact;
    double pull;        // weight of a squared miss in the clip's unit
    double gentlePull;  // the same for constraints that are given up
  };

  bool run(const Stage& stage, int number);
  bool getsNearer() const;
  bool finished(const Stage& stage) const;
  bool step(const Stage& stage, double damping);
  std::vector<Hold> holds(const Stage& stage) const;
  double cost(const Stage& stage, const Vector& change, const std::vector<Hold>& holds) const;
  void show(const Vector& change);
  void giveUpWhatStaysFar(double distance);
  Vector direction(const Stage& stage, double damping);
  double goAlong(const Stage& stage, Vector step, const std::vector<Hold>& wanted);
  bool bindWhatTurnsTooFar(const Stage& stage, const Vector& step);
  double mostTurn(const Stage& stage, std::size_t channel, bool allowed) const;
  double keptAt(const Stage& stage, const Bound& bound) const;
  std::vector<Bound> boundsOf(const Stage& stage) const;
  double largestTurn(const Vector& change) const;
  std::vector<double> massesWith(double trunk) const;
  double trembling(int stride) const;
  bool isExact(std::size_t wish) const { return wishes_[wish].weight >= 1.0 && !givenUp_[wish]; }

  const Clip& original_;
  const Skeleton& skeleton_;
  const std::vector<Constraint>& wishes_;
  std::vector<bool> givenUp_;
  const double givenUpPull_;
  const EditOptions& options_;
  Floor floor_;
  Curves curves_;
  std::vector<int> channels_;    // the channels that move a held joint
  std::vector<double> urgency_;  // for each constraint 1, or more if its joint is held only for a short time
  Clip clip_;
  Holds holds_;
  std::vector<double> masses_;
  std::vector<double> plantTurns_;  // how far each channel should turn
  Vector before_, change_;          // the changes of the previous stages and of this one
  std::vector<Bound> bounds_;  // unknowns that would turn too far: value is the sign of the turn, weight is 1
                               // if a larger turn is not allowed, and 0 if a smaller one is only preferred
  bool turnedTooFar_ = false, interrupted_ = false;
  std::vector<EditStep> steps_;
};

}  // namespace limber::motion::detail
