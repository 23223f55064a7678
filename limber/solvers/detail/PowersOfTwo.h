#pragma once

/// @file
/// Scaling by powers of two, which is exact.

#include <cmath>
#include <cstdint>
#include <cstring>

namespace limber::detail {

/// 2^k for |k| <= 1022, composed from the bits.
inline double powerOfTwo(int k) {
  const std::uint64_t bits = static_cast<std::uint64_t>(k + 1023) << 52;
  double value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}

/// x 2^k for |k| <= 3000; exact if the result is a normal number.
inline double timesPowerOfTwo(double x, int k) {
  while (k > 1000) {
    x *= powerOfTwo(1000);
    k -= 1000;
  }
  while (k < -1000) {
    x *= powerOfTwo(-1000);
    k += 1000;
  }
  return x * powerOfTwo(k);
}

/// The k with 2^(k - 1) <= |x| < 2^k; 0 for 0.
inline int exponentOf(double x) {
  int k = 0;
  std::frexp(x, &k);
  return x == 0.0 ? 0 : k;
}

/// The exponent of the largest of n magnitudes; 0 if all are 0.
inline int largestExponent(int n, const double* x) {
  double largest = 0.0;
  for (int i = 0; i < n; ++i) largest = std::fabs(x[i]) > largest ? std::fabs(x[i]) : largest;
  return exponentOf(largest);
}

/// True if n numbers are finite. *exponent becomes that of the largest magnitude.
inline bool finiteExponent(int n, const double* x, int* exponent) {
  double largest = 0.0, rest = 0.0;
  for (int i = 0; i < n; ++i) {
    // a NaN or an infinity times zero is a NaN, which stays
    rest += 0.0 * x[i];
    largest = std::fabs(x[i]) > largest ? std::fabs(x[i]) : largest;
  }
  *exponent = exponentOf(largest);
  return rest == 0.0;
}

/// x = x 2^k.
inline void scaleByPowerOfTwo(int n, double* x, int k) {
  if (k == 0) return;
  if (k >= -1000 && k <= 1000) {
    const double factor = powerOfTwo(k);
    for (int i = 0; i < n; ++i) x[i] *= factor;
    return;
  }
  for (int i = 0; i < n; ++i) x[i] = timesPowerOfTwo(x[i], k);
}

}  // namespace limber::detail
