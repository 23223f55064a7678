#pragma once

/// @file
/// A multiple of the identity.

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

LIMBER_FIXED_TABLE_BEGIN

/// The n x n matrix s I.
///
/// height, width and acc hide SpMat's operations of the same names and do not override them; see
/// WierdMatrices.h.
class LIMBER_API IdentityMatrix : public SpMat {
 public:
  int n;
  /// The scale, initially 1.0.
  double s;

  explicit IdentityMatrix(int n);
  IdentityMatrix(const IdentityMatrix& other);
  IdentityMatrix& operator=(const IdentityMatrix& other);

  virtual int height();
  virtual int width();
  /// s if i = j, else 0.0.
  virtual double acc(int i, int j);
  /// y = s x; y takes the size of x.
  void mult(const Vector* x, Vector* y) const override;

 private:
  using SpMat::acc;
  using SpMat::height;
  using SpMat::width;
};

LIMBER_FIXED_TABLE_END
