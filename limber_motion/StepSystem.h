#pragma once

/// @file
/// The linear system of one Gauss-Newton step of an edit.

#include <vector>

#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber_motion/Api.h"
#include "limber_motion/Holds.h"
#include "limber_motion/Smoothness.h"

namespace limber::motion {

/// An unknown that is kept near a value, because it would go too far.
struct Bound {
  int unknown;
  double value;   ///< of d + x
  double weight;  ///< of the distance's square
};

/// From the change d made so far, the step x that makes
///     (d + x)^T R (d + x) + (c - J x)^T W (c - J x)
/// smallest, under the condition that the rows of exact holds are met, J x = c. (R the measure of smoothness,
/// J and the misses c of the holds, W their weights.) Each bound adds its weight times the square of the
/// distance between its unknown of d + x and its value.
///
/// Its matrix R + J^T W J is a band of half bandwidth 2 channels (or what the curves' overlap makes it),
/// factored by Cholesky's method: its cost is linear in the frames, and no iteration has to converge. The
/// exact rows are met by the method of multipliers (Hestenes 1969; Powell 1969): each round solves with the
/// same factor and adds W times what is still missed to the multipliers. Where rows depend on one another or
/// contradict each other, the rounds give the closest that there is.
class LIMBER_MOTION_API StepSystem {
 public:
  /// Forms and factors the matrix. `damping` is added as damping times the measure's own diagonal (Levenberg
  /// 1944). The operands must outlive it. False from factored() where the matrix holds what is not finite.
  StepSystem(const Smoothness& measure, const Holds& holds, double damping,
             const std::vector<Bound>& bounds = {});

  bool factored() const { return factored_; }
  /// `rounds` >= 1.
  void solve(const Vector& change, int rounds, Vector* step);

 private:
  const Smoothness& measure_;
  const Holds& holds_;
  std::vector<Bound> bounds_;
  ResizeMatrix band_;
  bool factored_;
};

}  // namespace limber::motion
