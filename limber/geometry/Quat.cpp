#include "limber/geometry/Quat.h"

#include <cstring>

#include "limber/foundation/Output.h"

// Degenerate input:
//   Normalize, product     zero quaternion           the identity, silently
//   Rotate, RotateInv      zero quaternion           (0, 0, 0)
//                          infinite or NaN component of either: all NaN
//                          squared norm out of range infinities or NaN; below it, digits are lost
//   Log                    x = y = z = 0             (0, 0, 0), also for w = -1
//                          |w| > 1                   NaN
//   Slerp                  |a . b| >= 1              linear weights; the way from a to -a leads through 0
//                          a . b a NaN               the weights of the angle pi: NaN only from NaN inputs
//   Euler                  another letter            a message; the sign of cos(angle / 2) stays in w
//                          an empty order            the identity
//                          a null order              the warning of RotHelper::Convert, no change
//   getEulerZXY            2 (xw + zy) beyond +-1    NaN for X, as asin gives it
//                          X = +-90 degrees          Y and Z from atan2 of rounding errors
//   FromAxisAngle          zero axis                 "Normalizing Zero Point!", the axis (0, 1, 0)
//                          angle beyond 1e6          reduced by fmod first
//                          infinite or NaN angle     all four components NaN
//   FromAxisCosAngle       cosine above 1            NaN in x, y, z; w above 1
//                          cosine below -1           all four components NaN
//   FromVectors (two)      a zero vector             "Normalizing Zero Point!", direction (0, 1, 0)
//                          opposite directions       decided by the rounding of 1 + cos:
//                                                    0: w = 0 and x, y, z infinite or NaN
//                                                    below 0: all NaN
//                                                    above 0: all finite, w near 1e-8, far from unit
//   FromVectors (four)     from1 opposite to to1     as for two vectors, and then multiplied
//                          a half turn               the same, because the normals are opposite after the
//                                                    first turn: 95 % of random half turns are not finite,
//                                                    the others are finite and wrong
//                          from2 along from1         "Normalizing Zero Point!", the normal (0, 1, 0)

namespace {

constexpr double pi = 3.141592653589793;
constexpr double twoPi = 6.283185307179586;

// Normalizes q's axis and scales it to sqrt(1 - w^2), which is the sine of half the angle.
void turnAbout(const Pnt3& axis, double w, Quat* q) {
  Pnt3 a = axis;
  a.normalize();
  const double s = std::sqrt(1.0 - w * w);
  *q = Quat(w, a.x * s, a.y * s, a.z * s);
}

}  // namespace

Quat::Quat(const char* order, const double* angles) : Quat() { Euler(order, angles); }

Quat Quat::Div(const Quat& q) const {
  Quat inverse(q);
  inverse.Normalize();
  inverse.Invert();
  return *this * inverse;
}

Pnt3 Quat::Log() const {
  const Pnt3 v(x, y, z);
  const double n = v.length();
  if (n == 0.0) return Pnt3();
  return v * (2.0 * std::acos(w) / n);
}

double Quat::Angle(Quat q) const {
  q.Invert();
  return (q * *this).Log().length();
}

void Quat::Euler(const char* order, double* angles) {
  if (!order) {
    stdoutPrintf("WARNING: Invalid rotation format (null)\n");
    return;
  }
  Identity();
  for (int i = static_cast<int>(std::strlen(order)) - 1; i >= 0; --i) {
    const double h = angles[i] * 0.5;
    Quat f(std::cos(h), 0.0, 0.0, 0.0);
    double* const part = order[i] == 'X' ? &f.x : order[i] == 'Y' ? &f.y : order[i] == 'Z' ? &f.z : nullptr;
    if (part) {
      *part = std::sin(h);
    } else {
      stdoutPrintf("unsupported euler channel type in conversion to quaternions\n");
    }
    *this = *this * f;
  }
}

void Quat::getEulerZXY(double* out) const {
  // Contract: 180 / pi in single precision, a few units in the last place off, not the nearest double.
  constexpr double degrees = 57.29579162597656;
  out[0] = std::asin(2.0 * (x * w + z * y)) * degrees;
  out[1] = std::atan2(-(2.0 * x * z - 2.0 * w * y), 1.0 - 2.0 * x * x - 2.0 * y * y) * degrees;
  out[2] = std::atan2(-(2.0 * x * y - 2.0 * w * z), 1.0 - 2.0 * x * x - 2.0 * z * z) * degrees;
}

void Quat::FromAxisAngle(const Pnt3* axis, double angle) {
  // The loops below would never end for an infinite angle, and take very long for a huge one.
  if (!(std::fabs(angle) <= 1e6)) angle = std::fmod(angle, twoPi);
  // Contract: the loop ends below pi, so -pi becomes pi, and each smaller angle goes up one turn and down
  // again.
  while (angle < pi) angle += twoPi;
  while (angle > pi) angle -= twoPi;
  Pnt3 a = *axis;
  if (angle < 0.0) {
    a *= -1.0;
    angle = -angle;
  }
  turnAbout(a, std::cos(angle * 0.5), this);
}

void Quat::FromAxisCosAngle(const Pnt3* axis, double cosAngle) {
  turnAbout(*axis, std::sqrt((cosAngle + 1.0) * 0.5), this);
}

void Quat::FromVectors(const Pnt3* from, const Pnt3* to) {
  Pnt3 a = *from, b = *to;
  a.normalize();
  b.normalize();
  const double s = std::sqrt(2.0 * (1.0 + (a.x * b.x + a.y * b.y + a.z * b.z)));
  const Pnt3 v = (a * b) * (1.0 / s);
  *this = Quat(s * 0.5, v.x, v.y, v.z);
}

void Quat::FromVectors(const Pnt3* from1, const Pnt3* from2, const Pnt3* to1, const Pnt3* to2) {
  Quat q1, q2;
  q1.FromVectors(from1, to1);
  const Pnt3 turned = q1.Rotate(*from2 * *from1), wanted = *to2 * *to1;
  q2.FromVectors(&turned, &wanted);
  *this = q1 * q2;
}
