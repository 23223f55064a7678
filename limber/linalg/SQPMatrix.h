#pragma once

/// @file
/// The matrix of a quadratic program with equality constraints.

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

LIMBER_FIXED_TABLE_BEGIN

/// The symmetric matrix of size n + m
///
///     | H + hessianShift I   J^T             |
///     | J                    lowerDiagonal I |
///
/// for an n x n Hessian H and an m x n constraint Jacobian J, assembled on the fly. Neither is owned.
///
/// height, width and acc hide SpMat's operations of the same names and do not override them; see
/// WierdMatrices.h.
class LIMBER_API SQPMatrix : public SpMat {
 public:
  SpMat* H;
  SpMat* J;
  /// Both 0.0 initially.
  double hessianShift, lowerDiagonal;

  SQPMatrix(SpMat* H, SpMat* J);
  SQPMatrix(const SQPMatrix& other);
  SQPMatrix& operator=(const SQPMatrix& other);

  virtual int height();
  virtual int width();
  virtual double acc(int i, int j);
  /// y = A x; y grows to n + m. Not reentrant: all instances share one work vector.
  void mult(const Vector* x, Vector* y) const override;
  /// The same as mult, because the matrix is symmetric.
  void multT(const Vector* x, Vector* y) const override;
  /// The row-sparse image of A + diagAdd I, in the matrix that naiveCompact shares. b is naiveCompact's
  /// `reset`.
  SpMat* compact(double diagAdd, int a, int b) override;

 private:
  using SpMat::acc;
  using SpMat::height;
  using SpMat::width;
};

LIMBER_FIXED_TABLE_END

/// Prints sizes, entries and ranges of Q. The entries of Q->J are counted only if it is an HSpMat.
LIMBER_API void qpMatStats(SQPMatrix* Q);
