#pragma once

/// @file
/// 3x3 matrices: rotations that act on row vectors, p' = p M, so that row i is the image of basis vector i.

#include "limber/Api.h"
#include "limber/geometry/Pnt3.h"

/// Nine doubles, row-major. The default is the identity.
class LIMBER_API Matrix3x3 {
 public:
  double m[3][3];

  LIMBER_INLINE Matrix3x3() : m{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}} {}
  LIMBER_INLINE Matrix3x3(const Matrix3x3& b) { copy(b); }
  LIMBER_INLINE Matrix3x3& operator=(const Matrix3x3& b) {
    copy(b);
    return *this;
  }

  /// The entries as text, in one static buffer that the next call overwrites.
  char* __repr__() const;

 private:
  void copy(const Matrix3x3& b) {
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) m[i][j] = b.m[i][j];
  }
};

/// M = the identity.
LIMBER_INLINE_API void idMatrix(Matrix3x3* M);

/// C = A B, each entry summed over k = 0, 1, 2; with row vectors A acts first. C may be A or B.
LIMBER_INLINE_API void multMatrix(const Matrix3x3* A, const Matrix3x3* B, Matrix3x3* C);

/// p M.
LIMBER_INLINE_API Pnt3 transformMatrix(const Matrix3x3* M, const Pnt3& p);

#include "limber/geometry/Matrix3x3.inl"
