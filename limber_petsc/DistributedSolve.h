#pragma once

/// @file
/// The solves of limber/solvers/Solve.h with the rows of the matrix spread over the processes of an MPI job.
/// The work is done by PETSc (Balay et al. 1997). Neither rows nor unknowns are ever gathered on one process.
///
/// Every function is collective: all processes of `comm` call it with the same options. They all get the same
/// report. The matrix and the right-hand side are scaled by powers of two inside, so their units do not
/// matter. The Krylov method and the preconditioner can be chosen with PETSc's own options, prefix "limber_";
/// the defaults are named at each function.
///
/// `options.preconditioner` is applied by each process to its own part of the residual (block Jacobi); all
/// processes hand one over, or none does. `options.observer` is called on each process that has one, once per
/// iteration; the solve ends when any of them asks for it.
///
/// Bad input is SOLVE_BAD_INPUT on all processes, with the unknowns untouched: parts that overlap or leave
/// gaps, widths that differ, column indices out of range, sizes that do not fit, NaN or infinity in an entry,
/// a start or a right-hand side. The process concerned reports which. An error of PETSc is reported with its
/// own text and ends as SOLVE_BREAKDOWN.

#include <mpi.h>

#include "limber/solvers/Solve.h"
#include "limber_petsc/Api.h"
#include "limber_petsc/Rows.h"

class Vector;

namespace limber::petsc {

/// Minimises |A x - b|. `b` holds the right-hand sides of this process's rows, `x` this process's part of the
/// unknowns, evenPart(comm, A.columns): its start when it has that size on every process, zero when it is
/// empty on every process. By default: LSQR (Paige and Saunders 1982) with the columns scaled to length one.
/// Converged when |A^T (b - A x)| <= options.relative |A^T b|.
LIMBER_PETSC_API SolveReport solveLeastSquares(MPI_Comm comm, const Rows& A, const Vector& b, Vector* x,
                                               const SolveOptions& options = SolveOptions());

/// Solves A x = b, A square, symmetric and positive definite. `b` and `x` belong to this process's rows. By
/// default: conjugate gradients with the diagonal. Converged when |b - A x| <= options.relative |b|.
LIMBER_PETSC_API SolveReport solvePositiveDefinite(MPI_Comm comm, const Rows& A, const Vector& b, Vector* x,
                                                   const SolveOptions& options = SolveOptions());

/// Solves (J V^-1 J^T + D) lambda = c with the product applied, never formed. `mass`, the diagonal of V, is
/// spread as evenPart(comm, J.columns); `damp`, the diagonal of D, and `c` and `lambda` belong to this
/// process's rows. `mass` and `damp` may be null (on all processes): ones and zeros. By default: conjugate
/// gradients, preconditioned by the Cholesky factor of the band of each process's own rows, or by their
/// diagonal where that band is too wide. Converged when the residual's norm is at most options.relative |c|.
LIMBER_PETSC_API SolveReport solveConstraints(MPI_Comm comm, const Rows& J, const Vector* mass,
                                              const Vector* damp, const Vector& c, Vector* lambda,
                                              const SolveOptions& options = SolveOptions());

}  // namespace limber::petsc
