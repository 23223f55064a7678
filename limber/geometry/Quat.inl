// The bodies of Quat.h that callers inline. Only that header includes this file.
#pragma once

#include <cmath>

#ifdef __SSE2__
#include <emmintrin.h>

#include <cstdint>
#include <cstring>
#endif

// With SSE2, Compose and Normalize are written for the pairs (w, x) and (y, z). That is faster than what
// compilers make of the plain form, and it avoids vectorizers that compute the plain product of constants
// wrongly. Both forms give the same bits. The factored product has eight multiplications; sums go from left
// to right, with -E - F as -(E + F).
#ifdef __SSE2__

inline void Quat::copy(const Quat& q) {
  const __m128d wx = _mm_loadu_pd(&q.w), yz = _mm_loadu_pd(&q.y);
  _mm_storeu_pd(&w, wx);
  _mm_storeu_pd(&y, yz);
}

// The squared norms of products of unit quaternions are a few ulps from 1, where both roundings are known
// without a division. Measured, this makes chains of products, in which each product waits for the previous
// one, 21 % faster and products of arrays 10 % slower. It stays because drawing a skeleton multiplies down
// chains.
//
// At 1 + i ulps the root is just below 1 + i/2 ulps, so it rounds to 1 + h with h = floor(i / 2), on both
// sides of 1. Below 1 the ulps are half as wide: 1 / (1 + h) is just above 1 - h, which is 2h of the ulps
// there, and 1 / (1 - h) is just above 1 + h/2, which rounds up. "Just" stands for a difference of i * i
// times 2^-106, which is negligible against an ulp as long as i is below the limit.
inline double Quat::reciprocalRoot(double n2) {
  constexpr std::int64_t one = 0x3ff0000000000000, limit = 1 << 20;
  std::int64_t bits;
  std::memcpy(&bits, &n2, sizeof(bits));
  if (!(bits - one < limit && bits - one > -limit)) {
    const __m128d lane = _mm_set_sd(n2);
    return _mm_cvtsd_f64(_mm_div_sd(_mm_set_sd(1.0), _mm_sqrt_sd(lane, lane)));
  }
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
  if (_mm_cvtsd_f64(n2) <= 0.0) {  // never less than 0; one comparison, false for a NaN
    Identity();
    return;
  }
  const __m128d r = _mm_set1_pd(reciprocalRoot(_mm_cvtsd_f64(n2)));
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

inline void Quat::copy(const Quat& q) { w = q.w, x = q.x, y = q.y, z = q.z; }

inline double Quat::reciprocalRoot(double n2) { return 1.0 / std::sqrt(n2); }

LIMBER_INLINE void Quat::Normalize() {
  const double n2 = w * w + x * x + y * y + z * z;
  if (n2 == 0.0) {
    Identity();
    return;
  }
  const double r = reciprocalRoot(n2);
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

LIMBER_INLINE Quat::Quat(const Quat& q) { copy(q); }
LIMBER_INLINE Quat& Quat::operator=(const Quat& q) {
  copy(q);
  return *this;
}

LIMBER_INLINE_API Quat operator*(const Quat& a, const Quat& b) {
  Quat out;
  Quat::Compose(a, b, out);
  out.Normalize();
  return out;
}

// With the vector part v, the two products q (0, p) q^-1 equal |q|^2 p + 2 v x (v x p + w p), which takes
// less than half the time.
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
        d < 0.0 ? -1.0 : 1.0;    // a factor instead of a branch, which would be mispredicted half the time
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
