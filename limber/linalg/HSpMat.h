#pragma once

/// @file
/// The row-sparse matrix.

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

class SpVec;

LIMBER_FIXED_TABLE_BEGIN

/// An array of pointers to sparse rows. The caller owns the rows. Typically the matrix is the Jacobian of a
/// set of constraints, one row per constraint. A null row counts as an empty one.
class LIMBER_API HSpMat : public SpMat {
 public:
  /// Rows in use.
  int numRows;
  /// Length of the pointer array.
  int rowCapacity;
  SpVec** rows;

  /// n row slots for the caller to fill (null until then).
  explicit HSpMat(int n);
  /// Copies share the pointer array until one of them needs a longer one.
  HSpMat(const HSpMat& other);
  HSpMat& operator=(const HSpMat& other);

  int height() const override;
  /// The largest width of all rows, 0 for no rows.
  int width() const override;
  /// y = A x: y grows to the number of rows, y_i = sum of x[index] value over the entries of row i, from 0.0
  /// in entry order. Entries whose index lies outside the storage of x are skipped. The slot after the last
  /// element of y becomes 0.0, if its storage has one.
  void mult(const Vector* x, Vector* y) const override;
  /// y = A^T x: y grows to the width and is cleared, then, row by row, y[index] += x_i value. Rows with x_i
  /// in [-1e-12, 1e-12] are skipped, and so are entries outside the width (SpVec::compact leaves a width that
  /// excludes the last index; SpVec::drop does not). The slot after the last element of y becomes 0.0, if
  /// its storage has one.
  void multT(const Vector* x, Vector* y) const override;
  /// The value at column j of row i, 0.0 for an absent entry or row.
  double acc(int i, int j) const override;
  /// Scales every row.
  void scalar(double s) override;

  /// Releases the pointer array, not the rows.
  virtual ~HSpMat();
  /// The smaller of width(a, b) and the smallest first index of the non-empty rows a ... b - 1.
  virtual int left(int a, int b) const;
  /// The same over all rows.
  virtual int left() const;
  /// The largest width of rows a ... b - 1, 0 when a >= b.
  virtual int width(int a, int b) const;

  /// Appends the pointer. If the array is full, it grows to 2 rows + 6.
  void add(SpVec* r);
  /// The i-th row, unchecked.
  LIMBER_INLINE SpVec* row(int i) const { return rows[i]; }
  /// Removes all rows. The array stays; a matrix without one gets one of length 5.
  void clear();
  /// Prints every row with SpVec::print.
  void print() const;
  /// Prints the first min(width, 12) columns of every row with SpVec::portray, one line per row.
  void portray() const;
  /// Prints the sizes, the number of entries and the sum of the rows' squared magnitudes.
  void printStats() const;
};

LIMBER_FIXED_TABLE_END
