#pragma once

/// @file
/// The kernels behind the dense sums. Each sum is one chain from 0.0 in ascending order, so its bits are
/// fixed; what is independent runs side by side, because one chain alone waits for each addition.

namespace limber::detail {

/// The sum of a[i] b[i].
inline double dotChain(int n, const double* a, const double* b) {
  double sum = 0.0;
  for (int i = 0; i < n; ++i) sum += a[i] * b[i];
  return sum;
}

/// The sums of a[i] b[i] and of c[i] d[i], together in about the time of one.
inline void dotChains(int n, const double* a, const double* b, const double* c, const double* d, double& ab,
                      double& cd) {
  double sum0 = 0.0, sum1 = 0.0;
  for (int i = 0; i < n; ++i) {
    sum0 += a[i] * b[i];
    sum1 += c[i] * d[i];
  }
  ab = sum0;
  cd = sum1;
}

/// y[i] += s x[i]; returns the sum of the new y[i]^2. The additions of the sum hide the update.
inline double scaleAddMagSq(int n, double s, const double* x, double* y) {
  double sum = 0.0;
  for (int i = 0; i < n; ++i) {
    const double yi = s * x[i] + y[i];
    y[i] = yi;
    sum += yi * yi;
  }
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
