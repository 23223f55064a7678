#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/Quat.h"
#include "tests/support/Tolerance.h"

// References for quaternions in long double.

namespace reference {

using Real = long double;

constexpr double unitOfRounding = tolerance::epsilon / 2;
constexpr double allowed = 16 * unitOfRounding;
constexpr double pi = 3.141592653589793;

struct Vec {
  Real x, y, z;
  Vec(Real x0, Real y0, Real z0) : x(x0), y(y0), z(z0) {}
  explicit Vec(const Pnt3& p) : x(p.x), y(p.y), z(p.z) {}
};
inline Vec operator-(const Vec& a, const Vec& b) { return Vec(a.x - b.x, a.y - b.y, a.z - b.z); }
inline Vec operator*(Real s, const Vec& a) { return Vec(s * a.x, s * a.y, s * a.z); }
inline Real length(const Vec& a) { return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z); }
inline Vec unit(const Vec& a) { return Real(1) / length(a) * a; }
inline Vec cross(const Vec& a, const Vec& b) {
  return Vec(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

inline Vec rotated(const Quat& q, const Vec& p) {
  const Vec v(q.x, q.y, q.z), c = cross(v, p), u(q.w * p.x + c.x, q.w * p.y + c.y, q.w * p.z + c.z);
  const Vec t = cross(v, u);
  return Vec(p.x + 2 * t.x, p.y + 2 * t.y, p.z + 2 * t.z);
}

inline double normError(const Quat& q) {
  return static_cast<double>(
      std::fabs(Real(q.w) * q.w + Real(q.x) * q.x + Real(q.y) * q.y + Real(q.z) * q.z - 1));
}

/// The rotation matrix, in rows, of a quaternion given in long double, rounded once.
inline Matrix3x3 matrixOf(Real w, const Vec& v) {
  const Real n = w * w + v.x * v.x + v.y * v.y + v.z * v.z, q[3] = {v.x, v.y, v.z};
  Matrix3x3 m;
  for (int i = 0; i < 3; ++i) {
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    m.m[i][i] = static_cast<double>((w * w + q[i] * q[i] - q[j] * q[j] - q[k] * q[k]) / n);
    m.m[i][j] = static_cast<double>(2 * (q[i] * q[j] + w * q[k]) / n);
    m.m[j][i] = static_cast<double>(2 * (q[i] * q[j] - w * q[k]) / n);
  }
  return m;
}

/// Checks that q is the rotation of (w, v), in every component and in the direction of the axis.
inline ::testing::AssertionResult isRotation(const Quat& q, Real w, const Vec& v) {
  const Real n = std::sqrt(w * w + v.x * v.x + v.y * v.y + v.z * v.z);
  const Vec got(q.x, q.y, q.z);
  const Real sign = w * q.w + v.x * q.x + v.y * q.y + v.z * q.z < 0 ? -1 : 1;
  const Real error = std::max(std::fabs(sign * q.w - w / n), length(sign * got - (Real(1) / n) * v));
  const Real axisError = length(v) == 0 ? Real(0) : length(sign * unit(got) - unit(v));
  if (error <= allowed && axisError <= allowed) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "error " << error << ", of the axis " << axisError;
}

inline bool finite(const Quat& q) {
  return std::isfinite(q.w) && std::isfinite(q.x) && std::isfinite(q.y) && std::isfinite(q.z);
}

}  // namespace reference
