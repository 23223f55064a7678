#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathQuat.h>
#include <Imath/ImathVec.h>

#include <Eigen/Dense>
#include <glm/glm.hpp>
#include <glm/gtc/quaternion.hpp>
#include <random>
#include <vector>

#include "limber/geometry/Matrix.h"
#include "limber/geometry/Quat.h"

/// Every benchmark here works on arrays of this many elements, with the same numbers for each library.
constexpr int count = 1000;

using EigenQuat = Eigen::Quaterniond;
using Eigen3 = Eigen::Matrix3d;
using EigenRow3 = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;
using EigenRow4 = Eigen::Matrix<double, 4, 4, Eigen::RowMajor>;

inline std::vector<double> randomNumbers(int n, unsigned seed) {
  std::mt19937_64 generator(seed);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  std::vector<double> numbers(static_cast<std::size_t>(n));
  for (double& x : numbers) x = uniform(generator);
  return numbers;
}

inline std::vector<Quat> randomQuats(unsigned seed) {
  const std::vector<double> a = randomNumbers(4 * count, seed);
  std::vector<Quat> q(count);
  for (std::size_t i = 0; i < q.size(); ++i) q[i].Set(a[4 * i], a[4 * i + 1], a[4 * i + 2], a[4 * i + 3]);
  return q;
}

inline std::vector<Pnt3> randomPoints(unsigned seed) {
  const std::vector<double> a = randomNumbers(3 * count, seed);
  std::vector<Pnt3> p;
  for (int i = 0; i < count; ++i) p.emplace_back(&a[static_cast<std::size_t>(3 * i)]);
  return p;
}

inline std::vector<Matrix4x4> random4x4(unsigned seed) {
  const std::vector<double> a = randomNumbers(16 * count, seed);
  std::vector<Matrix4x4> m(count);
  for (std::size_t i = 0; i < 16 * m.size(); ++i) m[i / 16].m[i / 4 % 4][i % 4] = a[i];
  return m;
}

inline std::vector<Matrix3x3> random3x3(unsigned seed) {
  const std::vector<double> a = randomNumbers(9 * count, seed);
  std::vector<Matrix3x3> m(count);
  for (std::size_t i = 0; i < 9 * m.size(); ++i) m[i / 9].m[i / 3 % 3][i % 3] = a[i];
  return m;
}

inline std::vector<double> randomTimes(unsigned seed) {
  std::vector<double> t = randomNumbers(count, seed);
  for (double& x : t) x = 0.5 * (x + 1.0);
  return t;
}

/// The same values in the peers' types. GLM stores columns. Imath's matrices act on row vectors, as Limber's
/// do.

inline EigenQuat toEigen(const Quat& q) { return EigenQuat(q.w, q.x, q.y, q.z); }
inline glm::dquat toGlm(const Quat& q) { return glm::dquat(q.w, q.x, q.y, q.z); }
inline Imath::Quatd toImath(const Quat& q) { return Imath::Quatd(q.w, q.x, q.y, q.z); }
inline Eigen::Vector3d toEigen(const Pnt3& p) { return Eigen::Vector3d(p.x, p.y, p.z); }
inline glm::dvec3 toGlm(const Pnt3& p) { return glm::dvec3(p.x, p.y, p.z); }
inline Imath::V3d toImath(const Pnt3& p) { return Imath::V3d(p.x, p.y, p.z); }

inline EigenRow3 toEigen(const Matrix3x3& a) { return Eigen::Map<const EigenRow3>(&a.m[0][0]); }
inline glm::dmat3 toGlm(const Matrix3x3& a) {
  glm::dmat3 b;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) b[i][j] = a.m[i][j];
  return b;
}
inline Imath::M33d toImath(const Matrix3x3& a) { return Imath::M33d(a.m); }
inline EigenRow4 toEigen(const Matrix4x4& a) { return Eigen::Map<const EigenRow4>(&a.m[0][0]); }
inline glm::dmat4 toGlm(const Matrix4x4& a) {
  glm::dmat4 b;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) b[i][j] = a.m[i][j];
  return b;
}
inline Imath::M44d toImath(const Matrix4x4& a) { return Imath::M44d(a.m); }

template <class T>
auto allToEigen(const std::vector<T>& v) {
  std::vector<decltype(toEigen(v[0])), Eigen::aligned_allocator<decltype(toEigen(v[0]))>> out;
  for (const T& x : v) out.push_back(toEigen(x));
  return out;
}
template <class T>
auto allToGlm(const std::vector<T>& v) {
  std::vector<decltype(toGlm(v[0]))> out;
  for (const T& x : v) out.push_back(toGlm(x));
  return out;
}
template <class T>
auto allToImath(const std::vector<T>& v) {
  std::vector<decltype(toImath(v[0]))> out;
  for (const T& x : v) out.push_back(toImath(x));
  return out;
}
