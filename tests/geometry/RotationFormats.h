#pragma once

#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "limber/geometry/EulerZXY.h"
#include "limber/geometry/Matrix.h"
#include "limber/geometry/Quat.h"
#include "limber/geometry/Rotation.h"
#include "tests/geometry/RandomGeometry.h"

/// The ten formats, and rotation matrices computed only from the three single-axis matrices.
namespace formats {

constexpr double pi = 3.141592653589793;

struct Format {
  const char* name;
  RotHelper* rot;
  int params;
};

inline std::vector<Format> angleFormats() {
  return {{"X", xRot, 1},   {"Y", yRot, 1},   {"Z", zRot, 1},     {"ZX", zxRot, 2},
          {"ZY", zyRot, 2}, {"XY", xyRot, 2}, {"XYZ", xyzRot, 3}, {"ZXY", zxyRot, 3}};
}

inline std::vector<Format> namedFormats() {
  std::vector<Format> all = angleFormats();
  all.insert(all.begin(), {"QRST", qRot, 4});
  return all;
}

/// The matrix of makeRot.
inline Matrix4x4 rotation(double x, double y, double z) {
  Matrix4x4 m;
  makeRot(x, y, z, &m);
  return m;
}

inline Matrix3x3 singleAxis(char axis, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  const double tables[3][9] = {
      {1, 0, 0, 0, c, s, 0, -s, c}, {c, 0, -s, 0, 1, 0, s, 0, c}, {c, s, 0, -s, c, 0, 0, 0, 1}};
  Matrix3x3 m;
  std::memcpy(m.m, tables[axis - 'X'], sizeof m.m);
  return m;
}

inline Matrix3x3 product(const Matrix3x3& a, const Matrix3x3& b) {
  Matrix3x3 c;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      c.m[i][j] = 0.0;
      for (int k = 0; k < 3; ++k) c.m[i][j] += a.m[i][k] * b.m[k][j];
    }
  return c;
}

/// The rows are the images of the basis vectors under Quat::Rotate of the normalized quaternion.
inline Matrix3x3 rotationOf(Quat q) {
  q.Normalize();
  Matrix3x3 m;
  for (int i = 0; i < 3; ++i) q.Rotate(Pnt3(i == 0, i == 1, i == 2)).toArray(m.m[i]);
  return m;
}

/// The rotation of a format's parameters: single-axis matrices in reverse letter order, first letter
/// rightmost.
inline Matrix3x3 expected(const std::string& name, const double* params) {
  if (name == "QRST") return rotationOf(Quat(params[0], params[1], params[2], params[3]));
  Matrix3x3 m = singleAxis(name[0], params[0]);
  for (std::size_t k = 1; k < name.size(); ++k) m = product(singleAxis(name[k], params[k]), m);
  return m;
}

inline Matrix3x3 matrixOf(const RotHelper* rot, const double* params) {
  double copy[4];
  std::memcpy(copy, params, std::strlen(rot->name()) * sizeof(double));
  Matrix3x3 m;
  rot->toMatrix(copy, &m);
  return m;
}

/// Angles that are hard for formulas: zero, tiny, right angles, near half turns and exact half turns.
inline std::vector<double> criticalAngles() {
  return {0.0, 1e-8, -1e-8, pi / 2, -pi / 2, pi - 1e-6, 1e-6 - pi, pi, -pi};
}

/// Parameters of a format: every combination of critical angles, then random ones. For quaternions the
/// critical angles are turns about the axes and about an oblique axis, with the norms 1, 0.5 and 2.
inline std::vector<std::array<double, 4>> poses(const Format& format, int random = 200) {
  std::vector<std::array<double, 4>> all;
  RandomGeometry dice(4711);
  const std::vector<double> angles = criticalAngles();
  if (format.params == 4) {
    const Pnt3 axes[] = {Pnt3(1, 0, 0), Pnt3(0, 1, 0), Pnt3(0, 0, 1), Pnt3(0.6, 0, 0.8),
                         Pnt3(2.0 / 3, 1.0 / 3, -2.0 / 3)};
    for (const double angle : angles)
      for (const Pnt3& axis : axes)
        for (const double norm : {1.0, 0.5, 2.0}) {
          const double c = norm * std::cos(angle / 2), s = norm * std::sin(angle / 2);
          all.push_back({c, s * axis.x, s * axis.y, s * axis.z});
        }
    for (int i = 0; i < random; ++i) {
      const Quat q = dice.quat();
      const double norm = 1.0 + 0.5 * dice.number();
      all.push_back({norm * q.w, norm * q.x, norm * q.y, norm * q.z});
    }
    return all;
  }
  std::size_t combinations = 1;
  for (int k = 0; k < format.params; ++k) combinations *= angles.size();
  for (std::size_t n = 0; n < combinations; ++n) {
    std::array<double, 4> p{};
    std::size_t rest = n;
    for (int k = 0; k < format.params; ++k, rest /= angles.size())
      p[static_cast<std::size_t>(k)] = angles[rest % angles.size()];
    all.push_back(p);
  }
  for (int i = 0; i < random; ++i)
    all.push_back({pi * dice.number(), pi * dice.number(), pi * dice.number(), 0.0});
  return all;
}

}  // namespace formats
