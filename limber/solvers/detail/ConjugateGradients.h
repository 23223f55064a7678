#pragma once

/// @file
/// Conjugate gradients (Hestenes and Stiefel 1952), preconditioned.

#include <cmath>

#include "limber/solvers/detail/SolveRun.h"

namespace limber::detail {

/// If |p^T A p| is below this times n |A| |p|^2, its sign is uncertain.
constexpr double certainCurvature = 1e-13;

class Inverse;
class LinearMap;

/// Where a method may stop.
struct Goal {
  /// The residual's norm as the caller counts it: the square root of the sum of weight_i r_i^2 (a null weight
  /// means 1).
  double residual = 0.0;
  const double* weight = nullptr;
  /// The preconditioned norm, the square root of r^T M^-1 r, relative to its initial value. Both limits must
  /// be met.
  double relative = 0.0;
  /// The largest number of iterations of this method.
  int iterations = 0;
  Trial trial;
  /// If it is not null, conjugate gradients raise *condition to the ratio of the largest to the smallest
  /// curvature that they have seen.
  double* condition = nullptr;

  /// True if this iteration is one that the trial checks, and the method is too slow: it has reduced the
  /// squared norm only from `before` to `now`.
  bool slow(int iteration, double before, double now) const {
    return trial.iterations > 0 && iteration % trial.iterations == 0 &&
           trial.maxIterations * std::log(now / before) > iteration * std::log(residual * residual / before);
  }
};

/// Solves A d = r from d = 0 for a symmetric positive definite A and overwrites r. d is the iterate with the
/// smallest residual.
Outcome conjugateGradients(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run);

}  // namespace limber::detail
