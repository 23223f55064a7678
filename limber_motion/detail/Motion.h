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

/// A motion on its way from the original to the edited one: the Gauss-Newton steps of an edit.
///
/// The change is made in stages of shorter and shorter time constants. In all but the last the targets pull,
/// as strongly as the recording's own trembling allows; the last one makes up exactly for what is still
/// missing, which is little by then. (One stage would have to imitate the trembling with a smooth curve. The
/// linearized equations can do that, by turning joints far; the body cannot.)
class Motion {
 public:
  /// `original` has continuous angles. `wishes` are sorted by frame. What has true in `givenUp`, one a wish,
  /// pulls gently in the first stage only, with `pull` as a factor from 0 to 1. The other operands must
  /// outlive the motion.
  Motion(const Clip& original, const Skeleton& skeleton, const std::vector<Constraint>& wishes,
         const std::vector<int>& rank, const std::vector<bool>& givenUp, double pull, Floor floor,
         const EditOptions& options);

  /// Takes the steps.
  void run();

  const Clip& clip() const { return clip_; }
  const std::vector<EditStep>& steps() const { return steps_; }
  /// What was given up in the end: also what stayed far from its target, one a wish.
  const std::vector<bool>& givenUp() const { return givenUp_; }
  /// A target would have turned a joint by more than is allowed.
  bool turnedTooFar() const { return turnedTooFar_; }
  /// The observer ended it.
  bool interrupted() const { return interrupted_; }
  /// The largest distance of an exact wish from its target, in body heights, and which wish it is (-1: none).
  double largestMiss(int* wish = nullptr) const;

 private:
  /// What one step minimizes.
  struct Stage {
    const Smoothness& measure;
    bool exact;
    double pull;        // weight of a miss^2, in the clip's unit
    double gentlePull;  // of what is given up
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
  std::vector<int> channels_;    // that move a held joint
  std::vector<double> urgency_;  // of each wish: 1, or more for what is held for a short time only
  Clip clip_;
  Holds holds_;
  std::vector<double> masses_;
  std::vector<double> plantTurns_;  // how far each channel should turn
  Vector before_, change_;          // the changes of the stages before, and of this one
  std::vector<Bound> bounds_;       // of what would turn too far: values are the signs of the turns,
                                    // weights 1 where more is not allowed and 0 where less were better
  bool turnedTooFar_ = false, interrupted_ = false;
  std::vector<EditStep> steps_;
};

}  // namespace limber::motion::detail
