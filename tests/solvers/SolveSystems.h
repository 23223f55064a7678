#pragma once

#include <cmath>
#include <initializer_list>
#include <memory>
#include <random>
#include <vector>

#include "limber/limber.h"
#include "tests/support/Tolerance.h"

/// A sparse matrix that keeps all entries, however small they are.
class Entries {
 public:
  Entries(int height, int width) : width_(width) {
    for (int i = 0; i < height; ++i) {
      rows_.push_back(std::make_unique<SpVec>());
      rows_.back()->width = width;
      matrix_.add(rows_.back().get());
    }
  }
  explicit Entries(const FullMatrix& dense) : Entries(dense.numRows, dense.numColumns) {
    for (int i = 0; i < dense.numRows; ++i) {
      for (int j = 0; j < dense.numColumns; ++j) {
        if (dense.e(i, j) != 0.0) add(i, j, dense.e(i, j));
      }
    }
  }
  void add(int i, int j, double value) {
    SpVec& row = *rows_[static_cast<std::size_t>(i)];
    row.insEnd(1.0, j);
    row.e(row.numEntries - 1) = value;
    row.width = width_;
  }
  HSpMat& matrix() { return matrix_; }
  const HSpMat& matrix() const { return matrix_; }
  int width() const { return width_; }

 private:
  int width_;
  std::vector<std::unique_ptr<SpVec>> rows_;
  HSpMat matrix_{0};
};

/// b - A x in long double.
inline std::vector<long double> longResidual(const HSpMat& A, const Vector& b, const Vector& x) {
  std::vector<long double> r;
  for (int i = 0; i < A.numRows; ++i) {
    long double sum = b[i];
    const SpVec* const row = A.rows[i];
    for (int k = 0; row && k < row->numEntries; ++k) {
      sum -= static_cast<long double>(row->values[k]) * x[row->indices[k]];
    }
    r.push_back(sum);
  }
  return r;
}

inline std::vector<long double> longTransposed(const HSpMat& A, int width,
                                               const std::vector<long double>& r) {
  std::vector<long double> g(static_cast<std::size_t>(width));
  for (int i = 0; i < A.numRows; ++i) {
    const SpVec* const row = A.rows[i];
    for (int k = 0; row && k < row->numEntries; ++k) {
      g[static_cast<std::size_t>(row->indices[k])] += row->values[k] * r[static_cast<std::size_t>(i)];
    }
  }
  return g;
}

inline long double longNorm(const std::vector<long double>& v) {
  long double sum = 0.0L;
  for (const long double x : v) sum += x * x;
  return std::sqrt(sum);
}

/// The relative residual of a report, in long double: |b - A x| / |b|, or |A^T (b - A x)| / |A^T b| for least
/// squares.
inline double relativeResidual(const HSpMat& A, int width, const Vector& b, const Vector& x,
                               bool leastSquares) {
  Vector zero(width);
  std::vector<long double> r = longResidual(A, b, x), right = longResidual(A, b, zero);
  if (leastSquares) {
    r = longTransposed(A, width, r);
    right = longTransposed(A, width, right);
  }
  const long double norm = longNorm(right);
  return static_cast<double>(norm > 0.0L ? longNorm(r) / norm : longNorm(r));
}

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}
  /// A number in [-1, 1).
  double value() { return static_cast<double>(engine_()) * 0x1p-31 - 1.0; }
  /// A number in 0 ... n - 1.
  int below(int n) { return static_cast<int>(engine_() % static_cast<unsigned>(n)); }
  Vector vector(int n) {
    Vector v(n);
    for (int i = 0; i < n; ++i) v[i] = value();
    return v;
  }

 private:
  std::mt19937 engine_;
};

/// Fills the first n rows and columns of A with random entries graded over 2^-27 ... 2^27 by rows and by
/// columns, and the first n elements of b with random numbers.
inline void fillGraded(int n, Random* random, Entries* A, Vector* b) {
  const auto power = [random] { return static_cast<int>(27.0 * random->value()); };
  std::vector<int> columns(static_cast<std::size_t>(n));
  for (int& column : columns) column = power();
  for (int i = 0; i < n; ++i) {
    const int row = power();
    for (int j = 0; j < n; ++j) {
      A->add(i, j, std::ldexp(random->value(), row + columns[static_cast<std::size_t>(j)]));
    }
    (*b)[i] = random->value();
  }
}

/// The five-point operator -u_xx - u_yy + convection u_x - shift on a k x k grid.
inline Entries grid(int k, double convection, double shift) {
  Entries A(k * k, k * k);
  for (int i = 0; i < k * k; ++i) {
    if (i >= k) A.add(i, i - k, -1.0);
    if (i % k > 0) A.add(i, i - 1, -1.0 - convection);
    A.add(i, i, 4.0 - shift);
    if (i % k < k - 1) A.add(i, i + 1, -1.0 + convection);
    if (i < k * k - k) A.add(i, i + k, -1.0);
  }
  return A;
}

inline Vector vectorOf(std::initializer_list<double> values) {
  Vector v(static_cast<int>(values.size()));
  int i = 0;
  for (const double value : values) v[i++] = value;
  return v;
}

using Solve = SolveReport (*)(const SpMat&, const Vector&, Vector*, const SolveOptions&);
/// The tests have a function of their own, because the address of a function from a DLL may differ between
/// modules.
inline SolveReport leastSquares(const SpMat& A, const Vector& b, Vector* x, const SolveOptions& options) {
  return solveLeastSquares(A, b, x, options);
}
inline const Solve everyKind[] = {leastSquares, solvePositiveDefinite, solveSquare};
