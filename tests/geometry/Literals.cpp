// A test builds this at many optimisation levels and for many machines with the same library. Compilers fold
// and vectorize constant quaternions in other ways than those in arrays, and some have computed the inlined
// product of literals wrongly. Each result of literals must equal that of the same numbers read from a
// volatile.
#include <cmath>
#include <cstdio>

#include "limber/geometry/Matrix.h"
#include "limber/geometry/Quat.h"
#include "limber/geometry/QuatTransform.h"

namespace {

int failures = 0;

// Allows a few roundings of difference, because of fused multiply-adds.
bool close(double a, double b) { return std::fabs(a - b) <= 1e-14; }

void expect(const char* what, const Quat& q, double w, double x, double y, double z) {
  if (close(q.w, w) && close(q.x, x) && close(q.y, y) && close(q.z, z)) return;
  std::printf("%s: (%g, %g, %g, %g), not (%g, %g, %g, %g)\n", what, q.w, q.x, q.y, q.z, w, x, y, z);
  ++failures;
}

void expect(const char* what, const Pnt3& p, double x, double y, double z) {
  if (close(p.x, x) && close(p.y, y) && close(p.z, z)) return;
  std::printf("%s: (%g, %g, %g), not (%g, %g, %g)\n", what, p.x, p.y, p.z, x, y, z);
  ++failures;
}

Quat hidden(double w, double x, double y, double z) {
  volatile double v[4] = {w, x, y, z};
  return Quat(v[0], v[1], v[2], v[3]);
}

// The Hamilton product b a by its definition, of quaternions that are not known at compile time.
Quat product(const Quat& a, const Quat& b) {
  volatile double w = b.w * a.w - b.x * a.x - b.y * a.y - b.z * a.z;
  volatile double x = b.w * a.x + b.x * a.w + b.y * a.z - b.z * a.y;
  volatile double y = b.w * a.y - b.x * a.z + b.y * a.w + b.z * a.x;
  volatile double z = b.w * a.z + b.x * a.y - b.y * a.x + b.z * a.w;
  Quat q(w, x, y, z);
  q.Normalize();
  return q;
}

constexpr double h = 0.70710678118654757;

// Each pair is in a separate function, so that each is folded separately.
#define PAIR(aw, ax, ay, az, bw, bx, by, bz)                                                              \
  {                                                                                                       \
    const Quat expected = product(hidden(aw, ax, ay, az), hidden(bw, bx, by, bz));                        \
    expect(                                                                                               \
        "product of " #aw "," #ax "," #ay "," #az " and " #bw "," #bx "," #by "," #bz,                    \
        [] { return Quat(aw, ax, ay, az) * Quat(bw, bx, by, bz); }(), expected.w, expected.x, expected.y, \
        expected.z);                                                                                      \
    const Quat a(aw, ax, ay, az), b(bw, bx, by, bz);                                                      \
    Quat c = a * b;                                                                                       \
    expect("named product", c, expected.w, expected.x, expected.y, expected.z);                           \
    const Quat left = a * hidden(bw, bx, by, bz), right = hidden(aw, ax, ay, az) * b;                     \
    expect("literal on the left", left, expected.w, expected.x, expected.y, expected.z);                  \
    expect("literal on the right", right, expected.w, expected.x, expected.y, expected.z);                \
    const Pnt3 turned = Quat(aw, ax, ay, az).Rotate(Pnt3(1.0, 2.0, 3.0)),                                 \
               same = hidden(aw, ax, ay, az).Rotate(Pnt3(1.0, 2.0, 3.0));                                 \
    expect("literal rotation", turned, same.x, same.y, same.z);                                           \
  }

}  // namespace

int main() {
  // 90 degrees about Z, then about X.
  expect("Z then X", Quat(h, 0.0, 0.0, h) * Quat(h, h, 0.0, 0.0), 0.5, 0.5, -0.5, 0.5);
  const Quat z(h, 0.0, 0.0, h), x(h, h, 0.0, 0.0), y(h, 0.0, h, 0.0);
  const Quat zx = z * x, xz = x * z, zy = z * y, yz = y * z, xy = x * y, yx = y * x;
  expect("named Z then X", zx, 0.5, 0.5, -0.5, 0.5);
  expect("X then Z", xz, 0.5, 0.5, 0.5, 0.5);
  expect("Z then Y", zy, 0.5, 0.5, 0.5, 0.5);
  expect("Y then Z", yz, 0.5, -0.5, 0.5, 0.5);
  expect("X then Y", xy, 0.5, 0.5, 0.5, -0.5);
  expect("Y then X", yx, 0.5, 0.5, 0.5, 0.5);
  expect("Z then X of a point", (z * x).Rotate(Pnt3(1.0, 2.0, 3.0)), -2.0, -3.0, 1.0);
  expect("Z of a point", Quat(h, 0.0, 0.0, h).Rotate(Pnt3(1.0, 2.0, 3.0)), -2.0, 1.0, 3.0);
  expect("Z of a point back", Quat(h, 0.0, 0.0, h).RotateInv(Pnt3(1.0, 2.0, 3.0)), 2.0, -1.0, 3.0);

  PAIR(h, 0.0, 0.0, h, h, h, 0.0, 0.0)
  PAIR(h, h, 0.0, 0.0, h, 0.0, 0.0, h)
  PAIR(h, 0.0, h, 0.0, h, h, 0.0, 0.0)
  PAIR(h, 0.0, 0.0, h, h, 0.0, 0.0, h)
  PAIR(1.0, 0.0, 0.0, 0.0, 0.5, 0.5, 0.5, 0.5)
  PAIR(0.5, -0.5, 0.5, -0.5, 0.5, 0.5, -0.5, 0.5)
  PAIR(0.6, 0.8, 0.0, 0.0, 0.28, 0.0, 0.96, 0.0)
  PAIR(0.0, 0.0, 0.6, 0.8, 0.28, 0.96, 0.0, 0.0)
  PAIR(0.1, 0.2, 0.3, 0.4, 0.5, -0.6, 0.7, -0.8)
  PAIR(0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0)
  PAIR(0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0)
  PAIR(2.0, 3.0, 5.0, 7.0, 11.0, 13.0, 17.0, 19.0)

  QuatTransform t(Quat(h, 0.0, 0.0, h), Pnt3(1.0, 2.0, 3.0));
  expect("transform of a literal", t.transform(Pnt3(1.0, 0.0, 0.0)), 1.0, 3.0, 3.0);
  Matrix4x4 m, n, mn;
  m.m[0][1] = 2.0, m.m[3][0] = 5.0, n.m[1][0] = 3.0, n.m[3][2] = 7.0;
  multMatrix(&m, &n, &mn);
  expect("matrix of literals", transformMatrix(&mn, Pnt3(1.0, 1.0, 1.0)), 15.0, 3.0, 8.0);
  return failures != 0;
}
