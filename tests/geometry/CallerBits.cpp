// Prints a number for each inline function of the geometry headers, computed from all bits of many results. A
// caller's program must print the same numbers as one with the library's flags, whatever its optimisations.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>

#include "limber/geometry/Matrix.h"
#include "limber/geometry/Quat.h"
#include "limber/geometry/QuatTransform.h"

namespace {

std::mt19937_64 generator(7);
double number() { return static_cast<double>(static_cast<std::int64_t>(generator())) * 0x1p-62; }
Quat quat() {
  const double w = number(), x = number(), y = number(), z = number();
  return Quat(w, x, y, z);
}
Pnt3 point() {
  const double x = number(), y = number(), z = number();
  return Pnt3(x, y, z);
}
template <class M>
M matrix() {
  M m;
  for (auto& row : m.m)
    for (double& x : row) x = number();
  return m;
}

// Calls `compute`, which returns a plain object of doubles, many times.
template <class Compute>
void print(const char* name, Compute compute) {
  std::uint64_t all = 0;
  for (int i = 0; i < 2000; ++i) {
    const auto result = compute();
    std::uint64_t bits[sizeof result / 8];
    std::memcpy(bits, &result, sizeof result);
    for (const std::uint64_t b : bits) all = (all ^ b) * UINT64_C(0x9E3779B97F4A7C15) + (all >> 29);
  }
  std::printf("%s %016llx\n", name, static_cast<unsigned long long>(all));
}

}  // namespace

int main() {
  print("product", [] {
    const Quat a = quat(),
               b = quat();  // two statements, because the order inside one expression is not specified
    return a * b;
  });
  print("Normalize", [] {
    Quat q = quat();
    q.Normalize();
    return q;
  });
  print("Rotate", [] {
    const Quat q = quat();
    return q.Rotate(point());
  });
  print("RotateInv", [] {
    const Quat q = quat();
    return q.RotateInv(point());
  });
  print("Slerp", [] {
    Quat a = quat(), b = quat(), q;
    a.Normalize(), b.Normalize();
    q.Slerp(a, b, 0.3);
    return q;
  });
  print("transform", [] {
    const Quat q = quat();
    const Pnt3 shift = point();
    return QuatTransform(q, shift).transform(point());
  });
  print("cross", [] {
    const Pnt3 a = point(), b = point();
    return a * b;
  });
  print("lengthSq", [] { return point().lengthSq(); });
  print("multMatrix3", [] {
    const Matrix3x3 a = matrix<Matrix3x3>(), b = matrix<Matrix3x3>();
    Matrix3x3 c;
    multMatrix(&a, &b, &c);
    return c;
  });
  print("multMatrix4", [] {
    const Matrix4x4 a = matrix<Matrix4x4>(), b = matrix<Matrix4x4>();
    Matrix4x4 c;
    multMatrix(&a, &b, &c);
    return c;
  });
  print("transformMatrix3", [] {
    const Matrix3x3 m = matrix<Matrix3x3>();
    return transformMatrix(&m, point());
  });
  print("transformMatrix4", [] {
    const Matrix4x4 m = matrix<Matrix4x4>();
    return transformMatrix(&m, point());
  });
  print("preMultiply", [] {
    const Matrix4x4 m = matrix<Matrix4x4>();
    const double v[4] = {number(), number(), number(), number()};
    struct {
      double v[4];
    } out;
    preMultiply(v, &m, out.v);
    return out;
  });
  print("postMultiply", [] {
    const Matrix4x4 m = matrix<Matrix4x4>();
    const double v[4] = {number(), number(), number(), number()};
    struct {
      double v[4];
    } out;
    postMultiply(&m, v, out.v);
    return out;
  });
}
