#pragma once

/// @file
/// The LU factor of a dense matrix.

#include <cstddef>
#include <utility>

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

/// P A Q = L U with row exchanges. Columns without a pivot are moved behind all others and get the pivot 1.
/// The pivots are subtracted from each element in ascending order, so the bits do not depend on the machine.
class DenseLu {
 public:
  /// Starts with a zero matrix of n rows and columns.
  void clear(int n);
  int size() const { return n_; }
  /// The elements of column j.
  double* column(int j) { return value_.data() + static_cast<std::ptrdiff_t>(j) * n_; }
  /// Replaces the matrix by its factors. (*rows)[i], which names row i, follows the exchanges. Returns the
  /// number of columns without a pivot.
  int factor(Ints* rows);
  /// x = L^-1 x, for an x whose elements were exchanged like the rows.
  void solveLower(double* x) const;
  /// x = Q U^-1 x.
  void solveUpper(double* x) const;

 private:
  const double* column(int j) const { return value_.data() + static_cast<std::ptrdiff_t>(j) * n_; }
  bool pivot(int k, Ints* rows);
  void postpone(int k, int from, int to);
  void factorPanel(int from, int to, Ints* rows);

  int n_ = 0;
  int rank_ = 0;                          // the columns from here on are known to have no pivot
  Array<std::pair<int, int>> exchanges_;  // of columns
  // the columns one after the other: U, and L below its diagonal, which is 1
  Doubles value_;
};

}  // namespace limber::detail
