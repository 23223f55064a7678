#pragma once

/// @file
/// Matrices applied to coordinates, to points and to rows of derivatives. An output may be an input (except
/// in transformMatrixMatrix): the inputs are read first.

#include "limber/Api.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/geometry/Pnt3.h"

class SpVec;

/// A point of the plane: ox = x m00 + y m10 + m30, oy = x m01 + y m11 + m31.
LIMBER_INLINE_API void transformMatrix(const Matrix4x4* M, double x, double y, double& ox, double& oy);

/// (ox, oy, oz) = the first three components of (x, y, z, 1) M.
LIMBER_INLINE_API void transformMatrix(const Matrix4x4* M, double x, double y, double z, double& ox,
                                       double& oy, double& oz);

/// (ox, oy, oz, ow) = (x, y, z, w) M, without division by w.
LIMBER_INLINE_API void transformMatrix(const Matrix4x4* M, double x, double y, double z, double w, double& ox,
                                       double& oy, double& oz, double& ow);

/// (x, y, z) times the upper-left 3x3 block, without the translation: for directions and derivatives.
LIMBER_INLINE_API void transformMatrixNH(const Matrix4x4* M, double x, double y, double z, double& ox,
                                         double& oy, double& oz);

/// The first three components of M (x, y, z, 1), a column: the last column is the translation.
LIMBER_INLINE_API void transformTransposeMatrix(const Matrix4x4* M, double x, double y, double z, double& ox,
                                                double& oy, double& oz);

/// The first three components of (p, 1) M. M is only read, and may be const.
LIMBER_INLINE_API Pnt3 transformMatrix(const Matrix4x4* M, Pnt3 p);
/// The same.
LIMBER_INLINE_API Pnt3 transformMatrix(Matrix4x4* M, Pnt3 p);

/// out = the first three components of (p, 1) M.
LIMBER_INLINE_API void trans(const Matrix4x4* M, const Pnt3& p, Pnt3& out);

/// out = p times the upper-left 3x3 block.
LIMBER_INLINE_API void transNH(const Matrix4x4* M, const Pnt3& p, Pnt3& out);

/// The derivative rows of a transformed plane point from those of the point: oa = m00 a + m10 b, ob = m01 a +
/// m11 b (ssum). An output must not be an input. Like ssum, it drops indices from 10000 on. A program with
/// more variables can number them within a block below 10000. Or it can combine the rows with linComb, which
/// has no such limit for three or more rows that are not empty.
LIMBER_API void transformMatrixMatrix(const Matrix4x4* M, const SpVec* a, const SpVec* b, SpVec* oa,
                                      SpVec* ob);
/// The derivative rows of a transformed point: output j = m0j a + m1j b + m2j c (linComb). An output must not
/// be an input. If an entry of M is zero or a row is empty, so that only two terms are used, ssum combines
/// them and drops indices from 10000 on. After the first call it allocates only to grow the outputs. Only one
/// thread may call it at a time.
LIMBER_API void transformMatrixMatrix(const Matrix4x4* M, const SpVec* a, const SpVec* b, const SpVec* c,
                                      SpVec* oa, SpVec* ob, SpVec* oc);

#include "limber/geometry/MatrixTransform.inl"
