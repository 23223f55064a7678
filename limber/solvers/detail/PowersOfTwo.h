#pragma once

/// @file
/// Scaling by powers of two, which is exact.

#include <algorithm>
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

/// x 2^k, exact if the result is a normal number.
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

/// 2^k for |k| <= 2000, for products with many numbers: the same as timesPowerOfTwo without its branches.
class PowerOfTwo {
 public:
  explicit PowerOfTwo(int k) : PowerOfTwo(k, std::clamp(k, -1000, 1000)) {}
  double times(double x) const { return x * first_ * second_; }

 private:
  PowerOfTwo(int k, int part) : first_(powerOfTwo(part)), second_(powerOfTwo(k - part)) {}
  const double first_, second_;
};

/// The k with 2^(k - 1) <= |x| < 2^k; 0 for 0, infinities and NaN.
inline int exponentOf(double x) {
  std::uint64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  const int biased = static_cast<int>(bits >> 52 & 0x7ff);
  if (biased > 0 && biased < 0x7ff) return biased - 1022;
  int k = 0;
  std::frexp(x, &k);
  return x == 0.0 || !std::isfinite(x) ? 0 : k;
}

/// The range of n numbers: the smallest magnitude other than 0 and the largest one. If all are 0, the
/// smallest is not finite. If one of the numbers is not finite, the largest is not.
struct Magnitudes {
  double smallest, largest;
};

inline Magnitudes magnitudesOf(int n, const double* x) {
  // without the sign, the bits of greater numbers are greater integers, up to the infinities and NaNs; four
  // maxima side by side take a third of the time of one. Of the bits minus 1, zeros have the largest.
  std::uint64_t most[4] = {}, least[4] = {UINT64_MAX, UINT64_MAX, UINT64_MAX, UINT64_MAX};
  const auto include = [&](int lane, int i) {
    std::uint64_t bits;
    std::memcpy(&bits, x + i, sizeof bits);
    bits &= INT64_MAX;
    most[lane] = std::max(most[lane], bits);
    least[lane] = std::min(least[lane], bits - 1);
  };
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    for (int lane = 0; lane < 4; ++lane) include(lane, i + lane);
  }
  for (; i < n; ++i) include(0, i);
  const std::uint64_t largest = std::max(std::max(most[0], most[1]), std::max(most[2], most[3]));
  const std::uint64_t below = std::min(std::min(least[0], least[1]), std::min(least[2], least[3]));
  const std::uint64_t smallest = std::min<std::uint64_t>(below, INT64_MAX - 1) + 1;
  Magnitudes range;
  std::memcpy(&range.smallest, &smallest, sizeof smallest);
  std::memcpy(&range.largest, &largest, sizeof largest);
  return range;
}

/// The largest of n magnitudes, or 0. If one of the numbers is not finite, the result is not.
inline double largestMagnitude(int n, const double* x) { return magnitudesOf(n, x).largest; }

/// True if all numbers are finite.
inline bool allFinite(int n, const double* x) { return std::isfinite(largestMagnitude(n, x)); }

/// The exponent of the largest of n magnitudes; 0 if all are 0.
inline int largestExponent(int n, const double* x) { return exponentOf(largestMagnitude(n, x)); }

/// True if numbers of this range lose digits below the normal numbers when they are multiplied by 2^-k.
inline bool losesDigits(const Magnitudes& range, int k) {
  return std::isfinite(range.smallest) && exponentOf(range.smallest) - k < -1021;
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
