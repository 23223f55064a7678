#pragma once

/// @file
/// The scaled system of a solve, the best solution so far, and its recomputed residual.

#include <cmath>
#include <memory>
#include <new>

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/SolveRun.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

/// A solution x, b - A x and, for least squares, A^T (b - A x), and the norm of the latter that counts.
struct Iterate {
  Doubles x, r, g;
  double residual = HUGE_VAL;
};

/// A x = b, or min |A x - b|, in units in which the largest entries of A and of b are near 1. It is the best
/// iterate so far.
class LinearSystem : public Iterate {
 public:
  enum class Kind { leastSquares, positiveDefinite, square };

  LinearSystem(const SolveOptions& options, Kind kind) : run(options), kind_(kind) {}

  /// Takes the matrix, the right-hand side and the start, and scales them. Returns an error message about
  /// them, or null.
  const char* take(const SpMat& A, const Vector& right, const Vector& start);
  /// The same for a map that is already scaled: A is 2^power times `scaledMap`.
  const char* take(std::unique_ptr<LinearMap> scaledMap, int power, const Vector& right, const Vector& start);
  /// From now on, residuals are computed in wide numbers, and the report is about the user's own numbers.
  void measureWidely() { wide_ = true; }

  /// Copies the entries of a large matrix of a foreign class by one product per column. If there are too many
  /// entries, the map does not change, and `endless` is set.
  void copyColumns(const SpMat& A);

  bool converged() const { return residual <= goal; }
  /// True if the solve must end here: it has converged or is not allowed to continue.
  bool ended() const { return converged() || run.mustEnd(); }
  /// Computes everything else about an iterate from its x.
  void measure(Iterate* at);
  /// From now on, residuals are computed in twice the precision, beginning with that of x.
  void measurePrecisely();
  bool precise() const { return precise_; }
  /// True if x is suspiciously large: rounding alone keeps the residual above the goal or, for a solution,
  /// leaves only about four correct digits of b in a product in plain precision. The cause may be a factor of
  /// a nearly singular matrix that has added much of its null space to x.
  bool swollen() const;
  /// Adds d to x if that reduces the residual. Returns true if it did.
  bool improve(const double* d);
  /// Exchanges the best iterate with one that has been measured, if that is better. Returns true if it did.
  bool adopt(Iterate* other);
  /// Replaces x by another one if that is about as good. Returns true if it did.
  bool replace(const Doubles& other);
  Iterate& iterate() { return *this; }
  /// Goes back to the start.
  void goBack();
  /// Goes back to that iterate if its residual is smaller.
  void keepBetter(const Iterate& other) {
    if (other.residual < residual) iterate() = other;
  }
  /// From here on, every method reduces the residual as far as it can; endPolish restores the goal.
  void beginPolish() { polished_ = goal, goal = 0.0; }
  void endPolish() { goal = polished_, polished_ = 0.0; }
  /// The approximate number of operations in products so far.
  double spent() const { return 2.0 * map->products * map->entries(); }

  bool leastSquares() const { return kind_ == Kind::leastSquares; }
  /// True if the columns of A are known to be independent.
  bool fullRank = false;
  /// The trial of the first method, if a factor is cheap.
  Trial trial;
  /// True if A has dependent columns and x is the solution nearest to the start.
  bool nearest = false;
  /// The estimated condition of the scaled matrix, or 0 if no method has estimated it.
  double condition = 0.0;

  /// Returns the report, and copies x to `out` unless the start is the best solution.
  SolveReport finish(Outcome last, Vector* out);

  SolveRun run;
  /// The entries of A, if they are known (not for a large matrix of a foreign class).
  SparseRows rows;
  bool haveRows = false;
  /// True if there never will be entries, so methods without them may use all iterations.
  bool endless = false;
  std::unique_ptr<LinearMap> map;
  int height = 0, width = 0;
  Doubles b;
  /// The start; empty means zero.
  Doubles begin;
  /// The norm of the right-hand side, and the goal for that of the residual.
  double norm = 0.0, goal = 0.0;

 private:
  const char* takeMatrix(const SpMat& A, const Vector& right, const Vector& start);
  double sizeOf(const Iterate& at) const;
  double residualOf(const Doubles& solution);
  Wide wideResidual(const Wides& at, Iterate* rounded = nullptr);
  void judge(const Doubles& solution);
  double roundingOfProduct(const Doubles& at) const;
  bool unsolvable() const;
  /// What the report says about a solve whose last method ended so.
  struct Verdict {
    SolveStatus status;
    const char* sentence;
  };
  Verdict verdictOn(Outcome last) const;
  const char* limitOfPrecision() const;
  Doubles toScaleOfUser();
  const char* takeVectors(const Vector& right, const Vector& start);
  const Kind kind_;
  int matrixPower_ = 0, rightPower_ = 0;
  double polished_ = 0.0, startResidual_ = 0.0;
  /// |A| (Frobenius), once it is needed.
  mutable double size_ = 0.0;
  bool moved_ = false, precise_ = false, underflow_ = false, wide_ = false;
  /// True if the units of the solve are too small for the start, so that the solve begins at zero.
  bool startTooLarge_ = false;
  /// If wide_, the entries as the user gave them (if scaling has rounded them), b, and the norm of the
  /// right-hand side.
  SparseRows exactRows_;
  Wides wideRight_;
  Wide wideNorm_;
  Iterate tried_;
};

/// What solve() reports, or that there is no x or not enough memory.
template <class Solve>
SolveReport reportOf(const Vector* x, Solve solve) {
  if (!x) return badInput("There is no vector for the solution.");
  try {
    return solve();
  } catch (const std::bad_alloc&) {
    return badInput("There is not enough memory.");
  }
}

/// |x|, without underflow or overflow of the squares.
double safeNorm(int n, const double* x);

}  // namespace limber::detail
