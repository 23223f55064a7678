#pragma once

/// @file
/// Matrices applied to coordinates, to points and to rows of derivatives. An output may be an input (except
/// in transformMatrixMatrix): the inputs are read first.

#include "limber/Api.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/geometry/Pnt3.h"

class SpVec;

/// The plane: ox = x m00 + y m10 + m30, oy = x m01 + y m11 + m31.
LIMBER_API LIMBER_INLINE void transformMatrix(const Matrix4x4* M, double x, double y, double& ox,
                                              double& oy) {
  const double tx = x * M->m[0][0] + y * M->m[1][0] + M->m[3][0];
  oy = x * M->m[0][1] + y * M->m[1][1] + M->m[3][1];
  ox = tx;
}

/// (ox, oy, oz) = the first three components of (x, y, z, 1) M.
LIMBER_API LIMBER_INLINE void transformMatrix(const Matrix4x4* M, double x, double y, double z, double& ox,
                                              double& oy, double& oz) {
  const double(*m)[4] = M->m;
  const double tx = x * m[0][0] + y * m[1][0] + z * m[2][0] + m[3][0];
  const double ty = x * m[0][1] + y * m[1][1] + z * m[2][1] + m[3][1];
  const double tz = x * m[0][2] + y * m[1][2] + z * m[2][2] + m[3][2];
  ox = tx, oy = ty, oz = tz;
}

/// (ox, oy, oz, ow) = (x, y, z, w) M, without division by w.
LIMBER_API LIMBER_INLINE void transformMatrix(const Matrix4x4* M, double x, double y, double z, double w,
                                              double& ox, double& oy, double& oz, double& ow) {
  const double(*m)[4] = M->m;
  const double tx = x * m[0][0] + y * m[1][0] + z * m[2][0] + w * m[3][0];
  const double ty = x * m[0][1] + y * m[1][1] + z * m[2][1] + w * m[3][1];
  const double tz = x * m[0][2] + y * m[1][2] + z * m[2][2] + w * m[3][2];
  const double tw = x * m[0][3] + y * m[1][3] + z * m[2][3] + w * m[3][3];
  ox = tx, oy = ty, oz = tz, ow = tw;
}

/// (x, y, z) times the upper-left 3x3, without the translation: for directions and derivatives.
LIMBER_API LIMBER_INLINE void transformMatrixNH(const Matrix4x4* M, double x, double y, double z, double& ox,
                                                double& oy, double& oz) {
  const double(*m)[4] = M->m;
  const double tx = x * m[0][0] + y * m[1][0] + z * m[2][0];
  const double ty = x * m[0][1] + y * m[1][1] + z * m[2][1];
  const double tz = x * m[0][2] + y * m[1][2] + z * m[2][2];
  ox = tx, oy = ty, oz = tz;
}

/// The first three components of M (x, y, z, 1), a column: the last column is the translation.
LIMBER_API LIMBER_INLINE void transformTransposeMatrix(const Matrix4x4* M, double x, double y, double z,
                                                       double& ox, double& oy, double& oz) {
  const double(*m)[4] = M->m;
  const double tx = m[0][0] * x + m[0][1] * y + m[0][2] * z + m[0][3];
  const double ty = m[1][0] * x + m[1][1] * y + m[1][2] * z + m[1][3];
  const double tz = m[2][0] * x + m[2][1] * y + m[2][2] * z + m[2][3];
  ox = tx, oy = ty, oz = tz;
}

/// (p, 1) M, first three components. M is only read, and may be const.
LIMBER_API LIMBER_INLINE Pnt3 transformMatrix(const Matrix4x4* M, Pnt3 p) {
  // x and y side by side.
  typedef double Two __attribute__((vector_size(16), aligned(8), may_alias));
  const double(*m)[4] = M->m;
  const auto two = [m](int i) { return *reinterpret_cast<const Two*>(m[i]); };
  const Two xy = p.x * two(0) + p.y * two(1) + p.z * two(2) + two(3);
  return Pnt3(xy[0], xy[1], p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]);
}
/// The same.
LIMBER_API LIMBER_INLINE Pnt3 transformMatrix(Matrix4x4* M, Pnt3 p) {
  return transformMatrix(static_cast<const Matrix4x4*>(M), p);
}

/// out = (p, 1) M, first three components.
LIMBER_API LIMBER_INLINE void trans(const Matrix4x4* M, const Pnt3& p, Pnt3& out) {
  out = transformMatrix(M, p);
}

/// out = p times the upper-left 3x3.
LIMBER_API LIMBER_INLINE void transNH(const Matrix4x4* M, const Pnt3& p, Pnt3& out) {
  transformMatrixNH(M, p.x, p.y, p.z, out.x, out.y, out.z);
}

/// The derivative rows of a transformed plane point from those of the point: oa = m00 a + m10 b,
/// ob = m01 a + m11 b (ssum). An output must not be an input. Indices from 10000 on are dropped, which is
/// ssum's contract; a caller with more variables numbers them within a block below 10000, or combines the
/// rows itself with linComb over three or more rows that are not empty, which has no such limit.
LIMBER_API void transformMatrixMatrix(const Matrix4x4* M, const SpVec* a, const SpVec* b, SpVec* oa,
                                      SpVec* ob);
/// The derivative rows of a transformed point: output j = m0j a + m1j b + m2j c (linComb). An output must not
/// be an input. Where exactly two of the three terms take part (a zero entry of M, an empty row) they are
/// combined by ssum, so there, too, indices from 10000 on are dropped. Allocates nothing after the first call
/// but what the outputs need to grow; one thread at a time.
LIMBER_API void transformMatrixMatrix(const Matrix4x4* M, const SpVec* a, const SpVec* b, const SpVec* c,
                                      SpVec* oa, SpVec* ob, SpVec* oc);
