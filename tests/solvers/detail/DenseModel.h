#pragma once

#include <cmath>
#include <random>
#include <vector>

#include "limber/solvers/detail/SparseRows.h"

/// A dense matrix for the tests of the front door's helpers, which compare with plain loops over it.
class Dense {
 public:
  Dense(int height, int width)
      : height_(height),
        width_(width),
        value_(static_cast<std::size_t>(height) * static_cast<std::size_t>(width)) {}

  int height() const { return height_; }
  int width() const { return width_; }
  double& operator()(int i, int j) { return value_[place(i, j)]; }
  double operator()(int i, int j) const { return value_[place(i, j)]; }

  /// The elements that are not 0.0, by rows. With `diagonal`, zeros on the diagonal are stored too.
  limber::detail::SparseRows rows(bool diagonal = false) const {
    limber::detail::SparseRows out(height_, width_);
    for (int i = 0; i < height_; ++i) {
      for (int j = 0; j < width_; ++j) {
        if ((*this)(i, j) == 0.0 && !(diagonal && i == j)) continue;
        out.append(j, (*this)(i, j));
      }
      out.endRow();
    }
    return out;
  }

  std::vector<double> times(const std::vector<double>& x) const {
    std::vector<double> y(static_cast<std::size_t>(height_));
    for (int i = 0; i < height_; ++i) {
      for (int j = 0; j < width_; ++j)
        y[static_cast<std::size_t>(i)] += (*this)(i, j) * x[static_cast<std::size_t>(j)];
    }
    return y;
  }
  Dense transposed() const {
    Dense t(width_, height_);
    for (int i = 0; i < height_; ++i) {
      for (int j = 0; j < width_; ++j) t(j, i) = (*this)(i, j);
    }
    return t;
  }
  Dense times(const Dense& other) const {
    Dense out(height_, other.width_);
    for (int i = 0; i < height_; ++i) {
      for (int k = 0; k < width_; ++k) {
        for (int j = 0; j < other.width_; ++j) out(i, j) += (*this)(i, k) * other(k, j);
      }
    }
    return out;
  }

 private:
  std::size_t place(int i, int j) const {
    return static_cast<std::size_t>(i) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(j);
  }
  int height_, width_;
  std::vector<double> value_;
};

/// The largest magnitude of a - b.
inline double farthest(const std::vector<double>& a, const std::vector<double>& b) {
  double most = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i) most = std::fmax(most, std::fabs(a[i] - b[i]));
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (std::isnan(a[i]) || std::isnan(b[i])) return HUGE_VAL;
  }
  return most;
}

/// A seeded source of numbers.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}
  /// In [-1, 1).
  double value() { return static_cast<double>(engine_()) * 0x1p-31 - 1.0; }
  /// In 0 ... n - 1.
  int below(int n) { return static_cast<int>(engine_() % static_cast<unsigned>(n)); }
  std::vector<double> vector(int n) {
    std::vector<double> v(static_cast<std::size_t>(n));
    for (double& x : v) x = value();
    return v;
  }

 private:
  std::mt19937 engine_;
};

/// An m x n matrix; about half of its elements are zeros.
inline Dense randomDense(Dice* dice, int m, int n) {
  Dense A(m, n);
  for (int i = 0; i < m; ++i) {
    for (int j = 0; j < n; ++j) {
      if (dice->below(2) == 0) A(i, j) = dice->value();
    }
  }
  return A;
}
