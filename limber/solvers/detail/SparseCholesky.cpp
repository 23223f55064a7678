#include "limber/solvers/detail/SparseCholesky.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "limber/solvers/detail/SolveRun.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

// Copies column k of P A P^T from the diagonal on to a vector that is zero at the places of that column.
void SparseCholesky::gatherColumn(const SparseRows& A, int k, Doubles* column) const {
  const int i = shape_.order[k];
  for (int e = A.start[i]; e < A.start[i + 1]; ++e) {
    const int to = shape_.position[A.index[e]];
    if (to >= k) (*column)[to] = A.value[e];
  }
}

bool SparseCholesky::factor(const SparseRows& A, Elimination elimination) {
  shape_ = std::move(elimination);
  const int n = A.height;
  const Ints &start = shape_.start, &index = shape_.index;
  diagonal_.assign(n, 0.0);
  value_.assign(index.size(), 0.0);
  work_.assign(n, 0.0);
  defects_ = 0;
  // for each column its next entry; for each row the columns whose next entry is in that row
  Ints next(n), first(n, -1), after(n, -1);
  const auto wait = [&](int j) {
    if (next[j] == start[j + 1]) return;
    const int row = index[next[j]];
    after[j] = first[row];
    first[row] = j;
  };
  const double unit = 2.2e-16 * std::max(n, 10);
  for (int k = 0; k < n; ++k) {
    gatherColumn(A, k, &work_);
    const double own = std::fabs(work_[k]);
    for (int j = first[k]; j >= 0;) {
      const int following = after[j];
      const double s = value_[next[j]];
      for (int e = next[j]; e < start[j + 1]; ++e) work_[index[e]] -= s * value_[e];
      ++next[j];
      wait(j);
      j = following;
    }
    const double pivot = work_[k];
    work_[k] = 0.0;
    next[k] = start[k];
    if (!(pivot > unit * std::max(own, 1e-300))) {
      // after pivots that were nearly zero, the rounding is larger
      const double rounding = defects_ > 0 ? 1e-6 : 1e4 * unit;
      if (!(pivot >= -rounding * std::max(own, 1.0))) {
        failed_ = k;
        return false;
      }
      ++defects_;
      diagonal_[k] = 1.0;
      for (int e = start[k]; e < start[k + 1]; ++e) work_[index[e]] = 0.0;
      continue;
    }
    diagonal_[k] = std::sqrt(pivot);
    for (int e = start[k]; e < start[k + 1]; ++e) {
      value_[e] = work_[index[e]] / diagonal_[k];
      work_[index[e]] = 0.0;
    }
    wait(k);
  }
  return true;
}

// The columns in front of the pivot are complete: z is the solution of L^T z = e_k there.
void SparseCholesky::failedDirection(double* z) {
  const Ints &start = shape_.start, &index = shape_.index;
  std::fill(work_.begin(), work_.end(), 0.0);
  work_[failed_] = 1.0;
  for (int k = failed_ - 1; k >= 0; --k) {
    double sum = 0.0;
    for (int e = start[k]; e < start[k + 1] && index[e] <= failed_; ++e) sum += value_[e] * work_[index[e]];
    work_[k] = -sum / diagonal_[k];
  }
  for (int k = 0; k < work_.size(); ++k) z[shape_.order[k]] = work_[k];
}

bool SparseCholesky::apply(const double* r, double* z) {
  const int n = diagonal_.size();
  const Ints &start = shape_.start, &index = shape_.index;
  for (int k = 0; k < n; ++k) work_[k] = r[shape_.order[k]];
  for (int k = 0; k < n; ++k) {
    const double y = work_[k] /= diagonal_[k];
    for (int e = start[k]; e < start[k + 1]; ++e) work_[index[e]] -= value_[e] * y;
  }
  for (int k = n - 1; k >= 0; --k) {
    double sum = work_[k];
    for (int e = start[k]; e < start[k + 1]; ++e) sum -= value_[e] * work_[index[e]];
    work_[k] = sum / diagonal_[k];
  }
  for (int k = 0; k < n; ++k) z[shape_.order[k]] = work_[k];
  return allFinite(n, z);
}

}  // namespace limber::detail
