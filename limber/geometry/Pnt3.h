#pragma once

/// @file
/// Points and directions of 3-space.

#include <cmath>

#include "limber/Api.h"

/// Three doubles with value semantics: a point, a direction, a triple of angles, a colour. Plain memory,
/// x, y, z in this order, so that it can be viewed as an array of three doubles.
class LIMBER_API Pnt3 {
 public:
  double x, y, z;

  /// (0, 0, 0).
  LIMBER_INLINE Pnt3() : x(0.0), y(0.0), z(0.0) {}
  LIMBER_INLINE Pnt3(double x0, double y0, double z0) : x(x0), y(y0), z(z0) {}
  /// Copies three elements; floats are widened.
  LIMBER_INLINE Pnt3(const double* a) : x(a[0]), y(a[1]), z(a[2]) {}
  LIMBER_INLINE Pnt3(const float* a) : x(a[0]), y(a[1]), z(a[2]) {}
  LIMBER_INLINE Pnt3(const Pnt3& b) : x(b.x), y(b.y), z(b.z) {}
  LIMBER_INLINE Pnt3& operator=(const Pnt3& b) {
    x = b.x, y = b.y, z = b.z;
    return *this;
  }

  LIMBER_INLINE void set(double x0, double y0, double z0) { x = x0, y = y0, z = z0; }
  /// The three components as an array.
  LIMBER_INLINE double* v() { return &x; }
  LIMBER_INLINE const double* v() const { return &x; }
  /// Copies three doubles in, or out.
  LIMBER_INLINE void fromArray(const double* a) { set(a[0], a[1], a[2]); }
  LIMBER_INLINE void toArray(double* a) const { a[0] = x, a[1] = y, a[2] = z; }

  LIMBER_INLINE Pnt3 operator+(const Pnt3& b) const { return Pnt3(x + b.x, y + b.y, z + b.z); }
  LIMBER_INLINE Pnt3 operator-(const Pnt3& b) const { return Pnt3(x - b.x, y - b.y, z - b.z); }
  /// The cross product this x b.
  LIMBER_INLINE Pnt3 operator*(const Pnt3& b) const {
    return Pnt3(y * b.z - b.y * z, b.x * z - x * b.z, b.y * x - y * b.x);
  }
  LIMBER_INLINE Pnt3 operator*(double s) const { return Pnt3(s * x, s * y, s * z); }

  /// Compound operations return nothing. `/=` divides each component (it does not multiply by 1/s) and does
  /// not guard against 0.
  LIMBER_INLINE void operator+=(const Pnt3& b) { x += b.x, y += b.y, z += b.z; }
  LIMBER_INLINE void operator-=(const Pnt3& b) { x -= b.x, y -= b.y, z -= b.z; }
  LIMBER_INLINE void operator*=(double s) { x *= s, y *= s, z *= s; }
  LIMBER_INLINE void operator/=(double s) { x /= s, y /= s, z /= s; }

  /// 1 if no component is less or greater than the other's. Contract: a NaN is neither, so it never counts as
  /// a difference.
  LIMBER_INLINE int operator==(const Pnt3& b) const {
    return !(x < b.x || x > b.x || y < b.y || y > b.y || z < b.z || z > b.z);
  }
  /// The exact negation of ==.
  LIMBER_INLINE int operator!=(const Pnt3& b) const { return !(*this == b); }

  LIMBER_INLINE double lengthSq() const { return x * x + y * y + z * z; }
  LIMBER_INLINE double length() const { return std::sqrt(lengthSq()); }
  /// Divides by the length. If the length is not greater than 0 (a zero point, a NaN, or components so small
  /// that their squares underflow), it reports "Normalizing Zero Point!", sets y to 1 and does not change x
  /// and z: a zero point becomes (0, 1, 0).
  void normalize();

  /// Extends a box to a point: each component becomes p's if p's is strictly greater (less).
  LIMBER_INLINE void includeMax(const Pnt3& p) {
    if (p.x > x) x = p.x;
    if (p.y > y) y = p.y;
    if (p.z > z) z = p.z;
  }
  LIMBER_INLINE void includeMin(const Pnt3& p) {
    if (p.x < x) x = p.x;
    if (p.y < y) y = p.y;
    if (p.z < z) z = p.z;
  }

  /// Writes "(", the components in the format numberPrintFormat, and ")" to the standard-output channel.
  void print() const;
};
