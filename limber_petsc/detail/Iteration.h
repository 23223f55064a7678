#pragma once

/// @file
/// The Krylov iteration that the three problems share: run, watch, recompute, go on while that helps, report.

#include "limber/solvers/Solve.h"
#include "limber_petsc/detail/Engine.h"
#include "limber_petsc/detail/Operator.h"

namespace limber::petsc::detail {

/// One problem, ready to iterate. Everything is in scaled units.
struct Iteration {
  MPI_Comm comm;
  KSP solver;
  Operator* op;
  Vec b, x;           ///< x holds the start, and receives the result
  bool leastSquares;  ///< the residual is |C A^T (b - A x)|, with C the inverse column scales, else |b - A x|
  Vec inverseColumnScales;  ///< for least squares
  int unit;                 ///< a residual r in scaled units is r 2^unit in the user's
  const SolveOptions* options;
};

/// Iterates until the residual, recomputed, is at most options.relative times that of x = 0; x is never worse
/// than it was. `seconds` is left 0. Collective.
PetscErrorCode iterate(const Iteration& problem, SolveReport* report);

/// A report of bad input.
SolveReport badInput();
/// A report of an error of the engine, which was reported with its text.
SolveReport engineError();
/// The report of a collective solve: `run` fills it under ErrorsAsReports and is timed; an error on any
/// process ends the solve on all.
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
