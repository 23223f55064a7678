#pragma once

/// @file
/// Conjugate gradients (Hestenes and Stiefel 1952), preconditioned.

#include "limber/solvers/detail/SolveRun.h"

namespace limber::detail {

class Inverse;
class LinearMap;

/// Where a method may stop.
struct Goal {
  /// The residual's norm as the caller counts it: the square root of the sum of weight_i r_i^2 (null: 1).
  double residual = 0.0;
  const double* weight = nullptr;
  /// And the preconditioned one, the square root of r^T M^-1 r, relative to where it began.
  double relative = 0.0;
  /// Iterations for this method at most.
  int iterations = 0;
};

/// A d = r from d = 0, with A symmetric positive definite; r is overwritten. d is the iterate of the smallest
/// residual.
/// *condition, which may be null, grows to the ratio of the largest curvature that was met to the smallest.
Outcome conjugateGradients(LinearMap& A, Inverse* M, double* r, double* d, const Goal& goal, SolveRun& run,
                           double* condition = nullptr);

}  // namespace limber::detail
