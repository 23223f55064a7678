#pragma once

/// @file
/// A dense QR factorization that reveals the rank, for small matrices.

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

struct SparseRows;

/// A P = Q (R S; 0 0) by Householder reflections with column pivoting (Businger and Golub 1965). The order of
/// R is the rank of A; the rest of the other columns is nearly zero and is ignored.
class DenseQr {
 public:
  /// Takes m x n matrices whose columns have norms near 1 (or 0).
  explicit DenseQr(const SparseRows& A);
  int rank() const { return rank_; }
  /// The solution d of min |A d - r| whose dependent unknowns are zero.
  void solve(const double* r, double* d);
  /// The k-th of n - rank vectors that A maps to zero or nearly zero.
  void nullVector(int k, double* z) const;

  /// The approximate number of operations that factor an m x n matrix.
  static double operations(double m, double n);

 private:
  const double* column(int j) const { return value_.data() + static_cast<std::ptrdiff_t>(j) * m_; }
  double* column(int j) { return value_.data() + static_cast<std::ptrdiff_t>(j) * m_; }
  void bringLargest(int k);
  void reflect(int k);
  void solveTriangle(double* y) const;

  int m_, n_, rank_ = 0;
  /// Stored by columns: R and S above the diagonal, and the vectors of the reflections from the diagonal on.
  Doubles value_;
  /// The diagonal of R.
  Doubles diagonal_;
  Doubles work_;
  Ints order_;
};

}  // namespace limber::detail
