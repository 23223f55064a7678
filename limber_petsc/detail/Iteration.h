#pragma once

/// @file
/// The Krylov iteration of all three problems: runs it, observes it, recomputes the residual, repeats the run
/// as long as that helps, and reports.

#include "limber/solvers/Solve.h"
#include "limber_petsc/detail/Engine.h"
#include "limber_petsc/detail/Operator.h"

namespace limber::petsc::detail {

/// One problem, ready to iterate. Everything is in scaled units.
struct Iteration {
  MPI_Comm comm;
  KSP solver;
  Operator* op;
  Vec b, x;           ///< x is the start and receives the result
  bool leastSquares;  ///< the residual is |C A^T (b - A x)|, with C the inverse column scales, else |b - A x|
  Vec inverseColumnScales;  ///< for least squares
  int unit;                 ///< a residual r in scaled units is r 2^unit in the user's units
  const SolveOptions* options;
};

/// Iterates until the recomputed residual is at most options.relative times that of x = 0. x is never worse
/// than the start. `seconds` remains 0. Collective.
PetscErrorCode iterate(const Iteration& problem, SolveReport* report);

/// The report for bad input.
SolveReport badInput();
/// The report for an error of PETSc, whose message has been reported.
SolveReport engineError();
/// The report of a collective solve: calls `run`, which fills it, under ErrorsAsReports and measures the
/// time. An error on any process ends the solve on all of them.
template <class Run>
SolveReport collect(MPI_Comm comm, Run run) {
  const ErrorsAsReports reports;
  const double begin = MPI_Wtime();
  SolveReport result = engineError();
  const PetscErrorCode error = run(&result);
  if (agree(comm, error != 0)) result = engineError();
  result.seconds = MPI_Wtime() - begin;
  return result;
}

}  // namespace limber::petsc::detail
