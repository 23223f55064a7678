#pragma once

/// @file
/// Quaternions as rotations. The product a * b means a first, then b: the Hamilton product b a, normalized.

#include <cmath>

#ifdef __SSE2__
#include <emmintrin.h>

#include <cstdint>
#include <cstring>
#endif

#include "limber/Api.h"
#include "limber/geometry/Pnt3.h"

class Matrix3x3;

/// w + xi + yj + zk, plain memory, the scalar first in every array form. Made as the identity (1, 0, 0, 0).
/// Angles are in radians but for getEulerZXY. Rotations are meant to be unit quaternions; where a
/// quaternion of another length is allowed, it is said.
class LIMBER_API Quat {
 public:
  double w, x, y, z;

  LIMBER_INLINE Quat() : w(1.0), x(0.0), y(0.0), z(0.0) {}
  /// The four values as they are, without normalizing.
  LIMBER_INLINE Quat(double w0, double x0, double y0, double z0) : w(w0), x(x0), y(y0), z(z0) {}
  /// The rotation Euler(order, angles).
  Quat(const char* order, const double* angles);
  LIMBER_INLINE Quat(const Quat& q) { copy(q); }
  LIMBER_INLINE Quat& operator=(const Quat& q) {
    copy(q);
    return *this;
  }

  LIMBER_INLINE void Identity() { w = 1.0, x = y = z = 0.0; }
  /// The four values, normalized.
  LIMBER_INLINE void Set(double w0, double x0, double y0, double z0) {
    w = w0, x = x0, y = y0, z = z0;
    Normalize();
  }
  LIMBER_INLINE void Get(double& w0, double& x0, double& y0, double& z0) const {
    w0 = w, x0 = x, y0 = y, z0 = z;
  }
  /// Copy four doubles w, x, y, z out, or in (without normalizing; the array may be const).
  LIMBER_INLINE void Get(double* a) const { a[0] = w, a[1] = x, a[2] = y, a[3] = z; }
  LIMBER_INLINE void fromArray(double* const a) { fromArray(static_cast<const double*>(a)); }
  LIMBER_INLINE void fromArray(const double* a) { w = a[0], x = a[1], y = a[2], z = a[3]; }

  /// The conjugate, which is the inverse of a unit quaternion.
  LIMBER_INLINE void Invert() { x = -x, y = -y, z = -z; }
  /// Multiplies by 1 / |this|; the zero quaternion becomes the identity, silently.
  LIMBER_INLINE void Normalize();
  /// this * q^-1, with a normalized copy of q conjugated.
  Quat Div(const Quat& q) const;

  /// q (0, p) q^-1: p rotated, scaled by the squared norm where this is not unit.
  LIMBER_INLINE Pnt3 Rotate(const Pnt3& p) const;
  /// q^-1 (0, p) q: p rotated back.
  LIMBER_INLINE Pnt3 RotateInv(const Pnt3& p) const;

  /// The rotation vector, angle times unit axis, of a length in [0, 2 pi]: 2 acos(w) is neither clamped nor
  /// taken the short way. (0, 0, 0) where x, y and z are zero, and for every angle below 2e-8, where w rounds
  /// to 1. RotationVector keeps small angles.
  Pnt3 Log() const;
  /// The angle of the relative rotation q^-1 * this, in [0, 2 pi]. It goes through acos(w), so near 0 it is
  /// good to about 1e-8 only.
  double Angle(Quat q) const;

  /// this = the spherical interpolation from a (t = 0) to b (t = 1), the short way (Shoemake 1985; where
  /// a . b < 0 the weight of a is negated). Not normalized. Where |a . b| >= 1 the weights are 1 - t and t,
  /// deliberately without a sign correction: half way from a to -a is (0, 0, 0, 0).
  LIMBER_INLINE void Slerp(const Quat& a, const Quat& b, double t);

  /// this = the rotation of one angle a letter 'X', 'Y', 'Z' of `order`; the last letter's acts first.
  /// Euler("ZXY", {z, x, y}) is the Hamilton product qZ qX qY. Another letter prints a message on the
  /// standard-output channel and turns nothing. The angles are only read. A null order prints what
  /// RotHelper::Convert prints for a null name, and leaves this as it was.
  void Euler(const char* order, double* angles);
  /// The same with const angles. A template, so that a null pointer, which goes with an empty order, means
  /// the member above.
  template <class Angle>
  void Euler(const char* order, const Angle* angles) {
    Euler(order, const_cast<double*>(angles));  // angles of another type do not compile
  }
  /// out = the X, Y and Z angles, in degrees, of Euler("ZXY", {z, x, y}) (which takes radians, and Z first).
  void getEulerZXY(double* out) const;

  /// this = the rotation by `angle`, wrapped into (-pi, pi], about the axis, which need not be unit; a zero
  /// axis reports "Normalizing Zero Point!" and turns about (0, 1, 0). An angle that is not finite gives NaN.
  /// The sine of half the angle is sqrt(1 - w^2), so an angle below 2e-8 gives the identity;
  /// FromRotationVector keeps small angles.
  void FromAxisAngle(const Pnt3* axis, double angle);
  /// The same with the cosine of an angle in [0, pi]; a cosine outside [-1, 1] gives NaN.
  void FromAxisCosAngle(const Pnt3* axis, double cosAngle);
  /// this = the shortest turn of the direction `from` to the direction `to`, by (1 + cos, sin axis). Opposite
  /// directions give no rotation: not finite in about 70 % of random cases, else a quaternion near zero. Next
  /// to them digits are lost. FromDirections does it right.
  void FromVectors(const Pnt3* from, const Pnt3* to);
  /// this = the turn of from1 to to1 that takes the plane of (from1, from2) to that of (to1, to2). Every half
  /// turn of the two vectors leaves opposite normals for the second step, so it comes out wrong: of half
  /// turns about random axes 95 % are not finite and the others are off by 0.3 to 2 in the matrix. Next to a
  /// half turn the error grows with 1 / w, to 1e-9 at w = 1e-7, and below w = 1e-9 most are not finite.
  /// FromRotation does it right.
  void FromVectors(const Pnt3* from1, const Pnt3* from2, const Pnt3* to1, const Pnt3* to2);

  // Beside the formulas above, these are right for every input. Their results are unit quaternions with an
  // error of a few units of rounding in each component.

  /// this = the rotation of the matrix's rows, with w >= 0. `in` is a rotation up to rounding; half turns are
  /// no exception. All three rows are used (Shepperd 1978: the largest component first).
  void FromRotation(const Matrix3x3* in);
  /// this = the shortest turn of the direction `from` to the direction `to`, with w >= 0. The axis is as
  /// accurate next to parallel and opposite directions as elsewhere, because the cross product is taken
  /// without cancellation. For opposite directions it is the half turn about some axis across `from`. A zero
  /// vector reports "Normalizing Zero Point!" and counts as (0, 1, 0).
  void FromDirections(const Pnt3* from, const Pnt3* to);
  /// this = the rotation by the angle |v|, in radians, about v; (0, 0, 0) gives the identity.
  void FromRotationVector(const Pnt3* v);
  /// The rotation vector of the shorter way, of a length in [0, pi]: the inverse of FromRotationVector. This
  /// need not be unit; q and -q give the same but for the sign of a half turn.
  Pnt3 RotationVector() const;

  /// a, then b: the Hamilton product b a, normalized.
  friend LIMBER_API LIMBER_INLINE Quat operator*(const Quat& a, const Quat& b);

 private:
#ifdef __SSE2__
  static double reciprocalRoot(__m128d n2);
#endif
  void copy(const Quat& q) {
#ifdef __SSE2__
    const __m128d wx = _mm_loadu_pd(&q.w), yz = _mm_loadu_pd(&q.y);
    _mm_storeu_pd(&w, wx);
    _mm_storeu_pd(&y, yz);
#else
    w = q.w, x = q.x, y = q.y, z = q.z;
#endif
  }
  /// out = the Hamilton product b a, not normalized. out may be a or b.
  LIMBER_INLINE static void Compose(const Quat& a, const Quat& b, Quat& out);
};

// Compose and Normalize are written for pairs of lanes, (w, x) and (y, z), where the machine has them: faster
// than what compilers make of the plain form, and nothing is left to vectorizers, some of which get the plain
// product of known numbers wrong. Both forms give the same bits. The factored product has eight
// multiplications; sums go from left to right, with -E - F as -(E + F).
#ifdef __SSE2__

// 1 / sqrt(n2), both rounded. Products of unit quaternions end some ulps from 1, where both roundings are
// known without the divider, which would take longer than all the rest. At 1 + i ulps the root is just below
// 1 + i/2 ulps, so it rounds to 1 + h with h = floor(i / 2), on both sides of 1. Below 1 the ulps are half as
// wide: 1 / (1 + h) is just above 1 - h, which is 2h of the ulps there, and 1 / (1 - h) is just above 1 +
// h/2, which rounds up. What "just" leaves out is i * i of 2^-106, nothing beside an ulp as long as i is
// small.
inline double Quat::reciprocalRoot(__m128d n2) {
  constexpr std::int64_t one = 0x3ff0000000000000, small = 1 << 20;
  const double value = _mm_cvtsd_f64(n2);
  std::int64_t bits;
  std::memcpy(&bits, &value, sizeof(bits));
  if (!(bits - one < small && bits - one > -small))
    return _mm_cvtsd_f64(_mm_div_sd(_mm_set_sd(1.0), _mm_sqrt_sd(n2, n2)));
  const std::int64_t h = (bits - one) >> 1, below = -2 * h, above = (1 - h) >> 1;
  const std::int64_t result = one + (below < above ? below : above);
  double reciprocal;
  std::memcpy(&reciprocal, &result, sizeof(reciprocal));
  return reciprocal;
}

LIMBER_INLINE void Quat::Normalize() {
  const __m128d wx = _mm_loadu_pd(&w), yz = _mm_loadu_pd(&y);
  const __m128d wx2 = _mm_mul_pd(wx, wx), yz2 = _mm_mul_pd(yz, yz);
  const __m128d n2 =
      _mm_add_sd(_mm_add_sd(_mm_add_sd(wx2, _mm_unpackhi_pd(wx2, wx2)), yz2), _mm_unpackhi_pd(yz2, yz2));
  if (_mm_cvtsd_f64(n2) <= 0.0) {  // it is never less; one comparison, false for a NaN
    Identity();
    return;
  }
  const __m128d r = _mm_set1_pd(reciprocalRoot(n2));
  _mm_storeu_pd(&w, _mm_mul_pd(wx, r));
  _mm_storeu_pd(&y, _mm_mul_pd(yz, r));
}

LIMBER_INLINE void Quat::Compose(const Quat& a, const Quat& b, Quat& out) {
  const __m128d aWX = _mm_loadu_pd(&a.w), aYZ = _mm_loadu_pd(&a.y);
  const __m128d bWX = _mm_loadu_pd(&b.w), bYZ = _mm_loadu_pd(&b.y);
  const __m128d aWZ = _mm_shuffle_pd(aWX, aYZ, 2), aXY = _mm_shuffle_pd(aWX, aYZ, 1);
  const __m128d aZY = _mm_shuffle_pd(aYZ, aYZ, 1);
  const __m128d bWY = _mm_unpacklo_pd(bWX, bYZ), bXZ = _mm_unpackhi_pd(bWX, bYZ);
  const __m128d bSum = _mm_add_pd(bWY, bXZ), bDifference = _mm_sub_pd(bWY, bXZ);
  const __m128d bOuterSum = _mm_add_pd(bWX, bYZ), bOuterDifference = _mm_sub_pd(bWX, bYZ);
  const __m128d AC = _mm_mul_pd(_mm_add_pd(aWZ, aXY), _mm_unpacklo_pd(bSum, bDifference));
  const __m128d DB = _mm_mul_pd(_mm_sub_pd(aWZ, aXY), _mm_unpackhi_pd(bSum, bDifference));
  const __m128d HE = _mm_mul_pd(_mm_add_pd(aWX, aZY), _mm_shuffle_pd(bOuterDifference, bOuterSum, 2));
  const __m128d GF = _mm_mul_pd(_mm_sub_pd(aWX, aZY), _mm_shuffle_pd(bOuterSum, bOuterDifference, 2));

  const __m128d minusPlus = _mm_set_pd(0.0, -0.0), plusMinus = _mm_set_pd(-0.0, 0.0);
  const __m128d sum = _mm_add_pd(HE, GF),
                difference = _mm_sub_pd(HE, GF);  // E + F and E - F in the upper lanes
  const __m128d G = _mm_unpacklo_pd(GF, GF), H = _mm_unpacklo_pd(HE, HE);
  const __m128d wx = _mm_add_pd(_mm_add_pd(_mm_xor_pd(_mm_unpackhi_pd(sum, sum), minusPlus), G), H);
  const __m128d yz = _mm_add_pd(_mm_add_pd(_mm_unpackhi_pd(difference, difference), _mm_xor_pd(G, plusMinus)),
                                _mm_xor_pd(H, minusPlus));
  _mm_storeu_pd(&out.w, _mm_add_pd(_mm_shuffle_pd(DB, AC, 1), _mm_mul_pd(wx, _mm_set_pd(-0.5, 0.5))));
  _mm_storeu_pd(&out.y, _mm_add_pd(_mm_shuffle_pd(AC, DB, 1), _mm_mul_pd(yz, _mm_set1_pd(0.5))));
}

#else

LIMBER_INLINE void Quat::Normalize() {
  const double n = std::sqrt(w * w + x * x + y * y + z * z);
  if (n == 0.0) {
    Identity();
    return;
  }
  const double r = 1.0 / n;
  w *= r, x *= r, y *= r, z *= r;
}

LIMBER_INLINE void Quat::Compose(const Quat& a, const Quat& b, Quat& out) {
  const double A = (a.w + a.x) * (b.w + b.x), B = (a.z - a.y) * (b.y - b.z);
  const double C = (b.w - b.x) * (a.y + a.z), D = (b.y + b.z) * (a.w - a.x);
  const double E = (a.x + a.y) * (b.x + b.z), F = (a.x - a.y) * (b.x - b.z);
  const double G = (a.w - a.z) * (b.w + b.y), H = (a.w + a.z) * (b.w - b.y);
  const double sum = E + F, difference = E - F;
  out.w = B + ((G - sum) + H) * 0.5;
  out.x = A - ((sum + G) + H) * 0.5;
  out.y = C + ((difference + G) - H) * 0.5;
  out.z = D + ((difference - G) + H) * 0.5;
}

#endif

LIMBER_API LIMBER_INLINE Quat operator*(const Quat& a, const Quat& b) {
  Quat out;
  Quat::Compose(a, b, out);
  out.Normalize();
  return out;
}

// With v the vector part, the two products q (0, p) q^-1 come to |q|^2 p + 2 v x (v x p + w p). Written out
// so, they cost less than half.
LIMBER_INLINE Pnt3 Quat::Rotate(const Pnt3& p) const {
  const double n = w * w + x * x + y * y + z * z;
  const double ux = w * p.x + (y * p.z - z * p.y);
  const double uy = w * p.y + (z * p.x - x * p.z);
  const double uz = w * p.z + (x * p.y - y * p.x);
  const double x2 = x + x, y2 = y + y, z2 = z + z;
  return Pnt3(n * p.x + (y2 * uz - z2 * uy), n * p.y + (z2 * ux - x2 * uz), n * p.z + (x2 * uy - y2 * ux));
}

LIMBER_INLINE Pnt3 Quat::RotateInv(const Pnt3& p) const { return Quat(w, -x, -y, -z).Rotate(p); }

LIMBER_INLINE void Quat::Slerp(const Quat& a, const Quat& b, double t) {
  const double d = (a.w * b.w + a.x * b.x) + (a.y * b.y + a.z * b.z);
  const double c = std::fabs(d);
  double wa = 1.0 - t, wb = t;
  // An acos below 1e-10 means c = 1: the next smaller double has an acos of 1.5e-8. Unordered takes the sine
  // branch, at the angle pi.
  if (!(c >= 1.0)) {
    const double sign =
        d < 0.0 ? -1.0 : 1.0;    // a factor and not a branch, which would go wrong half the time
    if (t != 0.0 && t != 1.0) {  // where the weights are exactly 1 and 0
      const double pi = 3.141592653589793;
      const double theta = c < 1.0 ? std::acos(c) : pi;
      const double sine = c < 1.0 ? std::sqrt((1.0 - c) * (1.0 + c)) : std::sin(pi);  // of theta
      wa = std::sin(wa * theta) / sine;
      wb = std::sin(wb * theta) / sine;
    }
    wa *= sign;
  }
  *this = Quat(wa * a.w + wb * b.w, wa * a.x + wb * b.x, wa * a.y + wb * b.y, wa * a.z + wb * b.z);
}
