#pragma once

/// @file
/// Homogeneous 4x4 matrices that act on row vectors, p' = (x, y, z, 1) M: the last row is the translation and
/// m[3][3] is the homogeneous 1. Angles are in radians.

#include "limber/Api.h"

class Matrix3x3;

/// Sixteen doubles, row-major. The default is the identity.
class LIMBER_API Matrix4x4 {
 public:
  double m[4][4];

  LIMBER_INLINE Matrix4x4()
      : m{{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}} {}
  LIMBER_INLINE Matrix4x4(const Matrix4x4& b) { copy(b); }
  LIMBER_INLINE Matrix4x4& operator=(const Matrix4x4& b) {
    copy(b);
    return *this;
  }

  /// The entries as text, in one static buffer that the next call overwrites.
  char* __repr__() const;

 private:
  void copy(const Matrix4x4& b) {
    for (int i = 0; i < 4; ++i)
      for (int j = 0; j < 4; ++j) m[i][j] = b.m[i][j];
  }
};

/// M = the identity.
LIMBER_INLINE_API void idMatrix(Matrix4x4* M) { *M = Matrix4x4(); }
/// dst = src.
LIMBER_INLINE_API void copyMatrix(const Matrix4x4* src, Matrix4x4* dst) { *dst = *src; }
/// Prints four lines on the standard-output channel, one matrix row each.
LIMBER_API void printMatrix(const Matrix4x4* M);

/// M = the translation by (x, y, z).
LIMBER_INLINE_API void transMatrix(Matrix4x4* M, double x, double y, double z) {
  idMatrix(M);
  M->m[3][0] = x, M->m[3][1] = y, M->m[3][2] = z;
}

/// M = a rotation about the axis 'X', 'Y' or 'Z' (or lower case). Contract: with row vectors X and Z turn a
/// point by -angle, Y by +angle. Any other letter reports "Bad axis to rotMatrix" and gives the identity.
LIMBER_API void rotMatrix(Matrix4x4* M, char axis, double angle);
/// M = rotMatrix about Z.
LIMBER_API void rotMatrix(Matrix4x4* M, double angle);
/// out = the rotation of the quaternion w + xi + yj + zk, which need not be a unit quaternion. A zero
/// quaternion prints "WARNING: 0,0,0,0 quaternion!!!" on the standard-output channel and gives the identity.
LIMBER_API void quaternionMatrix(double w, double x, double y, double z, Matrix4x4* out);
/// out = M extended by the last row and column of the identity.
LIMBER_API void as4x4(const Matrix3x3* M, Matrix4x4* out);

/// C = A B, each entry summed over k = 0, 1, 2, 3; with row vectors A acts first. C may be A or B.
LIMBER_INLINE_API void multMatrix(const Matrix4x4* A, const Matrix4x4* B, Matrix4x4* C) {
  double c[4][4];
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      c[i][j] = A->m[i][0] * B->m[0][j] + A->m[i][1] * B->m[1][j] + A->m[i][2] * B->m[2][j] +
                A->m[i][3] * B->m[3][j];
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) C->m[i][j] = c[i][j];
}
/// out = M v, v a column of four. out may be v; M and v are only read, and may be const.
LIMBER_INLINE_API void postMultiply(const Matrix4x4* M, const double* v, double* out) {
  double r[4];
  for (int i = 0; i < 4; ++i)
    r[i] = M->m[i][0] * v[0] + M->m[i][1] * v[1] + M->m[i][2] * v[2] + M->m[i][3] * v[3];
  for (int i = 0; i < 4; ++i) out[i] = r[i];
}
/// The same.
LIMBER_INLINE_API void postMultiply(Matrix4x4* M, double* const v, double* const out) {
  postMultiply(static_cast<const Matrix4x4*>(M), v, out);
}

/// out = v M, v a row of four. out may be v; M and v are only read, and may be const.
LIMBER_INLINE_API void preMultiply(const double* v, const Matrix4x4* M, double* out) {
  double r[4];
  for (int j = 0; j < 4; ++j)
    r[j] = v[0] * M->m[0][j] + v[1] * M->m[1][j] + v[2] * M->m[2][j] + v[3] * M->m[3][j];
  for (int j = 0; j < 4; ++j) out[j] = r[j];
}
/// The same.
LIMBER_INLINE_API void preMultiply(double* const v, Matrix4x4* M, double* const out) {
  preMultiply(v, static_cast<const Matrix4x4*>(M), out);
}

/// B = s A. B may be A.
LIMBER_INLINE_API void copyScale(const Matrix4x4* A, double s, Matrix4x4* B) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) B->m[i][j] = s * A->m[i][j];
}

/// B += s A. B may be A.
LIMBER_INLINE_API void addinScale(const Matrix4x4* A, double s, Matrix4x4* B) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) B->m[i][j] += s * A->m[i][j];
}

/// M = its inverse, by Gauss-Jordan elimination with full pivoting. Returns 1 on success, 0 if M is singular.
/// A singular matrix is reported if `report` is not 0, and M then holds the result of the elimination, which
/// is not finite.
LIMBER_API int invertMatrix(Matrix4x4* M, int report);
