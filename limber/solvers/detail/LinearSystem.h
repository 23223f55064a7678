#pragma once

/// @file
/// The system of a solve, scaled, with the best solution so far and the truth about it.

#include <memory>

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/MatrixEntries.h"
#include "limber/solvers/detail/SolveRun.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

/// A x = b, or min |A x - b|, in the units in which the largest entry of A and of b are near 1.
class LinearSystem {
 public:
  enum class Kind { leastSquares, positiveDefinite, square };

  LinearSystem(const SolveOptions& options, Kind kind) : run(options), kind_(kind) {}

  /// Takes the matrix, the right-hand side and the start, and scales them. The complaint about them, null
  /// when there is none.
  const char* take(const SpMat& A, const Vector& right, const Vector& start);
  /// The same for a map that was scaled already: A is 2^power times `scaledMap`.
  const char* take(std::unique_ptr<LinearMap> scaledMap, int power, const Vector& right, const Vector& start);

  /// Copies the entries of a large matrix of a foreign class, one product a column. Where there are too many
  /// of them the map stays as it is, and `endless` says so.
  void copyColumns(const SpMat& A);

  bool converged() const { return residual <= goal; }
  /// The goal is out of reach of any iteration: stop here.
  bool ended() const { return converged() || run.mustEnd(); }
  /// b - A x into r, and for least squares A^T r into g; the norm that counts.
  double measure(const double* at, double* r, double* g);
  /// x = x + d where that has a smaller residual; then r and g are its own. Whether it has.
  bool improve(const double* d);
  /// The same for an x that was measured already.
  bool adopt(Doubles* at, Doubles* itsR, Doubles* itsG, double itsResidual);
  /// Takes an x instead that is about as good. Whether it is.
  bool replace(Doubles* at);
  /// The state of the solution, to come back to.
  struct State {
    Doubles x, r, g;
    double residual;
  };
  State state() const { return {x, r, g, residual}; }
  /// Goes back to the start.
  void goBack();
  /// Takes that state back if its residual is smaller.
  void keepBetter(State&& other);
  void takeBack(const State& other) {
    x = other.x, r = other.r, g = other.g;
    residual = other.residual;
  }
  /// From here on every method goes as far as it gets; the goal is the old one again after endPolish.
  void beginPolish() { polished_ = goal, goal = 0.0; }
  void endPolish() { goal = polished_, polished_ = 0.0; }
  /// Operations that were spent on products so far, about.
  double spent() const { return 2.0 * map->products * rows.entries(); }

  bool leastSquares() const { return kind_ == Kind::leastSquares; }
  /// The columns of A are known to be independent.
  bool fullRank = false;
  /// A has dependent columns, and x is the solution nearest to the start.
  bool nearest = false;
  /// The estimated condition of the scaled matrix, 0 where no method gave one.
  double condition = 0.0;

  /// The report; x goes to `out`, unless the start is the best there is.
  SolveReport finish(Outcome last, Vector* out);

  SolveRun run;
  /// The entries, where there are any (not for a large matrix of a foreign class).
  SparseRows rows;
  bool haveRows = false;
  /// There never will be entries: methods without them may take all iterations.
  bool endless = false;
  std::unique_ptr<LinearMap> map;
  int height = 0, width = 0;
  Doubles b, x;
  /// The start; empty: zero.
  Doubles begin;
  /// b - A x and, for least squares, A^T (b - A x).
  Doubles r, g;
  /// Residuals are computed in twice the precision from now on.
  bool precise = false;
  /// The norm of the right-hand side, of the residual, and where that is small enough.
  double norm = 0.0, residual = 0.0, goal = 0.0;

 private:
  const char* takeMatrix(const SpMat& A, const Vector& right, const Vector& start);
  double sizeOf(const double* itsR, const double* itsG) const;
  bool roundingMatters(const double* at) const;
  const char* takeVectors(const Vector& right, const Vector& start);
  const Kind kind_;
  int matrixPower_ = 0, rightPower_ = 0;
  double polished_ = 0.0, startResidual_ = 0.0;
  bool moved_ = false;
  Doubles tryX_, tryR_, tryG_;
};

/// |x|, also where the squares would underflow.
double safeNorm(int n, const double* x);

}  // namespace limber::detail
