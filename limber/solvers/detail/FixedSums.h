#pragma once

/// @file
/// Sums over vectors in an order that is fixed, with four partial sums side by side.

#include <cmath>

namespace limber::detail {

/// The sum of f(i) for i < n: term i goes to the partial sum i mod 4, and the four are added up in pairs.
template <class F>
inline double fixedSum(int n, F f) {
  double s0 = 0.0, s1 = 0.0, s2 = 0.0, s3 = 0.0;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    s0 += f(i);
    s1 += f(i + 1);
    s2 += f(i + 2);
    s3 += f(i + 3);
  }
  if (i < n) s0 += f(i);
  if (i + 1 < n) s1 += f(i + 1);
  if (i + 2 < n) s2 += f(i + 2);
  return (s0 + s1) + (s2 + s3);
}

/// Two sums at once: f(i, &a, &b) adds its terms to a and to b.
struct TwoSums {
  double first, second;
};
template <class F>
inline TwoSums fixedSums(int n, F f) {
  double a0 = 0.0, a1 = 0.0, a2 = 0.0, a3 = 0.0, b0 = 0.0, b1 = 0.0, b2 = 0.0, b3 = 0.0;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    f(i, &a0, &b0);
    f(i + 1, &a1, &b1);
    f(i + 2, &a2, &b2);
    f(i + 3, &a3, &b3);
  }
  if (i < n) f(i, &a0, &b0);
  if (i + 1 < n) f(i + 1, &a1, &b1);
  if (i + 2 < n) f(i + 2, &a2, &b2);
  return {(a0 + a1) + (a2 + a3), (b0 + b1) + (b2 + b3)};
}

inline double fixedDot(int n, const double* a, const double* b) {
  return fixedSum(n, [=](int i) { return a[i] * b[i]; });
}

inline double fixedNorm(int n, const double* a) { return std::sqrt(fixedDot(n, a, a)); }

}  // namespace limber::detail
