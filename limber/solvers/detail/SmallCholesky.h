#pragma once

/// @file
/// The Cholesky factor of a small matrix in its own order.

#include "limber/solvers/detail/Array.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

/// A = L L^T for a small symmetric A with a diagonal near 1, stored densely by columns and computed within
/// the envelope of A: in a row, nothing is filled in front of its first entry.
class SmallCholesky {
 public:
  /// True if the factor is small and costs no more than about twenty iterations of conjugate gradients.
  static bool isCheap(const SparseRows& A);
  /// False if a pivot is so small that A may be singular or not positive definite.
  bool factor(const SparseRows& A);
  /// x = A^-1 x.
  void solve(double* x) const;

 private:
  double* column(int k) { return value_.data() + k * stride_; }
  const double* column(int k) const { return value_.data() + k * stride_; }
  int n_ = 0, stride_ = 0;
  // column k of L ends before row end_[k]
  Ints end_;
  Doubles value_, inverseDiagonal_;
};

}  // namespace limber::detail
