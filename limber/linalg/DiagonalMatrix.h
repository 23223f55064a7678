#pragma once

/// @file
/// The diagonal matrix.

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

LIMBER_FIXED_TABLE_BEGIN

/// The matrix with the elements of a vector on its diagonal. Copies share the vector and the flag that says
/// whether it is owned; the last copy deletes an owned vector.
///
/// height, width and acc hide SpMat's operations of the same names and do not override them; see
/// WierdMatrices.h.
class LIMBER_API DiagonalMatrix : public SpMat {
 public:
  Vector* diag;
  /// 1 when the destructor deletes the vector.
  int owns;

  /// Uses the caller's vector and does not own it.
  explicit DiagonalMatrix(Vector* diagonal);
  /// Owns a new vector of n zeros.
  explicit DiagonalMatrix(int n);
  DiagonalMatrix(const DiagonalMatrix& other);
  DiagonalMatrix& operator=(const DiagonalMatrix& other);
  ~DiagonalMatrix();

  virtual int height();
  virtual int width();
  /// The i-th diagonal element if i = j, else 0.0.
  virtual double acc(int i, int j);
  /// Contract: y is the first of an array of result vectors, one per row, and all elements of the i-th vector
  /// become diag[i] x[i], for each i below the larger of the two sizes. If an operand is shorter than that,
  /// the value in its storage at i is used, or 0.0 beyond its storage.
  void mult(const Vector* x, Vector* y) const override;

 private:
  using SpMat::acc;
  using SpMat::height;
  using SpMat::width;
};

LIMBER_FIXED_TABLE_END
