#include "limber/solvers/detail/SparseQr.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "limber/solvers/detail/PowersOfTwo.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

// Rotates the row in work_, which has entries from k to `last`, into R. Afterwards work_ is zero again.
void SparseQr::rotateIn(int k, int last) {
  const Ints &start = shape_.start, &index = shape_.index;
  double* const work = work_.data();
  for (; k <= last; k = shape_.parent(k)) {
    const double x = work[k];
    if (x == 0.0) continue;
    work[k] = 0.0;
    const int end = start[k + 1];
    if (reach_[k] < 0) {
      reach_[k] = last;
      diagonal_[k] = x;
      for (int e = start[k]; e < end && index[e] <= last; ++e) {
        value_[e] = work[index[e]];
        work[index[e]] = 0.0;
      }
      return;
    }
    last = reach_[k] = std::max(last, reach_[k]);
    const double d = diagonal_[k];
    const double scale = std::max(std::fabs(d), std::fabs(x));
    const double length = scale * std::sqrt((d / scale) * (d / scale) + (x / scale) * (x / scale));
    const double c = d / length, s = x / length;
    diagonal_[k] = length;
    for (int e = start[k]; e < end && index[e] <= last; ++e) {
      const double a = value_[e], t = work[index[e]];
      value_[e] = c * a + s * t;
      work[index[e]] = c * t - s * a;
    }
  }
}

void SparseQr::factor(const SparseRows& A, Elimination elimination, double tiny) {
  shape_ = std::move(elimination);
  const int n = A.width;
  const Ints &start = shape_.start, &index = shape_.index;
  diagonal_.assign(n, 0.0);
  value_.assign(index.size(), 0.0);
  work_.assign(n, 0.0);
  reach_.assign(n, -1);
  defects_ = 0;

  // sorts the rows by their first position, so that each one meets few rows of R
  Ints first(A.height, n), count(n + 2), sorted(A.height);
  for (int i = 0; i < A.height; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
      if (A.value[k] != 0.0) first[i] = std::min(first[i], shape_.position[A.index[k]]);
    }
    ++count[first[i] + 1];
  }
  for (int k = 0; k <= n; ++k) count[k + 1] += count[k];
  for (int i = 0; i < A.height; ++i) sorted[count[first[i]]++] = i;

  for (const int i : sorted) {
    if (first[i] == n) continue;
    int last = 0;
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) {
      const int to = shape_.position[A.index[k]];
      work_[to] = A.value[k];
      last = std::max(last, to);
    }
    rotateIn(first[i], last);
  }

  for (int k = 0; k < n; ++k) {
    if (std::fabs(diagonal_[k]) > tiny) continue;
    ++defects_;
    const int last = reach_[k];
    for (int e = start[k]; e < start[k + 1]; ++e) {
      work_[index[e]] = value_[e];
      value_[e] = 0.0;
    }
    diagonal_[k] = 1.0;
    reach_[k] = k;
    if (last > k) rotateIn(shape_.parent(k), last);
  }
}

void SparseQr::solve(const double* r, double* z) {
  const int n = diagonal_.size();
  const Ints &start = shape_.start, &index = shape_.index;
  for (int k = n - 1; k >= 0; --k) {
    double sum = r[k];
    for (int e = start[k]; e < start[k + 1]; ++e) sum -= value_[e] * work_[index[e]];
    work_[k] = sum / diagonal_[k];
  }
  for (int k = 0; k < n; ++k) z[shape_.order[k]] = work_[k];
}

void SparseQr::solveTransposed(const double* r, double* z) {
  const int n = diagonal_.size();
  const Ints &start = shape_.start, &index = shape_.index;
  for (int k = 0; k < n; ++k) z[k] = r[shape_.order[k]];
  for (int k = 0; k < n; ++k) {
    const double y = z[k] /= diagonal_[k];
    for (int e = start[k]; e < start[k + 1]; ++e) z[index[e]] -= value_[e] * y;
  }
}

void ConditionedMap::multiply(const double* x, double* y) {
  ++products;
  qr_.solve(x, work_.data());
  A_.multiply(work_.data(), y);
}

void ConditionedMap::multiplyTransposed(const double* x, double* y) {
  ++products;
  A_.multiplyTransposed(x, work_.data());
  qr_.solveTransposed(work_.data(), y);
}

bool NormalInverse::apply(const double* r, double* z) {
  qr_.solveTransposed(r, work_.data());
  qr_.solve(work_.data(), z);
  return allFinite(work_.size(), z);
}

}  // namespace limber::detail
