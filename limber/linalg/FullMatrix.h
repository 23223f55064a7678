#pragma once

/// @file
/// The dense matrix.

#include <cstddef>
#include <cstdio>

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

LIMBER_FIXED_TABLE_BEGIN

/// A dense matrix, stored row after row: element (i, j) is data[i columns + j].
///
/// The storage has one spare element behind the last, because operator() accepts a column index equal to the
/// width. Nothing throws; sizes that do not fit show as kind 1. A failed allocation is reported and leaves
/// the matrix empty, with kind 1.
///
/// A class may override operator(): the element-wise operators and products then work through it. Plain
/// matrices run on the storage, with the same results.
class LIMBER_API FullMatrix : public SpMat {
 public:
  /// 0: normal. 1: empty, or the result of an operator given sizes that do not fit. 2: a temporary, whose
  /// storage the next copy takes over. 3: found singular by invert.
  int kind;
  int numRows, numColumns;
  /// numRows * numColumns values and the spare one; owned, released with delete[].
  double* data;

  /// An r x c matrix of zeros; kind 1 when r c < 1.
  FullMatrix(int r, int c);
  /// Room for n doubles, of which the first n bytes (not doubles, deliberately) are cleared, and no rows or
  /// columns; kind 1 when n < 1.
  explicit FullMatrix(int n);
  /// Takes over the storage of a temporary (kind 2), whose data becomes null, and has kind 0; copies any
  /// other matrix, its kind included.
  FullMatrix(const FullMatrix& other);
  /// Takes the other's sizes, its kind and a copy of its values. The storage held before is deliberately not
  /// released: pointers and references into it stay good until the process ends. A loop that assigns again
  /// and again therefore grows without end; use ResizeMatrix::grow or operator*= there.
  FullMatrix& operator=(const FullMatrix& other);

  int height() const override;
  int width() const override;
  /// y_i = sum over j of (i, j) x_j, each from 0.0 in ascending j. The count of y is not set: y must hold
  /// enough entries already. Elements of x or y beyond their storage are left out.
  void mult(const Vector* x, Vector* y) const override;
  /// y_j = sum over i of (i, j) x_i, each from 0.0 in ascending i. As mult otherwise.
  void multT(const Vector* x, Vector* y) const override;
  /// data[i columns + j], 0.0 when that lies outside the storage.
  double acc(int i, int j) const override;
  /// A new HSpMat with new rows, all owned by the caller; values of magnitude 1e-12 or less (after diagAdd on
  /// the diagonal) are left out. The two ints are not used.
  SpMat* compact(double diagAdd, int a, int b) override;
  void scalar(double s) override;

  virtual ~FullMatrix();
  virtual FullMatrix transpose() const;
  /// Element (i, j) for 0 <= i < rows and 0 <= j <= columns (not <, by contract) of a matrix whose kind is
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
  /// Unchecked element and row.
  LIMBER_INLINE double& e(int i, int j) const {
    return data[static_cast<std::ptrdiff_t>(i) * numColumns + j];
  }
  LIMBER_INLINE double* operator[](int i) const { return data + static_cast<std::ptrdiff_t>(i) * numColumns; }

  /// Copies column c into v, which is grown to the number of rows. A bad c is reported and nothing copied.
  void column(int c, Vector* v) const;
  /// Copies the first min(columns, count of v) values of v into row r. A bad r is reported and still used as
  /// far as the place it names lies in the storage (deliberately).
  void putRow(int r, Vector* v);

  void zero();
  /// Zeros, with 1.0 on the min(rows, columns) diagonal places.
  void identity();
  void scale(double s);
  /// Adds `add` to each diagonal value that is at least `minimum`; for each that is not, clears its row and
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
  /// reported). A singular matrix gets kind 3 and the values at the end of the elimination.
  int invert();

  /// One line a row: "%7.4f " for each value that is not zero, "      0 " for each that is. Nothing for a
  /// matrix without rows.
  void print(FILE* file) const;
  /// One line a row through the standard-output channel: the first n values (all for n <= 0 or n >= columns),
  /// each with the caller's printf format. The two are the same.
  void printC(int n, const char* fmt) const;
  void printF(int n, const char* fmt) const;

 private:
  FullMatrix(int r, int c, int temporary);
};

LIMBER_FIXED_TABLE_END
