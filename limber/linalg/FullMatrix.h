#pragma once

/// @file
/// The dense matrix.

#include <cstddef>
#include <cstdio>

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

LIMBER_FIXED_TABLE_BEGIN

/// A dense matrix in row-major order: element (i, j) is data[i columns + j].
///
/// The storage has one spare element after the last one, because operator() accepts a column index equal to
/// the width. Nothing throws; a result of operands whose sizes do not fit has kind 1. A failed allocation is
/// reported and leaves the matrix empty, with kind 1.
///
/// A derived class may override operator(): the element-wise operators and products then call it. For other
/// matrices they read the storage directly, with the same results.
class LIMBER_API FullMatrix : public SpMat {
 public:
  /// 0: normal. 1: empty, or the result of an operator given sizes that do not fit. 2: a temporary, whose
  /// storage the next copy takes over. 3: found singular by invert.
  int kind;
  int numRows, numColumns;
  /// numRows * numColumns values and the spare one. Owned; released with delete[].
  double* data;

  /// An r x c matrix of zeros; kind 1 when r c < 1.
  FullMatrix(int r, int c);
  /// A matrix without rows and columns but with room for n doubles; kind 1 when n < 1. Contract: only the
  /// first n bytes of the storage, not n doubles, are cleared.
  explicit FullMatrix(int n);
  /// Takes over the storage of a temporary (kind 2), whose data becomes null; the new matrix then has kind 0.
  /// Copies any other matrix, including its kind.
  FullMatrix(const FullMatrix& other);
  /// Takes the other's sizes, its kind and a copy of its values. Contract: the previous storage is not
  /// released, so that pointers and references into it stay valid until the process ends. A loop that assigns
  /// again and again therefore grows without end; use ResizeMatrix::grow or operator*= there.
  FullMatrix& operator=(const FullMatrix& other);

  int height() const override;
  int width() const override;
  /// y_i = sum over j of (i, j) x_j, each from 0.0 in ascending j. The count of y is not set: y must already
  /// be long enough. Elements of x or y beyond their storage are skipped.
  void mult(const Vector* x, Vector* y) const override;
  /// y_j = sum over i of (i, j) x_i, each from 0.0 in ascending i. Otherwise like mult.
  void multT(const Vector* x, Vector* y) const override;
  /// data[i columns + j], 0.0 if that is outside the storage.
  double acc(int i, int j) const override;
  /// A new HSpMat with new rows, all owned by the caller; values of magnitude 1e-12 or less (after diagAdd on
  /// the diagonal) are left out. The two ints are not used.
  SpMat* compact(double diagAdd, int a, int b) override;
  void scalar(double s) override;

  virtual ~FullMatrix();
  virtual FullMatrix transpose() const;
  /// Element (i, j) for 0 <= i < rows and 0 <= j <= columns (contract: <=, not <) of a matrix whose kind is
  /// not 1. Otherwise prints a message on standard error and returns a spare element shared by all matrices,
  /// 0.0 each time it is handed out.
  virtual double& operator()(int i, int j) const;
  /// Sizes that do not fit give a matrix of zeros (rows of this, columns of `other`) with kind 1.
  virtual FullMatrix operator*(const FullMatrix& other) const;
  virtual FullMatrix operator+(const FullMatrix& other) const;
  virtual FullMatrix operator-(const FullMatrix& other) const;
  /// Sizes that do not fit leave the values and set kind to 1.
  virtual void operator*=(const FullMatrix& other);
  virtual void operator+=(const FullMatrix& other);
  virtual void operator-=(const FullMatrix& other);
  /// 1 for equal sizes and no element that is less or greater than the other's: a NaN equals anything.
  virtual int operator==(const FullMatrix& other) const;

  LIMBER_INLINE int rows() const { return numRows; }
  LIMBER_INLINE int columns() const { return numColumns; }
  /// An element and a row, unchecked.
  LIMBER_INLINE double& e(int i, int j) const {
    return data[static_cast<std::ptrdiff_t>(i) * numColumns + j];
  }
  LIMBER_INLINE double* operator[](int i) const { return data + static_cast<std::ptrdiff_t>(i) * numColumns; }

  /// Copies column c into v, which grows to the number of rows. A bad c is reported and nothing is copied.
  void column(int c, Vector* v) const;
  /// Copies the first min(columns, count of v) values of v into row r. Contract: a bad r is reported, and the
  /// values are still written as far as their places are in the storage.
  void putRow(int r, Vector* v);

  void zero();
  /// Zeros, with 1.0 on the min(rows, columns) diagonal places.
  void identity();
  void scale(double s);
  /// Adds `add` to each diagonal value that is at least `minimum`; for each smaller one, clears its row and
  /// column and puts 1.0 on the diagonal.
  void fixDiags(double add, double minimum);
  /// Sum of the min(rows, columns) diagonal values.
  double trace() const;
  /// Smallest and largest diagonal value; 0.0 for a matrix without elements.
  void traceRange(double& lo, double& hi) const;
  void transposeInPlace();

  FullMatrix inverse() const;
  /// Inverts in place by Gauss-Jordan elimination with full pivoting. Returns 1, or 0 with the values
  /// unchanged for a matrix that is not square (kind becomes 1) and when there is no memory (which is
  /// reported). For a singular matrix, too, the result is 1; it gets kind 3 and the values at the end of the
  /// elimination.
  int invert();

  /// One line per row: "%7.4f " for each non-zero value, "      0 " for each zero. Nothing for a matrix
  /// without rows.
  void print(FILE* file) const;
  /// One line per row through the standard-output channel: the first n values (all for n <= 0 or n >=
  /// columns), each with the caller's printf format. The two functions do the same.
  void printC(int n, const char* fmt) const;
  void printF(int n, const char* fmt) const;

 private:
  FullMatrix(int r, int c, int temporary);
};

LIMBER_FIXED_TABLE_END
