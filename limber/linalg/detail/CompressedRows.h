#pragma once

/// @file
/// Sparse rows in three arrays.

#include "limber/linalg/detail/GrowingArray.h"

class HSpMat;
class SpMat;

namespace limber::detail {

/// Sparse rows stored one after the other (compressed row storage). Row i has the entries starts[i] ...
/// starts[i + 1] - 1. The functions named take... replace all rows and return false when there is no memory.
class CompressedRows {
 public:
  /// The rows of A without the entries that no product can reach: those at negative indices and at INT_MAX.
  bool takeRows(const HSpMat& A);
  /// The elements of A that are not 0.0, read through acc.
  bool takeElements(const SpMat& A);
  /// The transpose of the leading `width` columns of `rows`: row j has the entries of column j in the order
  /// of the rows that they come from.
  bool takeTransposed(const CompressedRows& rows, int width);

  /// The width of A, for takeElements.
  static int widthOf(const SpMat& A);

  int height() const { return height_; }
  int length(int i) const { return static_cast<int>(starts_[i + 1] - starts_[i]); }
  const int* indices(int i) const { return indices_.get() + starts_[i]; }
  const double* values(int i) const { return values_.get() + starts_[i]; }
  /// One past the largest index.
  int reach() const;

 private:
  template <class Visit>
  bool take(Visit visit);
  bool reserve(int height, long long entries);
  long long entries() const { return height_ > 0 ? starts_[height_] : 0; }

  int height_ = 0;
  GrowingArray<long long> starts_;
  GrowingArray<int> indices_;
  GrowingArray<double> values_;
};

}  // namespace limber::detail
