#include "limber/solvers/detail/SmallCholesky.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/FixedSums.h"

namespace limber::detail {
namespace {

constexpr int maxSize = 64;
// The rows are updated in blocks of so many, so that the lengths of the loops change rarely.
constexpr int block = 4;

int firstColumn(const SparseRows& A, int i) {
  return A.start[i] < A.start[i + 1] ? std::min(A.index[A.start[i]], i) : i;
}

}  // namespace

bool SmallCholesky::isCheap(const SparseRows& A) {
  const int n = A.height;
  if (n > maxSize) return false;
  int operations = 0;
  for (int i = 0; i < n; ++i) {
    const int length = i - firstColumn(A, i);
    operations += length * length / 2;
  }
  return operations <= 20 * (A.entries() + 6 * n);
}

bool SmallCholesky::factor(const SparseRows& A) {
  constexpr double certain = 1e-4;
  n_ = A.height;
  stride_ = (n_ + block - 1) / block * block;
  value_.assign(n_ * stride_, 0.0);
  inverseDiagonal_.assign(n_, 0.0);
  end_.assign(n_, 0);
  for (int i = 0; i < n_; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1] && A.index[k] <= i; ++k) column(A.index[k])[i] = A.value[k];
    for (int k = firstColumn(A, i); k <= i; ++k) end_[k] = i + 1;
  }
  for (int k = 0; k < n_; ++k) {
    double* const __restrict own = column(k);
    if (!(own[k] > certain)) return false;
    inverseDiagonal_[k] = 1.0 / std::sqrt(own[k]);
    for (int i = k + 1; i < end_[k]; ++i) own[i] *= inverseDiagonal_[k];
    for (int j = k + 1; j < end_[k]; ++j) {
      const double s = own[j];
      if (s == 0.0) continue;
      // the first block may begin above the diagonal, where nothing is read
      double* const __restrict other = column(j);
      for (int i = j / block * block; i < end_[k]; i += block) {
        for (int lane = 0; lane < block; ++lane) other[i + lane] -= s * own[i + lane];
      }
    }
  }
  return true;
}

void SmallCholesky::solve(double* x) const {
  for (int k = 0; k < n_; ++k) {
    const double* const own = column(k);
    const double y = x[k] *= inverseDiagonal_[k];
    for (int i = k + 1; i < end_[k]; ++i) x[i] -= y * own[i];
  }
  for (int k = n_ - 1; k >= 0; --k) {
    x[k] -= fixedDot(end_[k] - k - 1, column(k) + k + 1, x + k + 1);
    x[k] *= inverseDiagonal_[k];
  }
}

}  // namespace limber::detail
