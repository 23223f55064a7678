#include "limber/solvers/detail/LinearMap.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>

#include "limber/linalg/SpMat.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {
namespace {

// After so many products A x, more are likely, and a copy in a layout that makes them faster pays off.
constexpr int firstSliced = 4;

// Gives v the length n. Throws std::bad_alloc if there is no memory.
void setSize(Vector& v, int n) {
  v.grow(n);
  if (v.count != n) throw std::bad_alloc();
}

}  // namespace

double LinearMap::multiplyBothWays(const double* v, double s, double* u, double* w) {
  const int m = height();
  product_.resize(m);
  multiply(v, product_.data());
  for (int i = 0; i < m; ++i) u[i] = product_[i] - s * u[i];
  multiplyTransposed(u, w);
  return fixedDot(m, u, u);
}

void LinearMap::preciseResidual(const double* b, const double* x, double* r, double* g) {
  multiply(x, r);
  const int m = height();
  for (int i = 0; i < m; ++i) r[i] = b[i] - r[i];
  if (g) multiplyTransposed(r, g);
}

Wides LinearMap::wideProduct(const Wides& x, bool transposed) {
  int top = INT_MIN;
  for (const Wide& v : x) top = v.isZero() ? top : std::max(top, v.power());
  if (top == INT_MIN) top = 0;
  Doubles from, to(transposed ? width() : height());
  round(x, -top, &from);
  if (transposed) {
    multiplyTransposed(from.data(), to.data());
  } else {
    multiply(from.data(), to.data());
  }
  return wideOf(to.size(), to.data(), top);
}

void RowsMap::multiply(const double* x, double* y) {
  ++products;
  if (++multiplications_ == firstSliced && rows_.height > 0 &&
      !slices_.copy(rows_.start.data(), rows_.index.data(), rows_.value.data(), rows_.height, rows_.width)) {
    throw std::bad_alloc();
  }
  if (slices_.height() > 0) {
    slices_.multiply(x, y);
  } else {
    rows_.multiply(x, y);
  }
}

void RowsMap::multiplyTransposed(const double* x, double* y) {
  ++products;
  rows_.multiplyTransposed(x, y);
}

double RowsMap::multiplyBothWays(const double* v, double s, double* u, double* w) {
  products += 2;
  return rows_.multiplyBothWays(v, s, u, w);
}

void RowsMap::preciseResidual(const double* b, const double* x, double* r, double* g) {
  products += g ? 2 : 1;
  rows_.residual(b, x, r, g);
}

Wides RowsMap::wideProduct(const Wides& x, bool transposed) {
  ++products;
  return transposed ? multiplyWideTransposed(exact_, x, power_) : multiplyWide(exact_, x, power_);
}

void ScaledColumnsMap::multiply(const double* x, double* y) {
  ++products;
  for (int j = 0; j < rows_.width; ++j) work_[j] = scale_[j] * x[j];
  rows_.multiply(work_.data(), y);
}

void ScaledColumnsMap::multiplyTransposed(const double* x, double* y) {
  ++products;
  rows_.multiplyTransposed(x, y);
  for (int j = 0; j < rows_.width; ++j) y[j] *= scale_[j];
}

double ScaledColumnsMap::multiplyBothWays(const double* v, double s, double* u, double* w) {
  products += 2;
  for (int j = 0; j < rows_.width; ++j) work_[j] = scale_[j] * v[j];
  const double square = rows_.multiplyBothWays(work_.data(), s, u, w);
  for (int j = 0; j < rows_.width; ++j) w[j] *= scale_[j];
  return square;
}

void NormalMap::multiply(const double* x, double* y) {
  A_.multiply(x, work_.data());
  A_.multiplyTransposed(work_.data(), y);
}

void ForeignMap::product(const double* x, int n, double* y, int m, bool transposed) {
  ++products;
  const int shift = std::min(100, 900 + power_) - largestExponent(n, x);
  setSize(in_, n);
  setSize(out_, m);
  for (int i = 0; i < n; ++i) in_[i] = timesPowerOfTwo(x[i], shift);
  out_ = 0.0;
  if (transposed) {
    A_.multT(&in_, &out_);
  } else {
    A_.mult(&in_, &out_);
  }
  const int common = std::min(m, out_.count);
  for (int i = 0; i < common; ++i) y[i] = timesPowerOfTwo(out_[i], power_ - shift);
  for (int i = common; i < m; ++i) y[i] = 0.0;
}

bool DiagonalInverse::apply(const double* r, double* z) {
  for (int i = 0; i < inverse_.size(); ++i) z[i] = inverse_[i] * r[i];
  return true;
}

bool ForeignInverse::apply(const double* r, double* z) {
  setSize(r_, n_);
  setSize(z_, n_);
  std::copy_n(r, n_, r_.data);
  z_ = 0.0;
  preconditioner_->solve(&r_, &z_);
  if (z_.count != n_) return false;
  bool finite = true;
  for (int i = 0; i < n_; ++i) {
    z[i] = z_[i];
    finite &= std::isfinite(z[i]);
  }
  return finite;
}

}  // namespace limber::detail
