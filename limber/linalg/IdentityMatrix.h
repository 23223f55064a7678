#pragma once

/// @file
/// A multiple of the identity.

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Woverloaded-virtual"

/// The n x n matrix s I.
///
/// height, width and acc are operations of its own, deliberately not those of SpMat: who holds one of these
/// matrices as an SpMat and asks for them gets SpMat's warning and 0.
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
  /// s where i = j, else 0.0.
  virtual double acc(int i, int j);
  /// y = s x; y takes the size of x.
  void mult(const Vector* x, Vector* y) const override;
};

#pragma GCC diagnostic pop
