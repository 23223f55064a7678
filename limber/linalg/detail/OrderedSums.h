#pragma once

/// @file
/// Dense sums in a fixed order: each starts from 0.0 and adds its terms one by one in ascending order, so
/// that its bits are the same everywhere.

namespace limber::detail {

/// The sum of a[i] b[i].
inline double orderedDot(int n, const double* a, const double* b) {
  double sum = 0.0;
  for (int i = 0; i < n; ++i) sum += a[i] * b[i];
  return sum;
}

/// One step of conjugate gradients: x[i] += alpha p[i], r[i] -= alpha q[i]; returns the sum of the new
/// r[i]^2.
inline double stepMagSq(int n, double alpha, const double* p, const double* q, double* x, double* r) {
  double sum = 0.0;
  for (int i = 0; i < n; ++i) {
    x[i] = alpha * p[i] + x[i];
    const double ri = -alpha * q[i] + r[i];
    r[i] = ri;
    sum += ri * ri;
  }
  return sum;
}

}  // namespace limber::detail
