#pragma once

/// @file
/// What the drivers of the newer family call.

#include "limber/solvers/CGStatus.h"
#include "limber/solvers/detail/SolveOperator.h"
#include "limber/solvers/detail/SolveWatch.h"

class Preconditioner;

namespace limber::detail {

/// The work vectors of a pass, which grow: residual, direction, M times direction, the preconditioned
/// residual, and the best iterate, which may be null.
struct PassVectors {
  Vector *r, *p, *q, *z, *best;
};

/// pureCGrad as one pass of a longer solve.
CGIStatus cgPass(const SolveOperator& M, SolveWatch& watch, Vector* x, Vector* b, const PassVectors& work,
                 int maxIters, int& iter, int& bestIter, double& rsq, Preconditioner* precond);

/// How a whole solve ended.
struct SolveOutcome {
  CGStatus status;
  /// How the last pass ended, and the iterations of all passes.
  CGIStatus last;
  int iterations;
  double rsq;
};

/// mcgradI for any operator. `last` stays what is given while no pass runs.
SolveOutcome cgRestarted(const SolveOperator& M, Vector* x, Vector* b, Preconditioner* precond,
                         CGIStatus last);

}  // namespace limber::detail
