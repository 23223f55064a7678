#pragma once

/// @file
/// Quaternions as rotations. The product a * b means a first, then b: the Hamilton product b a, normalized.

#include "limber/Api.h"
#include "limber/geometry/Pnt3.h"

class Matrix3x3;

/// w + xi + yj + zk, plain memory, the scalar first in every array form. The default is the identity (1, 0,
/// 0, 0). Angles are in radians, except in getEulerZXY. Rotations are meant to be unit quaternions; a
/// function that accepts other lengths says so.
class LIMBER_API Quat {
 public:
  double w, x, y, z;

  LIMBER_INLINE Quat() : w(1.0), x(0.0), y(0.0), z(0.0) {}
  /// The four values, not normalized.
  LIMBER_INLINE Quat(double w0, double x0, double y0, double z0) : w(w0), x(x0), y(y0), z(z0) {}
  /// The rotation Euler(order, angles).
  Quat(const char* order, const double* angles);
  LIMBER_INLINE Quat(const Quat& q);
  LIMBER_INLINE Quat& operator=(const Quat& q);

  LIMBER_INLINE void Identity() { w = 1.0, x = y = z = 0.0; }
  /// The four values, normalized.
  LIMBER_INLINE void Set(double w0, double x0, double y0, double z0) {
    w = w0, x = x0, y = y0, z = z0;
    Normalize();
  }
  LIMBER_INLINE void Get(double& w0, double& x0, double& y0, double& z0) const {
    w0 = w, x0 = x, y0 = y, z0 = z;
  }
  /// Copies four doubles w, x, y, z out, or in (not normalized; the array may be const).
  LIMBER_INLINE void Get(double* a) const { a[0] = w, a[1] = x, a[2] = y, a[3] = z; }
  LIMBER_INLINE void fromArray(double* const a) { fromArray(static_cast<const double*>(a)); }
  LIMBER_INLINE void fromArray(const double* a) { w = a[0], x = a[1], y = a[2], z = a[3]; }

  /// The conjugate, which is the inverse of a unit quaternion.
  LIMBER_INLINE void Invert() { x = -x, y = -y, z = -z; }
  /// Multiplies by 1 / |this|; the zero quaternion becomes the identity, silently.
  LIMBER_INLINE void Normalize();
  /// this * q^-1, with a normalized copy of q conjugated.
  Quat Div(const Quat& q) const;

  /// q (0, p) q*, with the conjugate q*: p rotated. If this is not a unit quaternion, the result is also
  /// scaled by the squared norm.
  LIMBER_INLINE Pnt3 Rotate(const Pnt3& p) const;
  /// q* (0, p) q: p rotated back, and scaled alike.
  LIMBER_INLINE Pnt3 RotateInv(const Pnt3& p) const;

  /// The rotation vector, angle times unit axis, of a length in [0, 2 pi]: the angle 2 acos(w) is not
  /// clamped, and it may be the longer way. (0, 0, 0) if x, y and z are zero, and for every angle below 2e-8,
  /// for which w rounds to 1. Above that, the error of a small angle is up to 4e-16 / angle. RotationVector
  /// is accurate for every angle.
  Pnt3 Log() const;
  /// The angle of the relative rotation q^-1 * this, in [0, 2 pi]. It is computed by acos(w), so near 0 its
  /// error is about 1e-8.
  double Angle(Quat q) const;

  /// this = the spherical interpolation from a (t = 0) to b (t = 1), the short way (Shoemake 1985; if a . b <
  /// 0 the weight of a is negated). Not normalized. Contract: if |a . b| >= 1 the weights are 1 - t and t
  /// without a sign correction, so half way from a to -a is (0, 0, 0, 0).
  LIMBER_INLINE void Slerp(const Quat& a, const Quat& b, double t);

  /// this = the rotation with one angle for each letter 'X', 'Y', 'Z' of `order`; the last letter's rotation
  /// acts first. Euler("ZXY", {z, x, y}) is the Hamilton product qZ qX qY. Another letter prints a message on
  /// the standard-output channel and adds no rotation. The angles are only read. A null order prints what
  /// RotHelper::Convert prints for a null name, and changes nothing.
  void Euler(const char* order, double* angles);
  /// The same with const angles. It is a template, so that a null pointer, as used with an empty order,
  /// selects the member above.
  template <class Angle>
  void Euler(const char* order, const Angle* angles) {
    Euler(order, const_cast<double*>(angles));  // angles of another type do not compile
  }
  /// out = the X, Y and Z angles, in degrees, of Euler("ZXY", {z, x, y}) (which takes radians, and Z first).
  /// Contract: the factor from radians to degrees is too large by a relative 2e-7.
  void getEulerZXY(double* out) const;

  /// this = the rotation by `angle`, wrapped into (-pi, pi], about the axis, which need not have length 1; a
  /// zero axis reports "Normalizing Zero Point!" and counts as (0, 1, 0). An angle that is not finite gives
  /// NaN. The sine of half the angle is sqrt(1 - w^2), so an angle below 2e-8 gives the identity,
  /// and the error of a small one is up to 4e-16 / angle. FromRotationVector is accurate for every angle.
  void FromAxisAngle(const Pnt3* axis, double angle);
  /// The same with the cosine of an angle in [0, pi]; a cosine outside [-1, 1] gives NaN.
  void FromAxisCosAngle(const Pnt3* axis, double cosAngle);
  /// this = the shortest turn of the direction `from` to the direction `to`, by (1 + cos, sin axis). Opposite
  /// directions give no rotation: the result is not finite for 69 % of random vectors and 99 % of unit
  /// vectors, otherwise a quaternion near zero. Nearly opposite directions lose digits. FromDirections has
  /// none of these errors.
  void FromVectors(const Pnt3* from, const Pnt3* to);
  /// this = the turn of from1 to to1 that takes the plane of (from1, from2) to that of (to1, to2). Every half
  /// turn gives the second step opposite normals, so its result is wrong: for half turns about random axes 95
  /// % are not finite and the others are off by 0.3 to 2 in the matrix. Near a half turn the error grows with
  /// 1 / w, to 1e-9 at w = 1e-7, and below w = 1e-9 most results are not finite. FromRotation has none of
  /// these errors.
  void FromVectors(const Pnt3* from1, const Pnt3* from2, const Pnt3* to1, const Pnt3* to2);

  // Unlike the functions above, these are accurate for every input. Their results are unit quaternions with
  // an error of a few units of rounding in each component.

  /// this = the rotation of the matrix's rows, with w >= 0. `in` must be a rotation up to rounding. Half
  /// turns work like any other rotation. All three rows are used (Shepperd 1978: the largest component
  /// first).
  void FromRotation(const Matrix3x3* in);
  /// this = the shortest turn of the direction `from` to the direction `to`, with w >= 0. The axis is as
  /// accurate for nearly parallel and nearly opposite directions as elsewhere, because the cross product is
  /// computed without cancellation. For opposite directions it is the half turn about some axis across
  /// `from`. A zero vector reports "Normalizing Zero Point!" and counts as (0, 1, 0).
  void FromDirections(const Pnt3* from, const Pnt3* to);
  /// this = the rotation by the angle |v|, in radians, about v; (0, 0, 0) gives the identity.
  void FromRotationVector(const Pnt3* v);
  /// The rotation vector of the shorter way, of a length in [0, pi]: the inverse of FromRotationVector. The
  /// quaternion may have any length; q and -q give the same vector, except that a half turn may get the
  /// opposite sign.
  Pnt3 RotationVector() const;

  /// a, then b: the Hamilton product b a, normalized.
  friend LIMBER_INLINE_API Quat operator*(const Quat& a, const Quat& b);

 private:
  inline void copy(const Quat& q);
  /// 1 / sqrt(n2), both rounded.
  inline static double reciprocalRoot(double n2);
  /// out = the Hamilton product b a, not normalized. out may be a or b.
  LIMBER_INLINE static void Compose(const Quat& a, const Quat& b, Quat& out);
};

#include "limber/geometry/Quat.inl"
