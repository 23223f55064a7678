#pragma once

/// @file
/// The triangular factor of a sparse QR factorization.

#include "limber/solvers/detail/Elimination.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {

/// A P = Q R by rotating one row after the other into R (George and Heath 1980). Q is not stored. If A has
/// dependent columns, R is the factor of A with an additional row e_k for each k whose diagonal element is
/// nearly zero.
class SparseQr {
 public:
  /// The columns of A have norms near 1 (or 0). A diagonal element of at most `tiny` is nearly zero.
  void factor(const SparseRows& A, Elimination elimination, double tiny);
  /// z = P R^-1 r and z = R^-T P^T r.
  void solve(const double* r, double* z);
  void solveTransposed(const double* r, double* z);
  int defects() const { return defects_; }

 private:
  void rotateIn(int k, int last);
  Elimination shape_;
  Doubles diagonal_, value_, work_;
  /// For each row of R, the last position that is not zero; -1 while there is no row.
  Ints reach_;
  int defects_ = 0;
};

/// x -> A P R^-1 x, whose least-squares problem is well conditioned.
class ConditionedMap final : public LinearMap {
 public:
  ConditionedMap(LinearMap& A, SparseQr& qr) : A_(A), qr_(qr), work_(A.width()) {}
  int height() const override { return A_.height(); }
  int width() const override { return A_.width(); }
  void multiply(const double* x, double* y) override;
  void multiplyTransposed(const double* x, double* y) override;

 private:
  LinearMap& A_;
  SparseQr& qr_;
  Doubles work_;
};

/// z = (R^T R)^-1 r, for the normal matrix A^T A.
class NormalInverse final : public Inverse {
 public:
  explicit NormalInverse(SparseQr& qr, int n) : qr_(qr), work_(n) {}
  bool apply(const double* r, double* z) override;

 private:
  SparseQr& qr_;
  Doubles work_;
};

}  // namespace limber::detail
