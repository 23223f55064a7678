#pragma once

/// @file
/// The observer's view of a solve.

#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"

namespace limber::detail {

/// A solve begins: it has not been stopped yet. (Written only when it changes, so that solves on several
/// threads that nobody observes write nothing.)
inline void clearStopped() {
  if (cg_stopped != 0) cg_stopped = 0;
}

/// Calls cg_observer once an iteration, counting through all passes of a solve, and keeps the best iterate
/// seen for the observer that ends it. Without an observer it does nothing.
class SolveWatch {
 public:
  SolveWatch() { clearStopped(); }

  /// Notes the start of a pass, which counts as seen.
  void start(const Vector& x, double rsq) {
    if (cg_observer) keepBest(x, rsq);
  }
  /// Tells the observer of an iteration that has been done: true when it asks for the end of the solve.
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
