#pragma once

/// @file
/// The observer's view of a solve.

#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"

namespace limber::detail {

/// Resets cg_stopped at the beginning of a solve. (The variable is written only if it changes, so solves on
/// several threads that nobody observes write nothing.)
inline void clearStopped() {
  if (cg_stopped != 0) cg_stopped = 0;
}

/// Calls cg_observer once per iteration, counts the iterations of all passes of a solve, and keeps the best
/// iterate for the case that the observer ends the solve. Without an observer it only counts.
class SolveWatch {
 public:
  SolveWatch() { clearStopped(); }

  /// Notes the start of a pass, which may be the best iterate.
  void start(const Vector& x, double rsq) {
    if (cg_observer) keepBest(x, rsq);
  }
  /// Reports an iteration to the observer. True if the observer ends the solve.
  bool observe(const Vector& x, double rsq) {
    ++iterations_;
    if (!cg_observer) return false;
    keepBest(x, rsq);
    return cg_observer(iterations_, rsq, cg_observerData) != 0;
  }
  /// Ends the solve with the best iterate and its squared residual.
  void stop(Vector* x, double& rsq);
  bool stopped() const { return stopped_; }

 private:
  void keepBest(const Vector& x, double rsq);

  int iterations_ = 0;
  bool stopped_ = false, any_ = false;
  double bestRsq_ = 0.0;
  Vector best_;
};

}  // namespace limber::detail
