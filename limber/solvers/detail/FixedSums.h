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

/// The sums of a_i b_i and of c_i d_i e_i, in the order of fixedSum.
struct TwoSums {
  double first, second;
};
inline TwoSums fixedDots(int n, const double* a, const double* b, const double* c, const double* d,
                         const double* e) {
  TwoLanes p01 = {0.0, 0.0}, p23 = p01, q01 = p01, q23 = p01;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    p01 += twoAt(a + i) * twoAt(b + i);
    p23 += twoAt(a + i + 2) * twoAt(b + i + 2);
    q01 += twoAt(c + i) * twoAt(d + i) * twoAt(e + i);
    q23 += twoAt(c + i + 2) * twoAt(d + i + 2) * twoAt(e + i + 2);
  }
  double p[4] = {p01[0], p01[1], p23[0], p23[1]}, q[4] = {q01[0], q01[1], q23[0], q23[1]};
  for (int k = 0; i < n; ++i, ++k) {
    p[k] += a[i] * b[i];
    q[k] += c[i] * d[i] * e[i];
  }
  return {(p[0] + p[1]) + (p[2] + p[3]), (q[0] + q[1]) + (q[2] + q[3])};
}

/// The sums of a_i b_i and of a_i c_i, in the order of fixedSum.
inline TwoSums fixedDots(int n, const double* a, const double* b, const double* c) {
  TwoLanes p01 = {0.0, 0.0}, p23 = p01, q01 = p01, q23 = p01;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    p01 += twoAt(a + i) * twoAt(b + i);
    p23 += twoAt(a + i + 2) * twoAt(b + i + 2);
    q01 += twoAt(a + i) * twoAt(c + i);
    q23 += twoAt(a + i + 2) * twoAt(c + i + 2);
  }
  double p[4] = {p01[0], p01[1], p23[0], p23[1]}, q[4] = {q01[0], q01[1], q23[0], q23[1]};
  for (int k = 0; i < n; ++i, ++k) {
    p[k] += a[i] * b[i];
    q[k] += a[i] * c[i];
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
