// The bodies of MatrixTransform.h that callers inline. Only that header includes this file.
#pragma once

LIMBER_INLINE_API void transformMatrix(const Matrix4x4* M, double x, double y, double& ox, double& oy) {
  const double tx = x * M->m[0][0] + y * M->m[1][0] + M->m[3][0];
  oy = x * M->m[0][1] + y * M->m[1][1] + M->m[3][1];
  ox = tx;
}

LIMBER_INLINE_API void transformMatrix(const Matrix4x4* M, double x, double y, double z, double& ox,
                                       double& oy, double& oz) {
  const Pnt3 p = transformMatrix(M, Pnt3(x, y, z));
  ox = p.x, oy = p.y, oz = p.z;
}

LIMBER_INLINE_API void transformMatrix(const Matrix4x4* M, double x, double y, double z, double w, double& ox,
                                       double& oy, double& oz, double& ow) {
  double v[4] = {x, y, z, w};
  preMultiply(v, M, v);
  ox = v[0], oy = v[1], oz = v[2], ow = v[3];
}

LIMBER_INLINE_API void transformMatrixNH(const Matrix4x4* M, double x, double y, double z, double& ox,
                                         double& oy, double& oz) {
  const double(*m)[4] = M->m;
  const double tx = x * m[0][0] + y * m[1][0] + z * m[2][0];
  const double ty = x * m[0][1] + y * m[1][1] + z * m[2][1];
  const double tz = x * m[0][2] + y * m[1][2] + z * m[2][2];
  ox = tx, oy = ty, oz = tz;
}

LIMBER_INLINE_API void transformTransposeMatrix(const Matrix4x4* M, double x, double y, double z, double& ox,
                                                double& oy, double& oz) {
  const double(*m)[4] = M->m;
  const double tx = m[0][0] * x + m[0][1] * y + m[0][2] * z + m[0][3];
  const double ty = m[1][0] * x + m[1][1] * y + m[1][2] * z + m[1][3];
  const double tz = m[2][0] * x + m[2][1] * y + m[2][2] * z + m[2][3];
  ox = tx, oy = ty, oz = tz;
}

LIMBER_INLINE_API Pnt3 transformMatrix(const Matrix4x4* M, Pnt3 p) {
  const double(*m)[4] = M->m;
#if defined(__GNUC__)
  // x and y side by side.
  typedef double Two __attribute__((vector_size(16), aligned(8), may_alias));
  const auto two = [m](int i) { return *reinterpret_cast<const Two*>(m[i]); };
  const Two xy = p.x * two(0) + p.y * two(1) + p.z * two(2) + two(3);
  return Pnt3(xy[0], xy[1], p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]);
#else
  const auto sum = [&](int j) { return p.x * m[0][j] + p.y * m[1][j] + p.z * m[2][j] + m[3][j]; };
  return Pnt3(sum(0), sum(1), sum(2));
#endif
}

LIMBER_INLINE_API Pnt3 transformMatrix(Matrix4x4* M, Pnt3 p) {
  return transformMatrix(static_cast<const Matrix4x4*>(M), p);
}

LIMBER_INLINE_API void trans(const Matrix4x4* M, const Pnt3& p, Pnt3& out) { out = transformMatrix(M, p); }

LIMBER_INLINE_API void transNH(const Matrix4x4* M, const Pnt3& p, Pnt3& out) {
  transformMatrixNH(M, p.x, p.y, p.z, out.x, out.y, out.z);
}
