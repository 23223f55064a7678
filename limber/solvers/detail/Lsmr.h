#pragma once

/// @file
/// LSMR (Fong and Saunders 2011): least squares without squaring the condition.

#include <functional>

#include "limber/solvers/detail/SolveRun.h"

namespace limber::detail {

class LinearMap;

struct LsmrGoal {
  /// The method stops when its estimate of |A^T (r - A d)| is at most this.
  double residual = 0.0;
  /// The largest number of iterations of this method.
  int iterations = 0;
  /// The caller's norm is `ratio` times the estimate.
  double ratio = 1.0;
  /// Called with d when the estimate is small enough. Returns the norm as the caller counts it, which must be
  /// at most `truth`. May be empty.
  std::function<double(const double* d)> check;
  double truth = 0.0;
  /// d is also checked whenever the estimate has fallen by this factor; the check may keep the best d. 0:
  /// never.
  double every = 0.0;
  /// A^T r. If null, it is computed.
  const double* gradient = nullptr;
};

struct LsmrResult {
  Outcome outcome;
  /// The estimated condition of A.
  double condition;
  /// True if the last check was made with d.
  bool checked = false;
};

/// Minimises |A d - r| from d = 0 and overwrites r.
LsmrResult lsmr(LinearMap& A, double* r, double* d, const LsmrGoal& goal, SolveRun& run);

}  // namespace limber::detail
