// Rotations that are accurate for every input. The documented formulas in Quat.cpp fail at half turns and for
// tiny angles.
//
// Degenerate input:
//   FromRotation         a mirrored matrix    finite components, but no rotation fits the matrix
//                        all zeros            the identity
//   FromDirections       a zero vector        "Normalizing Zero Point!", the direction (0, 1, 0)
//                        opposite directions  a half turn about an axis across `from`
//   FromRotationVector   (0, 0, 0)            the identity
//                        a length that overflows  NaN
//   RotationVector       x = y = z = 0        (0, 0, 0), whatever w is
//                        w = 0                the angle pi about (x, y, z)
//   a NaN component, or an infinite one (RotationVector: in x, y or z): NaN in at least one component

#include <algorithm>
#include <cmath>

#include "limber/foundation/detail/DoubleSum.h"
#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/Quat.h"

namespace {

// The exponent of the largest component, 0 for a point that is zero or not finite.
int exponentOf(const Pnt3& p) {
  const double largest = std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
  return largest > 0.0 && std::isfinite(largest) ? std::ilogb(largest) : 0;
}

// 2^exponent p. Two steps, because the power itself may leave the range.
Pnt3 scaled(const Pnt3& p, int exponent) {
  const int half = exponent / 2;
  return p * std::scalbn(1.0, half) * std::scalbn(1.0, exponent - half);
}

// |p|, also where the squares leave the range of doubles.
double length(const Pnt3& p) {
  const int exponent = exponentOf(p);
  return std::scalbn(scaled(p, -exponent).length(), exponent);
}

// a b - c d with an error of about one unit in the last place, also under cancellation: the rounding error
// of each product is recovered exactly.
double differenceOfProducts(double a, double b, double c, double d) {
  const limber::detail::ExactProduct ab(a, b), cd(c, d);
  return (ab.high - cd.high) + (ab.low - cd.low);
}

// a x b, with an error of about one unit in the last place of each component.
Pnt3 cross(const Pnt3& a, const Pnt3& b) {
  return Pnt3(differenceOfProducts(a.y, b.z, b.y, a.z), differenceOfProducts(b.x, a.z, a.x, b.z),
              differenceOfProducts(b.y, a.x, a.y, b.x));
}

// A direction perpendicular to p: the cross product with the basis vector along p's smallest component.
Pnt3 across(const Pnt3& p) {
  const double x = std::fabs(p.x), y = std::fabs(p.y), z = std::fabs(p.z);
  if (x <= y && x <= z) return Pnt3(0.0, p.z, -p.y);
  return y <= z ? Pnt3(-p.z, 0.0, p.x) : Pnt3(p.y, -p.x, 0.0);
}

// The direction of p at a size whose products do not overflow or lose digits. A zero point is reported.
constexpr int workingExponent = 300;
Pnt3 direction(Pnt3 p) {
  if (p.x == 0.0 && p.y == 0.0 && p.z == 0.0) p.normalize();
  return scaled(p, workingExponent - exponentOf(p));
}

// (w, v) divided by its norm. Unlike multiplication by a reciprocal, the division maps 1 to exactly 1.
Quat unitQuat(double w, const Pnt3& v) {
  const double n = std::sqrt(w * w + v.lengthSq());
  return Quat(w / n, v.x / n, v.y / n, v.z / n);
}

}  // namespace

// The four columns below are those of 4 q q^T, written in the entries of q's matrix; each is a multiple of q.
// The column of q's largest component is used, so that nothing cancels (Shepperd 1978).
void Quat::FromRotation(const Matrix3x3* in) {
  const double(*m)[3] = in->m;
  const double trace = m[0][0] + m[1][1] + m[2][2];
  int i = m[1][1] > m[0][0] ? 1 : 0;
  if (m[2][2] > m[i][i]) i = 2;
  if (trace >= m[i][i]) {
    *this = unitQuat(1.0 + trace, Pnt3(m[1][2] - m[2][1], m[2][0] - m[0][2], m[0][1] - m[1][0]));
  } else {
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    double v[3];
    v[i] = 1.0 + m[i][i] - m[j][j] - m[k][k];
    v[j] = m[i][j] + m[j][i];
    v[k] = m[i][k] + m[k][i];
    const double w4 = m[j][k] - m[k][j];
    *this = unitQuat(std::fabs(w4), Pnt3(v) * (w4 < 0.0 ? -1.0 : 1.0));
  }
}

// With c and s the cosine and sine of the angle, the quaternion is a multiple of (1 + c, s axis) and of
// (s, (1 - c) axis); the one without cancellation is used. Both c and s axis have the common factor
// |from| |to|.
void Quat::FromDirections(const Pnt3* from, const Pnt3* to) {
  const Pnt3 a = direction(*from), b = direction(*to), normal = cross(a, b);
  const Pnt3 s = scaled(normal, -2 * workingExponent);
  const double c = std::scalbn(a.x * b.x + a.y * b.y + a.z * b.z, -2 * workingExponent);
  const double one = std::sqrt(c * c + s.lengthSq());
  if (c >= 0.0) {
    *this = unitQuat(one + c, s);
  } else {
    const double sine = length(normal);
    const Pnt3 axis = sine == 0.0 ? across(a) : normal;
    *this = unitQuat(std::scalbn(sine, -2 * workingExponent), axis * ((one - c) / length(axis)));
  }
}

void Quat::FromRotationVector(const Pnt3* v) {
  const double angle = length(*v), half = angle * 0.5;
  // sin(half) / angle. It is exactly 1/2 for small angles, where the quotient of tiny numbers would be
  // rounded.
  const double factor = half < 1e-9 ? 0.5 : std::sin(half) / angle;
  *this = Quat(std::cos(half), v->x * factor, v->y * factor, v->z * factor);
}

Pnt3 Quat::RotationVector() const {
  // Scaled to a size near 1, so that the length and the quotient stay in the range of doubles.
  const int exponent = exponentOf(Pnt3(std::max(std::fabs(w), std::fabs(x)), y, z));
  const Pnt3 v = scaled(Pnt3(x, y, z), -exponent);
  const double sine = length(v);
  if (sine == 0.0) return Pnt3();
  const double angle = 2.0 * std::atan2(sine, std::scalbn(std::fabs(w), -exponent));
  return v * ((w < 0.0 ? -angle : angle) / sine);
}
