#pragma once

/// @file
/// The interface through which every matrix of the library is reached.

#include "limber/Api.h"

class Vector;

LIMBER_FIXED_TABLE_BEGIN

/// A matrix as the solvers see it: two sizes, two products, one element. It says nothing about structure,
/// storage or ownership. There is no virtual destructor: a matrix is destroyed through its own type.
///
/// The bodies here are for classes that leave an operation out: they report "Function (...) not implemented"
/// as a warning and return 0 or do nothing.
class LIMBER_API SpMat {
 public:
  /// Number of rows.
  virtual int height() const;
  /// Number of columns.
  virtual int width() const;
  /// y = A x, overwriting y. x and y are different vectors.
  virtual void mult(const Vector* x, Vector* y) const;
  /// y = A^T x, overwriting y. x and y are different vectors.
  virtual void multT(const Vector* x, Vector* y) const;
  /// The element in row i, column j.
  virtual double acc(int i, int j) const;
  /// Prints a picture of the pattern: one line per row, "*" for a non-zero element, " " for a zero. Only
  /// packing <= 0 is supported; any other value is reported as an error and nothing is printed.
  virtual void depict(int packing);
  /// The row-sparse image of A + diagAdd I, an HSpMat. This body returns naiveCompact(this, diagAdd, a, b): b
  /// is its `reset`, and the caller does not own the result.
  virtual SpMat* compact(double diagAdd, int a, int b);
  /// A = s A.
  virtual void scalar(double s);
};

LIMBER_FIXED_TABLE_END
