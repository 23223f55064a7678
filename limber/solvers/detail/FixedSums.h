#pragma once

/// @file
/// Sums over vectors in a fixed order, with four partial sums.

#include <cmath>
#include <cstring>

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

/// Two elements in one vector register, if the machine has such registers.
typedef double TwoLanes __attribute__((vector_size(16)));

inline TwoLanes twoAt(const double* p) {
  TwoLanes two;
  std::memcpy(&two, p, sizeof two);
  return two;
}

struct TwoSums {
  double first, second;
};

/// Two sums in the order of fixedSum. first(at) and second(at) are their terms, where at(p) is p[i], or
/// several elements at once.
template <class First, class Second>
inline TwoSums fixedSums(int n, First first, Second second) {
  TwoLanes p01 = {0.0, 0.0}, p23 = p01, q01 = p01, q23 = p01;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const auto low = [i](const double* p) { return twoAt(p + i); };
    const auto high = [i](const double* p) { return twoAt(p + i + 2); };
    p01 += first(low);
    p23 += first(high);
    q01 += second(low);
    q23 += second(high);
  }
  double p[4] = {p01[0], p01[1], p23[0], p23[1]}, q[4] = {q01[0], q01[1], q23[0], q23[1]};
  for (int k = 0; i < n; ++i, ++k) {
    const auto one = [i](const double* x) { return x[i]; };
    p[k] += first(one);
    q[k] += second(one);
  }
  return {(p[0] + p[1]) + (p[2] + p[3]), (q[0] + q[1]) + (q[2] + q[3])};
}

inline double fixedDot(int n, const double* a, const double* b) {
  TwoLanes p01 = {0.0, 0.0}, p23 = p01;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    p01 += twoAt(a + i) * twoAt(b + i);
    p23 += twoAt(a + i + 2) * twoAt(b + i + 2);
  }
  double p[4] = {p01[0], p01[1], p23[0], p23[1]};
  for (int k = 0; i < n; ++i, ++k) p[k] += a[i] * b[i];
  return (p[0] + p[1]) + (p[2] + p[3]);
}

inline double fixedNorm(int n, const double* a) { return std::sqrt(fixedDot(n, a, a)); }

}  // namespace limber::detail
