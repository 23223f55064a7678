#pragma once

/// @file
/// The functions that the drivers of the newer family call.

#include "limber/solvers/CGStatus.h"
#include "limber/solvers/detail/SolveOperator.h"
#include "limber/solvers/detail/SolveWatch.h"

class Preconditioner;

namespace limber::detail {

/// The work vectors of a pass, which grow: the residual, the direction, M times the direction, the
/// preconditioned residual, and the best iterate, which may be null.
struct PassVectors {
  Vector *r, *p, *q, *z, *best;
};

/// pureCGrad as one pass of a longer solve.
CGIStatus cgPass(const SolveOperator& M, SolveWatch& watch, Vector* x, Vector* b, const PassVectors& work,
                 int maxIters, int& iter, int& bestIter, double& rsq, Preconditioner* precond);

/// How a whole solve ended.
struct SolveOutcome {
  CGStatus status;
  /// The status of the last pass, and the iterations of all passes.
  CGIStatus last;
  int iterations;
  double rsq;
};

/// mcgradI for any operator. If no pass runs, the outcome has `last` as its status.
SolveOutcome cgRestarted(const SolveOperator& M, Vector* x, Vector* b, Preconditioner* precond,
                         CGIStatus last);

}  // namespace limber::detail
