#pragma once

#include <vector>

#include "limber/linalg/Vector.h"
#include "limber_motion/Clip.h"
#include "limber_motion/Curves.h"
#include "limber_motion/Edit.h"
#include "limber_motion/Holds.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/Smoothness.h"

namespace limber::motion::detail {

/// The feet's lowest allowed height, frame by frame.
struct Floor {
  std::vector<int> feet;
  double ground;  ///< in the clip's unit
};

/// A motion on its way from the original to the edited one: the Gauss-Newton steps of an edit.
///
/// It is made in two stages. First the targets pull, with a strength that follows from the recording's own
/// trembling, on a change that is smooth over the time constant. Then what is still missing is made up for
/// exactly, by a change of short duration. (One stage would have to imitate the trembling with a smooth
/// curve, which the linearized equations make possible by large turns and the body does not.)
class Motion {
 public:
  /// `original` has continuous angles. `wishes` are sorted by frame. All must outlive the motion.
  Motion(const Clip& original, const Skeleton& skeleton, const std::vector<Constraint>& wishes,
         const Floor& floor, const EditOptions& options);

  /// Takes the steps; false when the observer ended them.
  bool run();

  const Clip& clip() const { return clip_; }
  const std::vector<EditStep>& steps() const { return steps_; }
  /// Why the steps ended early; empty when they did not.
  const std::string& stopped() const { return stopped_; }
  /// The largest distance of an exact wish from its target, in body heights, and which wish it is.
  double largestMiss(int* wish = nullptr) const;

 private:
  struct Stage {
    const Smoothness& measure;
    bool exact;
    double pull;    // weight of a miss^2, in the clip's unit
    int rounds;     // of multipliers
    Vector change;  // of this stage alone
  };

  bool step(Stage* stage, double damping);
  std::vector<Hold> holds(const Stage& stage) const;
  void addFloor(std::vector<Hold>* holds, double weight) const;
  double cost(const Stage& stage, const Vector& change, const std::vector<Hold>& holds) const;
  void show(const Vector& change);
  double largestTurn(const Vector& change) const;
  double trembling() const;

  const Clip& original_;
  const Skeleton& skeleton_;
  const std::vector<Constraint>& wishes_;
  const Floor& floor_;
  const EditOptions& options_;
  Curves curves_;
  std::vector<int> channels_;  // that move a held joint
  Clip clip_;
  Holds holds_;
  std::vector<double> masses_;
  Vector base_;  // the change of the stages before
  std::vector<EditStep> steps_;
  std::string stopped_;
};

}  // namespace limber::motion::detail
