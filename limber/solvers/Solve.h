#pragma once

/// @file
/// The front door to the solvers: one call for each kind of linear system, with a report that says the truth
/// about the result. No exported variable is read or changed.
///
/// Scale does not matter. The matrix and the right-hand side are scaled by powers of two inside, which is
/// exact, and no entry is dropped: multiplying either by a power of two gives the same iterations and the
/// same bits times the scale.
///
/// Matrices of every class are taken. Row-sparse, sliced, dense and structured ones are copied with all their
/// entries (duplicates in a sparse row add up, the columns behind the last entry of a square sparse matrix
/// are zeros). Any other class is reached by mult (and multT) alone. Up to 4096 columns it is copied, one
/// product a column. A larger one is multiplied by, without a diagonal; where half as many iterations as it
/// has columns do not solve the system, it is copied too, and solved like any other, as long as it has less
/// than fifty million entries. A preconditioner or matrix of the caller's is only called from the solve, on
/// the same thread.
///
/// x is the start where its size fits, zero where it is empty; anything else is bad input. On return it is
/// never worse than the start: what comes back is the better one of the two. After bad input it is
/// untouched.
///
/// A method that does not get to the end is followed by a stronger one, up to a sparse factorization where
/// memory and time for it are within reason. What is reported at the end was recomputed from the entries of
/// A and b.

#include "limber/Api.h"
#include "limber/solvers/CGObserver.h"

class HSpMat;
class Preconditioner;
class SpMat;
class Vector;

/// How a solve ended.
enum SolveStatus {
  /// The residual, recomputed, is at most `relative` times the right-hand side's norm.
  SOLVE_CONVERGED,
  /// It is not, and more iterations do not help: the limit of double precision, or a system that has no
  /// solution. x is the best one found.
  SOLVE_STAGNATED,
  /// The iterations are used up.
  SOLVE_LIMIT,
  /// The observer ended the solve.
  SOLVE_STOPPED,
  /// The matrix is not what the method needs (not symmetric, not positive definite), the preconditioner
  /// gave no numbers, or the solution does not fit into doubles.
  SOLVE_BREAKDOWN,
  /// Sizes that do not fit, a NaN or an infinity in the input, options out of range, or no memory.
  SOLVE_BAD_INPUT
};

/// What can be asked of a solve.
struct SolveOptions {
  /// Converged: the residual of the system asked for is at most this times its right-hand side's norm. Not
  /// negative. 0 asks for an exact solution: the solve goes to the limit of precision.
  double relative = 1e-10;
  /// At most this many iterations of all methods together. 0: 20 n + 1000 for n unknowns.
  int maxIterations = 0;
  /// An approximation of the operator: of A, of A^T A for least squares, of J V^-1 J^T + D for constraints.
  /// It goes first and must be symmetric positive definite but for solveSquare. Null: the default of the
  /// problem. A plain Preconditioner is the identity.
  Preconditioner* preconditioner = nullptr;
  /// Called once an iteration with the squared residual, as the method has it, of the system asked for.
  CGObserver observer = nullptr;
  void* observerData = nullptr;
};

/// What came of a solve.
struct SolveReport {
  SolveStatus status;
  /// Iterations of all methods together; products with the matrix or its transpose.
  int iterations, products;
  /// The norm of the residual, recomputed from the entries of A and b, and its ratio to the norm of the
  /// right-hand side (0 where both are 0).
  double residual, relativeResidual;
  double seconds;
  /// A sentence for people, in static storage.
  const char* message;
};

/// min |A x - b| for a matrix of any shape and rank. The residual is |A^T (b - A x)| and the norm of the
/// right-hand side |A^T b|. LSMR with scaled columns (Fong and Saunders 2011), then the same behind a sparse
/// QR factor (Givens rotations; George and Heath 1980), then a dense one that tells the rank (Businger and
/// Golub 1965) where the matrix is small enough for it. Where the solution is not unique, one of them: the
/// one nearest to the start where the message says so, as it does up to 40 columns, and for a wide matrix of
/// full rank.
LIMBER_API SolveReport solveLeastSquares(const SpMat& A, const Vector& b, Vector* x,
                                         const SolveOptions& options = SolveOptions());

/// A x = b for a symmetric positive (semi)definite A; a matrix that turns out to be neither symmetric nor
/// definite is a breakdown. Conjugate gradients with the diagonal (Hestenes and Stiefel 1952), then the same
/// behind a sparse Cholesky factor.
LIMBER_API SolveReport solvePositiveDefinite(const SpMat& A, const Vector& b, Vector* x,
                                             const SolveOptions& options = SolveOptions());

/// A x = b for any square A, also a singular one where b allows it. BiCGSTAB (van der Vorst 1992) with an
/// incomplete factor, then a sparse factorization.
LIMBER_API SolveReport solveSquare(const SpMat& A, const Vector& b, Vector* x,
                                   const SolveOptions& options = SolveOptions());

/// (J V^-1 J^T + D) lambda = c, where V is the diagonal of `mass` (null: 1; it divides, as in ncgradJVJt; at
/// least J's width long, positive) and D that of `damp` (null: 0; J's height long, not negative). Conjugate
/// gradients behind the Cholesky factor of the band of J J^T where that takes at most twenty times J's
/// memory, else behind the diagonal.
LIMBER_API SolveReport solveConstraints(const HSpMat& J, const Vector* mass, const Vector* damp,
                                        const Vector& c, Vector* lambda,
                                        const SolveOptions& options = SolveOptions());
