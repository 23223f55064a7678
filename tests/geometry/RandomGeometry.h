#pragma once

#include <cmath>
#include <random>

#include "limber/geometry/Matrix.h"
#include "limber/geometry/Quat.h"
#include "tests/support/Tolerance.h"

/// Seeded random elements; numbers and coordinates lie in [-1, 1).
class RandomGeometry {
 public:
  explicit RandomGeometry(unsigned seed) : generator_(seed) {}

  double number() { return uniform_(generator_); }
  Pnt3 point() {
    const double x = number(), y = number(), z = number();
    return Pnt3(x, y, z);
  }
  /// A unit quaternion, uniformly distributed over all rotations (a normalized normal deviate).
  Quat quat() {
    const double w = normal_(generator_), x = normal_(generator_), y = normal_(generator_),
                 z = normal_(generator_);
    Quat q(w, x, y, z);
    q.Normalize();
    return q;
  }
  Matrix4x4 matrix4() {
    Matrix4x4 m;
    for (auto& row : m.m)
      for (double& x : row) x = number();
    return m;
  }
  Matrix3x3 matrix3() {
    Matrix3x3 m;
    for (auto& row : m.m)
      for (double& x : row) x = number();
    return m;
  }

 private:
  std::mt19937_64 generator_;
  std::uniform_real_distribution<double> uniform_{-1.0, 1.0};
  std::normal_distribution<double> normal_;
};

/// The rotation by an angle about a coordinate axis.
inline Quat about(char axis, double angle) {
  return Quat(std::cos(angle / 2), axis == 'X' ? std::sin(angle / 2) : 0.0,
              axis == 'Y' ? std::sin(angle / 2) : 0.0, axis == 'Z' ? std::sin(angle / 2) : 0.0);
}

/// 1, 2, 3, ... row by row.
inline Matrix4x4 counting4() {
  Matrix4x4 m;
  for (int i = 0; i < 16; ++i) m.m[i / 4][i % 4] = i + 1.0;
  return m;
}
inline Matrix3x3 counting3() {
  Matrix3x3 m;
  for (int i = 0; i < 9; ++i) m.m[i / 3][i % 3] = i + 1.0;
  return m;
}

template <class M>
::testing::AssertionResult sameEntries(const M& a, const M& b) {
  return tolerance::sameBits(&a.m[0][0], &b.m[0][0], static_cast<int>(sizeof(M) / sizeof(double)));
}
template <class M>
::testing::AssertionResult closeEntries(const M& a, const M& b, double tol) {
  return tolerance::close(&a.m[0][0], &b.m[0][0], static_cast<int>(sizeof(M) / sizeof(double)), tol);
}
inline ::testing::AssertionResult closePoints(const Pnt3& a, const Pnt3& b, double tol) {
  return tolerance::close(a.v(), b.v(), 3, tol);
}
inline ::testing::AssertionResult closeQuats(const Quat& a, const Quat& b, double tol) {
  return tolerance::close(&a.w, &b.w, 4, tol);
}
inline ::testing::AssertionResult sameQuats(const Quat& a, const Quat& b) {
  return tolerance::sameBits(&a.w, &b.w, 4);
}

/// The same bits; a NaN equals any NaN.
inline ::testing::AssertionResult sameOrBothNan(const Matrix4x4& a, const Matrix4x4& b) {
  for (int i = 0; i < 16; ++i) {
    const double x = a.m[i / 4][i % 4], y = b.m[i / 4][i % 4];
    if (std::isnan(x) && std::isnan(y)) continue;
    if (!tolerance::sameBits(x, y)) return ::testing::AssertionFailure() << i << ": " << x << " and " << y;
  }
  return ::testing::AssertionSuccess();
}
