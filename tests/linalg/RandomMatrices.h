#pragma once

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "tests/support/Tolerance.h"

/// Seeded random operands for the dense routines, and the norms that scale their residuals.
namespace random_matrices {

using Engine = std::mt19937_64;

inline double normal(Engine& engine) { return std::normal_distribution<double>()(engine); }

inline void fill(Engine& engine, Vector& v) {
  for (int i = 0; i < v.size(); ++i) v[i] = normal(engine);
}

inline void fill(Engine& engine, FullMatrix& m) {
  for (int i = 0; i < m.rows(); ++i) {
    for (int j = 0; j < m.columns(); ++j) m.e(i, j) = normal(engine);
  }
}

/// Reflects the rows of m (each column then changes) at a random hyperplane, or its columns.
inline void reflect(Engine& engine, FullMatrix& m, bool left) {
  const int n = left ? m.rows() : m.columns();
  const int others = left ? m.columns() : m.rows();
  Vector v(n);
  fill(engine, v);
  const double scale = 2.0 / v.magSq();
  for (int k = 0; k < others; ++k) {
    double sum = 0.0;
    for (int i = 0; i < n; ++i) sum += v[i] * (left ? m.e(i, k) : m.e(k, i));
    for (int i = 0; i < n; ++i) (left ? m.e(i, k) : m.e(k, i)) -= scale * sum * v[i];
  }
}

/// Fills m with a matrix of the given 2-norm condition: singular values from 1 down to 1 / condition with
/// evenly spaced logarithms, multiplied by rotations from both sides.
inline void fillConditioned(Engine& engine, FullMatrix& m, double condition) {
  m.zero();
  const int n = std::min(m.rows(), m.columns());
  for (int i = 0; i < n; ++i) m.e(i, i) = n > 1 ? std::pow(condition, -double(i) / (n - 1)) : 1.0;
  for (int k = 0; k < 4; ++k) {
    reflect(engine, m, true);
    reflect(engine, m, false);
  }
}

/// 1, 1e2, ..., 1e10 in turn.
inline double conditionOf(int trial) { return std::pow(10.0, 2 * (trial % 6)); }

/// The Frobenius norm.
inline double norm(const FullMatrix& m) {
  double sum = 0.0;
  for (int i = 0; i < m.rows(); ++i) {
    for (int j = 0; j < m.columns(); ++j) sum += m.e(i, j) * m.e(i, j);
  }
  return std::sqrt(sum);
}

/// The plain triple loop, a reference that shares nothing with the library.
inline FullMatrix product(const FullMatrix& a, const FullMatrix& b) {
  FullMatrix c(a.rows(), b.columns());
  for (int i = 0; i < a.rows(); ++i) {
    for (int k = 0; k < a.columns(); ++k) {
      for (int j = 0; j < b.columns(); ++j) c.e(i, j) += a.e(i, k) * b.e(k, j);
    }
  }
  return c;
}

inline FullMatrix transposed(const FullMatrix& a) {
  FullMatrix t(a.columns(), a.rows());
  for (int i = 0; i < a.rows(); ++i) {
    for (int j = 0; j < a.columns(); ++j) t.e(j, i) = a.e(i, j);
  }
  return t;
}

inline FullMatrix identity(int n) {
  FullMatrix m(n, n);
  for (int i = 0; i < n; ++i) m.e(i, i) = 1.0;
  return m;
}

/// The Frobenius norm of a - b, NaN if their shapes differ.
inline double distance(const FullMatrix& a, const FullMatrix& b) {
  if (a.rows() != b.rows() || a.columns() != b.columns()) return std::nan("");
  double sum = 0.0;
  for (int i = 0; i < a.rows(); ++i) {
    for (int j = 0; j < a.columns(); ++j) sum += (a.e(i, j) - b.e(i, j)) * (a.e(i, j) - b.e(i, j));
  }
  return std::sqrt(sum);
}

/// |A x - b| / (|A| |x| + |b|).
inline double scaledResidual(const FullMatrix& a, const Vector& x, const Vector& b) {
  double residual = 0.0;
  double xx = 0.0;
  double bb = 0.0;
  for (int i = 0; i < a.rows(); ++i) {
    double sum = -b[i];
    for (int j = 0; j < a.columns(); ++j) sum += a.e(i, j) * x[j];
    residual += sum * sum;
    bb += b[i] * b[i];
  }
  for (int j = 0; j < a.columns(); ++j) xx += x[j] * x[j];
  const double scale = norm(a) * std::sqrt(xx) + std::sqrt(bb);
  return scale > 0.0 ? std::sqrt(residual) / scale : std::sqrt(residual);
}

/// The bound every solve must meet: 20 epsilon n.
inline double residualBound(int n) { return 20.0 * 2.220446049250313e-16 * std::max(n, 1); }

/// A random matrix, or one with equal magnitudes, ties, a NaN or no inverse: the hard cases of a search for
/// pivots.
inline FullMatrix trial(int n, int seed) {
  Engine engine(static_cast<unsigned>(100 * n + seed));
  FullMatrix a(n, n);
  fill(engine, a);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      if (seed % 4 == 1) a.e(i, j) = std::copysign(std::floor(std::fabs(a.e(i, j)) * 2), a.e(i, j));
      if (seed % 4 == 2 && j == n - 1) a.e(i, j) = a.e(i, 0);
    }
  }
  if (seed % 4 == 3) a.e(n / 2, n / 3) = std::nan("");
  if (seed == 7) a.zero();
  return a;
}

/// The same bits; a NaN equals any NaN.
inline bool sameOrNaN(const FullMatrix& a, const FullMatrix& b) {
  for (int i = 0; i < a.rows(); ++i) {
    for (int j = 0; j < a.columns(); ++j) {
      if (std::isnan(a.e(i, j)) && std::isnan(b.e(i, j))) continue;
      if (!tolerance::sameBits(a.e(i, j), b.e(i, j))) return false;
    }
  }
  return true;
}

}  // namespace random_matrices
