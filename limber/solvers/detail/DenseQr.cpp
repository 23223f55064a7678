#include "limber/solvers/detail/DenseQr.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {
namespace {

// y = y + s x.
void add(int n, double s, const double* __restrict x, double* __restrict y) {
  for (int i = 0; i < n; ++i) y[i] += s * x[i];
}

}  // namespace

double DenseQr::operations(double m, double n) { return 5.0 * m * n * std::min(m, n); }

DenseQr::DenseQr(const SparseRows& A) : m_(A.height), n_(A.width), work_(A.height) {
  if (static_cast<double>(m_) * n_ > 1e9) throw std::bad_alloc();
  value_.assign(m_ * n_, 0.0);
  order_.resize(n_);
  for (int j = 0; j < n_; ++j) order_[j] = j;
  for (int i = 0; i < m_; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) column(A.index[k])[i] = A.value[k];
  }
  const int reflections = std::min(m_, n_);
  diagonal_.assign(reflections, 0.0);
  const double unit = 2.2e-16 * std::max({m_, n_, 10});
  for (int k = 0; k < reflections; ++k) {
    bringLargest(k);
    reflect(k);
    if (!(std::fabs(diagonal_[k]) > unit * std::fabs(diagonal_[0]))) break;
    rank_ = k + 1;
  }
}

// Exchanges column k with the column that has the largest norm from row k on.
void DenseQr::bringLargest(int k) {
  int best = k;
  double largest = -1.0;
  for (int j = k; j < n_; ++j) {
    const double square = fixedDot(m_ - k, column(j) + k, column(j) + k);
    if (!(square > largest)) continue;
    largest = square;
    best = j;
  }
  if (best == k) return;
  std::swap(order_[k], order_[best]);
  std::swap_ranges(column(k), column(k) + m_, column(best));
}

// The reflection I - v v^T with |v|^2 = 2 that takes column k to a multiple of e_k.
void DenseQr::reflect(int k) {
  double* const v = column(k) + k;
  const int length = m_ - k;
  const double norm = fixedNorm(length, v);
  if (!(norm > 0.0)) return;
  diagonal_[k] = v[0] > 0.0 ? -norm : norm;
  v[0] -= diagonal_[k];
  const double factor = std::sqrt(2.0) / fixedNorm(length, v);
  for (int i = 0; i < length; ++i) v[i] *= factor;
  for (int j = k + 1; j < n_; ++j) {
    double* const other = column(j) + k;
    add(length, -fixedDot(length, v, other), v, other);
  }
}

// y = R^-1 y for the leading rank elements.
void DenseQr::solveTriangle(double* y) const {
  for (int k = rank_ - 1; k >= 0; --k) {
    y[k] /= diagonal_[k];
    add(k, -y[k], column(k), y);
  }
}

void DenseQr::solve(const double* r, double* d) {
  std::copy_n(r, m_, work_.data());
  for (int k = 0; k < rank_; ++k) {
    double* const y = work_.data() + k;
    add(m_ - k, -fixedDot(m_ - k, column(k) + k, y), column(k) + k, y);
  }
  solveTriangle(work_.data());
  std::fill_n(d, n_, 0.0);
  for (int k = 0; k < rank_; ++k) d[order_[k]] = work_[k];
}

void DenseQr::nullVector(int k, double* z) const {
  Doubles y(rank_);
  std::copy_n(column(rank_ + k), rank_, y.data());
  solveTriangle(y.data());
  std::fill_n(z, n_, 0.0);
  for (int i = 0; i < rank_; ++i) z[order_[i]] = -y[i];
  z[order_[rank_ + k]] = 1.0;
}

}  // namespace limber::detail
