#pragma once

/// @file
/// A solve under way: what was asked, what was counted, and how each method ended.

#include <chrono>

#include "limber/solvers/Solve.h"

namespace limber::detail {

/// How a method ended.
enum class Outcome {
  /// Its own residual is as small as was asked for.
  done,
  /// More iterations do not help, or those given to this method are used up.
  stuck,
  /// No iterations are left for the whole solve.
  limit,
  /// The observer ended the solve.
  stopped,
  /// A direction of negative curvature.
  indefinite,
  /// The matrix is not symmetric.
  unsymmetric,
  /// A number is not finite.
  overflow,
  /// The caller's preconditioner is no use.
  preconditioner
};

class SolveRun {
 public:
  explicit SolveRun(const SolveOptions& options);
  /// Sets the limit that the options leave open.
  void expect(int unknowns);

  /// One more iteration, which left this residual (times 2^power of unit). False when the solve must end.
  bool step(double residual) {
    ++iterations;
    if (options.observer) observe(residual);
    return !stopped && iterations < limit;
  }
  Outcome whyEnded() const { return stopped ? Outcome::stopped : Outcome::limit; }
  bool mustEnd() const { return stopped || iterations >= limit; }
  double seconds() const;

  const SolveOptions& options;
  int iterations = 0;
  int limit = 0;
  bool stopped = false;
  /// Residuals are in units of 2^unit.
  int unit = 0;

 private:
  void observe(double residual);
  const std::chrono::steady_clock::time_point begin_;
};

/// The report of input that cannot be worked on.
SolveReport badInput(const char* message);
/// Whether all numbers are finite.
bool allFinite(int n, const double* x);
/// The complaint about the options, null when there is none.
const char* complaint(const SolveOptions& options);

}  // namespace limber::detail
