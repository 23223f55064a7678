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

/// An unknown that is kept near a value, because otherwise it would go too far.
struct Bound {
  int unknown;
  double value;   ///< of d + x
  double weight;  ///< the weight of the squared distance from the value
};

/// Computes the step x that minimises
///     (d + x)^T R (d + x) + (c - J x)^T W (c - J x)
/// subject to J x = c in the rows of exact holds. d is the change made so far, R the measure of smoothness, J
/// and c are the derivatives and the misses of the holds, and W their weights. Each bound adds its weight
/// times the squared distance between its unknown of d + x and its value.
///
/// The matrix R + J^T W J is a band, whose half bandwidth is the larger one of R and of J^T W J. It is
/// factored by Cholesky's method: the cost is linear in the number of frames, and no iteration has to
/// converge. The exact rows are met by the method of multipliers (Hestenes 1969; Powell 1969): each round
/// solves with the same factor and adds W times the remaining misses to the multipliers. If rows depend on
/// one another or contradict each other, the rounds converge to the closest possible solution.
class LIMBER_MOTION_API StepSystem {
 public:
  /// Forms and factors the matrix. `damping` times the diagonal of the measure is added to it (Levenberg
  /// 1944). The operands must outlive this object. factored() is false if there is no memory or if the matrix
  /// cannot be factored, for example because it contains a number that is not finite.
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
