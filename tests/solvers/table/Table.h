#pragma once

#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "limber/limber.h"
#include "limber/solvers/detail/SparseRows.h"
#include "tests/golden/Golden.h"
#include "tests/support/DecimalPoint.h"

/// The table of what the functions of Solve.h and the classes behind them compute for fixed systems. If one
/// method gets worse, a later one makes up for it, so a test of the solution alone would not notice. The
/// table shows the status, the number of iterations and products, and a hash of the solution and of the
/// residual after every iteration. None of this depends on LAPACK, BLAS or the C library.
namespace table {

/// A hash of numbers in their order (FNV-1a). All NaNs are the same.
class Hash {
 public:
  void add(std::uint64_t bits) {
    for (int k = 0; k < 64; k += 8) state_ = (state_ ^ (bits >> k & 255u)) * 1099511628211u;
  }
  void add(int value) { add(static_cast<std::uint64_t>(static_cast<std::int64_t>(value))); }
  void add(char letter) { add(static_cast<std::uint64_t>(letter)); }
  void add(double value) {
    std::uint64_t bits = 0;
    if (!std::isnan(value)) std::memcpy(&bits, &value, sizeof bits);
    add(bits);
  }
  template <class T>
  void add(int n, const T* values) {
    for (int i = 0; i < n; ++i) add(values[i]);
  }
  std::string text() const {
    char out[17];
    std::snprintf(out, sizeof out, "%08" PRIx32, static_cast<std::uint32_t>(state_ ^ state_ >> 32));
    return out;
  }

 private:
  std::uint64_t state_ = 14695981039346656037u;
};

template <class T>
std::string hashOf(int n, const T* values) {
  Hash hash;
  hash.add(n, values);
  return hash.text();
}
template <class T>
std::string hashOf(const limber::detail::Array<T>& values) {
  return std::to_string(values.size()) + ":" + hashOf(values.size(), values.data());
}
/// The number with a point in every locale.
inline std::string decimals(double value) {
  const DecimalPoint point;
  return std::to_string(value);
}
inline std::string hashOf(double value) { return hashOf(1, &value); }
inline std::string hashOf(const limber::detail::SparseRows& A) {
  return std::to_string(A.height) + "x" + std::to_string(A.width) + " " + hashOf(A.start) + " " +
         hashOf(A.index) + " " + hashOf(A.value);
}

/// A matrix with entries of any size, in the rows of an HSpMat.
class Entries {
 public:
  Entries(int height, int width) : rows_(static_cast<std::size_t>(height)), width_(width) {
    for (auto& row : rows_) {
      row = std::make_unique<SpVec>();
      row->width = width;
      matrix_.add(row.get());
    }
  }
  void add(int i, int j, double value) {
    SpVec& row = *rows_[static_cast<std::size_t>(i)];
    row.insEnd(1.0, j);
    row.e(row.numEntries - 1) = value;
    row.width = width_;
  }
  const HSpMat& matrix() const { return matrix_; }
  int height() const { return static_cast<int>(rows_.size()); }
  int width() const { return width_; }
  /// A x, each element summed in the order of the entries.
  Vector times(const Vector& x) const {
    Vector y(height());
    for (int i = 0; i < height(); ++i) {
      const SpVec& row = *rows_[static_cast<std::size_t>(i)];
      for (int k = 0; k < row.numEntries; ++k) y[i] += row.values.data[k] * x.data[row.indices.data[k]];
    }
    return y;
  }

 private:
  std::vector<std::unique_ptr<SpVec>> rows_;
  int width_;
  HSpMat matrix_{0};
};

/// A line of results of one system, each as a hash behind its name. It is printed when the line ends.
class Line {
 public:
  explicit Line(std::string name) : name_(std::move(name)) {}
  ~Line() {
    if (!text_.empty()) golden::print(name_, text_);
  }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;
  void add(const std::string& name, const std::string& result) {
    text_ +=
        (text_.empty() ? "" : ", ") + name + " " + hashOf(static_cast<int>(result.size()), result.data());
  }

 private:
  const std::string name_;
  std::string text_;
};

inline Vector vectorOf(golden::Numbers* numbers, int n) {
  Vector v(n);
  for (int i = 0; i < n; ++i) v[i] = numbers->next();
  return v;
}

struct System {
  std::string name;
  Entries A;
  Vector b;
};

/// Systems of many kinds and sizes, always the same.
std::deque<System> systems();

/// The entries as the private classes take them.
limber::detail::SparseRows rowsOf(const HSpMat& A);

}  // namespace table
