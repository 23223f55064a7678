#pragma once

/// @file
/// The solves of limber/solvers/Solve.h with the rows of the matrix spread over the processes of an MPI job.
/// The work is done by PETSc (Balay et al. 1997). Neither rows nor unknowns are ever gathered on one process.
///
/// Every function is collective: all processes of `comm` call it with the same options, and all get the same
/// report. The matrix and the right-hand side are scaled internally by powers of two, so their units do not
/// matter. The Krylov method and the preconditioner can be chosen with PETSc's own options, with the prefix
/// "limber_". Each function below names its defaults.
///
/// Each process applies `options.preconditioner` to its own part of the residual (block Jacobi). Either all
/// processes pass one, or none does. `options.observer` is called once per iteration on each process that has
/// one; the solve ends if any of them asks for it.
///
/// Bad input gives SOLVE_BAD_INPUT on all processes, and the unknowns do not change. Bad input means parts
/// that overlap or leave gaps, widths that differ, column indices out of range, sizes that do not fit, or a
/// NaN or infinity in an entry, a start or a right-hand side. The process with the bad input reports which it
/// is. An error of PETSc is reported with PETSc's message, and the solve ends with SOLVE_BREAKDOWN and a NaN
/// for both residuals.

#include <mpi.h>

#include "limber/solvers/Solve.h"
#include "limber_petsc/Api.h"
#include "limber_petsc/Rows.h"

class Vector;

namespace limber::petsc {

/// Minimises |A x - b|. `b` holds the elements of the right-hand side for this process's rows. `x` is this
/// process's part of the unknowns, evenPart(comm, A.columns). It is the start if it has that size on every
/// process, and the start is zero if it is empty on every process. The default method is LSQR (Paige and
/// Saunders 1982) with the columns scaled to length one. The solve has converged when |A^T (b - A x)| <=
/// options.relative |A^T b|.
LIMBER_PETSC_API SolveReport solveLeastSquares(MPI_Comm comm, const Rows& A, const Vector& b, Vector* x,
                                               const SolveOptions& options = SolveOptions());

/// Solves A x = b for a square, symmetric positive definite A. `b` and `x` belong to this process's rows. The
/// default method is conjugate gradients with the diagonal as preconditioner. The solve has converged when
/// the norm of b - A x is at most options.relative |b|.
LIMBER_PETSC_API SolveReport solvePositiveDefinite(MPI_Comm comm, const Rows& A, const Vector& b, Vector* x,
                                                   const SolveOptions& options = SolveOptions());

/// Solves (J V^-1 J^T + D) lambda = c. The matrix is applied but never formed. `mass`, the diagonal of V, is
/// distributed as evenPart(comm, J.columns). `damp`, the diagonal of D, and `c` and `lambda` belong to this
/// process's rows. `mass` and `damp` may be null (on all processes), which means ones and zeros. The default
/// method is conjugate gradients. The preconditioner is the Cholesky factor of the band of each process's own
/// rows, or their diagonal if that band is too wide. The solve has converged when the norm of the residual is
/// at most options.relative |c|.
LIMBER_PETSC_API SolveReport solveConstraints(MPI_Comm comm, const Rows& J, const Vector* mass,
                                              const Vector* damp, const Vector& c, Vector* lambda,
                                              const SolveOptions& options = SolveOptions());

}  // namespace limber::petsc
