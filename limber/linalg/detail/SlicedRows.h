#pragma once

/// @file
/// A copy of a sparse matrix for many products.

#include <memory>
#include <new>

class SpVec;

namespace limber::detail {

/// A copy of sparse rows laid out for products with dense vectors. In blocks of many rows those of the same
/// length stand together, in slices of four with the four first entries side by side, then the four second
/// ones (sliced ELLPACK, sorted by length so that nothing is filled up): four sums run beside each other
/// without a branch between them. Each sum keeps its own order, so that the bits are those of the rows one by
/// one. The copy does not follow later changes of the rows. Its storage is kept for the next matrix.
class SlicedRows {
 public:
  /// Copies n rows with indices below `width`; null rows have no entries. False, and then without rows, when
  /// an index lies outside, when there are more entries than is worth a copy or when there is no memory.
  bool copy(const SpVec* const* rows, int n, int width);

  /// y[i] = the sum of x[index] value over row i, from 0.0 in entry order.
  void multiply(const double* x, double* y) const;
  /// y[0] ... y[width - 1] = 0.0; then y[index] += x[i] value over the entries of row i, in turn. Rows with
  /// x[i] in [-1e-12, 1e-12] add nothing.
  void multiplyTransposed(const double* x, double* y) const;
  /// t = A x + shift, y = A^T t, with each block fetched once for both.
  void multiplyNormal(const double* x, double shift, double* t, double* y) const;

 private:
  /// 200 MB.
  static constexpr long long mostEntries = 1 << 24;

  /// An array that keeps its storage. Growing loses the elements.
  template <class T>
  class Array {
   public:
    bool reserve(int n) {
      if (n <= room_) return true;
      data_.reset(new (std::nothrow) T[static_cast<std::size_t>(n)]);
      room_ = data_ ? n : 0;
      return data_ != nullptr;
    }
    T* get() const { return data_.get(); }
    T& operator[](int i) const { return data_[i]; }

   private:
    std::unique_ptr<T[]> data_;
    int room_ = 0;
  };

  /// Where a row's entries are: the first one, how many, and how far apart.
  struct Row {
    int start, length, step;
  };
  /// Four rows of the same length, or one.
  struct Slice {
    int length, rows;
  };

  bool reserve(const SpVec* const* rows, int n);
  bool layOut(int from, int to);
  void multiplyBlock(int block, const double* x, double* y) const;
  void addBlock(int block, const double* x, double* y) const;
  int blocks() const;
  int end(int block) const;

  int rows_ = 0, width_ = 0, slices_ = 0, filled_ = 0;
  Array<Row> row_;
  Array<Slice> slice_;
  /// The first slice of each block.
  Array<int> first_;
  /// The rows of each block in the order of its slices.
  Array<int> order_;
  /// Of the rows of a block, how many have a length, then where the next one of them stands in the order.
  Array<int> lengths_;
  Array<int> indices_;
  Array<double> values_;
};

}  // namespace limber::detail
