#pragma once

/// @file
/// Compressed rows laid out for many products.

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

struct SparseRows;

/// A copy of sparse rows in which, within blocks of rows, four of the same length stand side by side, entry
/// by entry: their sums run beside each other. Each sum keeps its own order, so the bits are those of the
/// rows one by one.
class RowSlices {
 public:
  explicit RowSlices(const SparseRows& rows);
  /// y = A x.
  void multiply(const double* x, double* y) const;

 private:
  /// So many rows of the same length follow each other, by fours as far as that goes.
  struct Stretch {
    int length, rows;
  };
  void append(const SparseRows& rows, int from, int count, int length);
  Array<Stretch> stretches_;
  Ints row_, index_;
  Doubles value_;
};

}  // namespace limber::detail
