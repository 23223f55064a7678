#pragma once

/// @file
/// A copy of a sparse matrix for many products.

#include <cstddef>
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
  /// Makes room for a copy of n rows: what copy() does then allocates nothing. False for very many rows or
  /// entries and when there is no memory.
  bool reserve(const SpVec* const* rows, int n);
  /// Copies n rows with indices below `width`; null rows have no entries. False, and then without rows, where
  /// reserve() is false and when an index lies outside.
  bool copy(const SpVec* const* rows, int n, int width);

  /// What the copy has.
  int height() const { return height_; }
  int width() const { return width_; }

  /// y[i] = the sum of x[index] value over row i, from 0.0 in entry order.
  void multiply(const double* x, double* y) const;
  /// y[0] ... y[width() - 1] = 0.0; then y[index] += x[i] value over the entries of row i, in turn. Rows with
  /// x[i] in [-1e-12, 1e-12] add nothing.
  void multiplyTransposed(const double* x, double* y) const;
  /// t = A x + shift, y = A^T t, with each block fetched once for both.
  void multiplyNormal(const double* x, double shift, double* t, double* y) const;

 private:
  /// Up to 200 MB of entries and 400 MB of what is kept for each row.
  static constexpr long long most = 1 << 24;

  /// An array that keeps its storage. Growing loses the elements, and makes room for some more.
  template <class T>
  class Array {
   public:
    bool reserve(int n) {
      if (n <= room_) return true;
      const std::size_t room = static_cast<std::size_t>(n) + static_cast<std::size_t>(n) / 4;
      room_ = 0;
      data_.reset();
      data_.reset(new (std::nothrow) T[room]);
      if (data_) room_ = static_cast<int>(room);
      return data_ != nullptr;
    }
    T* get() const { return data_.get(); }
    T& operator[](int i) const { return data_[static_cast<std::size_t>(i)]; }

   private:
    std::unique_ptr<T[]> data_;
    int room_ = 0;
  };

  /// Where a row's entries are: the first one, how many, and how far apart.
  struct Place {
    int start, length, step;
  };
  /// Rows of the same length side by side: four, or one that is left over.
  struct Slice {
    int length, lanes;
  };

  bool copyBlocks(const SpVec* const* rows, int n, int width);
  void layOut(int from, int to);
  void multiplyBlock(int block, const double* x, double* y) const;
  void addBlock(int block, const double* x, double* y) const;
  int blocks() const;
  int end(int block) const;

  int height_ = 0, width_ = 0, slices_ = 0, filled_ = 0;
  Array<Place> place_;
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
