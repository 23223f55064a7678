#pragma once

/// @file
/// LSMR (Fong and Saunders 2011): least squares without squaring the condition.

#include <functional>

#include "limber/solvers/detail/SolveRun.h"

namespace limber::detail {

class LinearMap;

struct LsmrGoal {
  /// |A^T (r - A d)| to stop at, as the method estimates it.
  double residual = 0.0;
  /// Iterations for this method at most.
  int iterations = 0;
  /// What the estimate stands for: the caller's norm is this times the estimate.
  double ratio = 1.0;
  /// Called with d when the estimate is small enough: the norm in the caller's sense, which must be at most
  /// `truth`. May be empty.
  std::function<double(const double* d)> check;
  double truth = 0.0;
  /// A^T r, which is overwritten; null: it is computed.
  double* gradient = nullptr;
};

struct LsmrResult {
  Outcome outcome;
  /// The estimated condition of A.
  double condition;
  /// Whether d is the one that was checked last.
  bool checked = false;
};

/// min |A d - r| from d = 0; r is overwritten.
LsmrResult lsmr(LinearMap& A, double* r, double* d, LsmrGoal goal, SolveRun& run);

}  // namespace limber::detail
