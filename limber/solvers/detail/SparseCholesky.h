#pragma once

/// @file
/// The sparse Cholesky factor.

#include "limber/solvers/detail/Elimination.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {

/// P A P^T = L L^T for a symmetric A with a diagonal near 1, column by column (left-looking). Semidefinite
/// matrices have pivots that are nearly zero. Such a pivot becomes 1, and its column is left out.
class SparseCholesky final : public Inverse {
 public:
  /// False if a pivot is below zero by more than the rounding that is expected.
  bool factor(const SparseRows& A, Elimination elimination);
  /// After a failed factorization: a direction z whose z^T A z is that pivot, except for rounding.
  void failedDirection(double* z);
  bool apply(const double* r, double* z) override;
  /// The number of pivots that were nearly zero.
  int defects() const { return defects_; }

 private:
  void gatherColumn(const SparseRows& A, int k);
  void wait(int j);
  void reduceColumn(int k);
  bool takePivot(int k, double pivot, double own);
  Elimination shape_;
  // for each column its next entry, and for each row the columns whose next entry is in it
  Ints next_, first_, after_;
  Doubles diagonal_, value_, work_;
  int defects_ = 0, failed_ = 0;
};

}  // namespace limber::detail
