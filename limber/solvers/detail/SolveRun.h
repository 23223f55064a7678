#pragma once

/// @file
/// The state of a running solve: its options and counters, and how its methods end.

#include <chrono>

#include "limber/solvers/Solve.h"

namespace limber::detail {

/// How a method ended.
enum class Outcome {
  /// The method's residual reached its goal.
  done,
  /// More iterations do not help, or those of this method are used up.
  stuck,
  /// The method is far from its goal after a trial.
  slow,
  /// No iterations are left for the whole solve.
  limit,
  /// The observer ended the solve.
  stopped,
  /// There is a direction of negative curvature.
  indefinite,
  /// The matrix is not symmetric.
  unsymmetric,
  /// A number is not finite.
  overflow,
  /// The preconditioner is not positive definite, or does not give finite numbers.
  preconditioner
};

/// After every `iterations` iterations, a method estimates from its residual how many it will need. If these
/// are more than `maxIterations`, it ends as slow. With 0 iterations there is no trial.
struct Trial {
  int iterations = 0, maxIterations = 0;
};

class SolveRun {
 public:
  explicit SolveRun(const SolveOptions& options);
  /// Sets the limit of iterations if the options do not.
  void expect(int unknowns);

  /// Counts an iteration that ended with this residual (times 2^unit). False if the solve must end.
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
  /// Residuals are given in units of 2^unit.
  int unit = 0;

 private:
  void observe(double residual);
  const std::chrono::steady_clock::time_point begin_;
};

/// The report for bad input.
SolveReport badInput(const char* message);
/// An error message about the options, or null.
const char* complaint(const SolveOptions& options);

}  // namespace limber::detail
