#pragma once

/// @file
/// A copy of a sparse matrix for many products.

#include "limber/linalg/detail/GrowingArray.h"

class SpVec;

namespace limber::detail {

class CompressedRows;

/// A copy of sparse rows laid out for products with dense vectors. Within each block of 1024 rows, rows of
/// the same length are stored together in slices of four: the four first entries side by side, then the four
/// second ones (sliced ELLPACK, sorted by length so that nothing is padded). A product adds up four sums side
/// by side without a branch between them. Each sum keeps its own order, so the bits are those of the rows one
/// by one. The copy does not follow later changes of the rows. Its storage is kept for the next matrix.
class SlicedRows {
 public:
  /// Makes room for a copy of n rows, so that copy() does not allocate. Returns false if there are no rows or
  /// no memory.
  bool reserve(const SpVec* const* rows, int n);
  /// Copies n rows with indices below `width`; null rows have no entries. If reserve() fails or an index lies
  /// outside, this object has no rows afterwards, and the result is false.
  bool copy(const SpVec* const* rows, int n, int width);
  bool copy(const CompressedRows& rows, int width);
  /// The same for n rows whose entries stand at starts[i] ... starts[i + 1] - 1 of two arrays.
  bool copy(const int* starts, const int* indices, const double* values, int n, int width);
  /// A deep copy. Without memory, this object has no rows afterwards, and the result is false.
  bool copy(const SlicedRows& other);

  /// The sizes of the copied matrix.
  int height() const { return height_; }
  int width() const { return width_; }
  long long entries() const { return height_ > 0 ? start_[blocks()] : 0; }
  /// The value of the first entry of row i with the index j, or 0.0 if there is none.
  double at(int i, int j) const;
  /// The number of entries of row i, and a copy of them in their order.
  int length(int i) const { return place_[i].length; }
  void copyRow(int i, int* indices, double* values) const;
  /// Multiplies every value by s.
  void scale(double s);
  bool allFinite() const;

  /// y[i] = the sum of x[index] value over row i, from 0.0 in entry order.
  void multiply(const double* x, double* y) const;
  /// The same with 0.0 in place of every x in [-1e-12, 1e-12].
  void multiplyWithoutTiny(const double* x, double* y) const;
  /// The same two without the entries whose index is not below `room`.
  void multiplyInside(const double* x, int room, bool withoutTiny, double* y) const;
  /// y[0] ... y[width() - 1] = 0.0; then y[index] += x[i] value over the entries of row i, in turn. Rows with
  /// x[i] in [-1e-12, 1e-12] add nothing.
  void multiplyTransposed(const double* x, double* y) const;
  /// The same for the rows below `values` and the indices below `room` only.
  void multiplyTransposedInside(const double* x, int values, int room, double* y) const;
  /// t = A x + shift, y = A^T t, with each block fetched once for both.
  void multiplyNormal(const double* x, double shift, double* t, double* y) const;

 private:
  /// Where a row's entries are: the first one counted from the start of its block, how many, and how far
  /// apart.
  struct Place {
    int start, length, step;
  };
  /// Rows of the same length side by side: four, or one that is left over.
  struct Slice {
    int length, lanes;
  };
  /// The entries of one row, `step` apart.
  struct Entries {
    const int* index;
    const double* value;
    int length, step;
  };

  template <class RowAt>
  bool reserveRows(RowAt rowAt, int n);
  template <class RowAt>
  bool copyRows(RowAt rowAt, int n, int width);
  template <class RowAt>
  bool copyBlock(RowAt rowAt, int from, int to, int width);
  int layOut(int from, int to);
  template <bool withoutTiny>
  void multiplyBlock(int block, const double* x, double* y) const;
  void addBlock(int block, const double* x, double* y) const;
  Entries entriesOf(int i) const;
  int blocks() const;
  int end(int block) const;

  int height_ = 0, width_ = 0, slices_ = 0;
  GrowingArray<Place> place_;
  GrowingArray<Slice> slice_;
  /// The first slice of each block, and where the entries of each block start.
  GrowingArray<int> first_;
  GrowingArray<long long> start_;
  /// The rows of each block in the order of its slices.
  GrowingArray<int> order_;
  /// For the counting sort by row length: the counts, then the next position of each length.
  GrowingArray<int> lengths_;
  GrowingArray<int> indices_;
  GrowingArray<double> values_;
};

}  // namespace limber::detail
