#pragma once

/// @file
/// The main interface of the solvers: one function for each kind of linear system. Each returns a report
/// whose figures are recomputed from the user's data. No exported variable is read or changed.
///
/// The scale of the data does not matter. The matrix and the right-hand side are scaled internally by powers
/// of two, and no entry is dropped. If the numbers differ so much that this is not exact, the residuals are
/// computed from the original ones. If either is multiplied by a power of two, the iterations
/// are the same, and the solution has the same bits apart from the scale.
///
/// Matrices of every class are accepted. Row-sparse, sliced, dense and structured matrices are copied with
/// all their entries. (Duplicates in a sparse row are added up. If a square sparse matrix has no entries in
/// its last columns, these columns are zeros.) A matrix of any other class is accessed only by mult (and
/// multT). If it has up to 4096 columns, it is copied by one product per column. If it has more, the methods
/// multiply by it and use no diagonal. If that does not solve the system in half as many iterations as it has
/// columns, the matrix is copied as well, provided it has fewer than fifty million entries, and solved like
/// any other. A preconditioner or matrix of the caller is called only during the solve and on the calling
/// thread.
///
/// x is the start of the solve if its size fits, and the start is zero if x is empty; any other size is bad
/// input. On return x is the better one of the result and the start. After bad input x is unchanged.
///
/// If a method does not reach the goal, a stronger one follows, up to a sparse factorization if it needs a
/// reasonable amount of memory and time. The reported residual is recomputed from the entries of A and b.

#include "limber/Api.h"
#include "limber/solvers/CGObserver.h"

class HSpMat;
class Preconditioner;
class SpMat;
class Vector;

/// How a solve ended.
enum SolveStatus {
  /// The recomputed residual is at most `relative` times the norm of the right-hand side.
  SOLVE_CONVERGED,
  /// The residual is larger, and more iterations do not help: it is at the limit of double precision, or the
  /// system has no solution. x is the best iterate found.
  SOLVE_STAGNATED,
  /// The iterations are used up.
  SOLVE_LIMIT,
  /// The observer ended the solve.
  SOLVE_STOPPED,
  /// The matrix does not have the property that the method needs (symmetric, positive definite), the
  /// preconditioner is not positive definite or returned numbers that are not finite, or the solution is too
  /// large for doubles.
  SOLVE_BREAKDOWN,
  /// Sizes that do not fit, a NaN or an infinity in the input, options out of range, or not enough memory.
  SOLVE_BAD_INPUT
};

/// The options of a solve.
struct SolveOptions {
  /// A solve has converged if the residual of its system is at most this times the norm of the right-hand
  /// side. It must not be negative. With 0 the solve continues to the limit of precision, unless it finds an
  /// exact solution.
  double relative = 1e-10;
  /// The largest total number of iterations of all methods. 0 means 20 n + 1000 for n unknowns.
  int maxIterations = 0;
  /// An approximation of the operator: of A, of A^T A for least squares, of J V^-1 J^T + D for constraints.
  /// It is tried first. It must be symmetric positive definite, except in solveSquare. If it is null, the
  /// default of the problem is used. A plain Preconditioner is the identity.
  Preconditioner* preconditioner = nullptr;
  /// Called once per iteration with the squared residual of the system as the method computes it.
  CGObserver observer = nullptr;
  void* observerData = nullptr;
};

/// The result of a solve.
struct SolveReport {
  SolveStatus status;
  /// Iterations of all methods together; products with the matrix or its transpose.
  int iterations, products;
  /// The norm of the residual, recomputed from the entries of A and b, and its ratio to the norm of the
  /// right-hand side (0 if both are 0).
  double residual, relativeResidual;
  double seconds;
  /// A sentence for the user, in static storage.
  const char* message;
};

/// Minimises |A x - b| for a matrix of any shape and rank. The residual is |A^T (b - A x)|, and the norm of
/// the right-hand side is |A^T b|. The methods are LSMR with scaled columns (Fong and Saunders 2011), then
/// LSMR preconditioned by a sparse QR factor (Givens rotations; George and Heath 1980), and then, if the
/// matrix is small enough, a dense QR factor that reveals the rank (Businger and Golub 1965). If the solution
/// is not unique, x is one of the solutions. It is the one nearest to the start if the message says so, which
/// is the case up to 40 columns and 2500 rows.
LIMBER_API SolveReport solveLeastSquares(const SpMat& A, const Vector& b, Vector* x,
                                         const SolveOptions& options = SolveOptions());

/// Solves A x = b for a symmetric positive (semi)definite A. If A turns out not to be symmetric, or not to be
/// semidefinite, that is a breakdown. SOLVE_CONVERGED says that the residual is small, which is checked, and
/// not that A is definite: the methods may solve a system with an indefinite matrix without noticing. The
/// methods are conjugate gradients with the diagonal as preconditioner (Hestenes and Stiefel 1952), then with
/// a sparse Cholesky factor. Up to 64 unknowns, a dense Cholesky factor comes first if it costs less than
/// iterations.
LIMBER_API SolveReport solvePositiveDefinite(const SpMat& A, const Vector& b, Vector* x,
                                             const SolveOptions& options = SolveOptions());

/// Solves A x = b for any square A, which may be singular if b lies in its range. The methods are BiCGSTAB
/// (van der Vorst 1992) with an incomplete factor as preconditioner, then with a sparse factorization.
LIMBER_API SolveReport solveSquare(const SpMat& A, const Vector& b, Vector* x,
                                   const SolveOptions& options = SolveOptions());

/// Solves (J V^-1 J^T + D) lambda = c. V is the diagonal matrix of `mass` (null: 1; it divides, as in
/// ncgradJVJt; positive, with at least as many elements as J has columns). D is the diagonal matrix of `damp`
/// (null: 0; not negative, with as many elements as J has rows). The method is conjugate gradients. The
/// preconditioner is the Cholesky factor of the band of J J^T if that needs at most twenty times J's memory,
/// otherwise a sparse Cholesky factor of the matrix without the fullest columns of J if that is cheap, and
/// otherwise the diagonal.
LIMBER_API SolveReport solveConstraints(const HSpMat& J, const Vector* mass, const Vector* damp,
                                        const Vector& c, Vector* lambda,
                                        const SolveOptions& options = SolveOptions());
