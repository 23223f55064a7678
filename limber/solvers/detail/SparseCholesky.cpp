#include "limber/solvers/detail/SparseCholesky.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "limber/solvers/detail/PowersOfTwo.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

// Copies column k of P A P^T from the diagonal on to work_, which is zero at the places of that column.
void SparseCholesky::gatherColumn(const SparseRows& A, int k) {
  const int i = shape_.order[k];
  for (int e = A.start[i]; e < A.start[i + 1]; ++e) {
    const int to = shape_.position[A.index[e]];
    if (to >= k) work_[to] = A.value[e];
  }
}

// Lets column j wait for the row of its next entry.
void SparseCholesky::wait(int j) {
  if (next_[j] == shape_.start[j + 1]) return;
  const int row = shape_.index[next_[j]];
  after_[j] = first_[row];
  first_[row] = j;
}

// Subtracts the earlier columns that have an entry in row k from column k.
void SparseCholesky::reduceColumn(int k) {
  const int* const index = shape_.index.data();
  const double* const value = value_.data();
  double* const work = work_.data();
  for (int j = first_[k]; j >= 0;) {
    const int following = after_[j], end = shape_.start[j + 1];
    const double s = value[next_[j]];
    for (int e = next_[j]; e < end; ++e) work[index[e]] -= s * value[e];
    ++next_[j];
    wait(j);
    j = following;
  }
}

// Chooses the diagonal element of column k for this pivot, and zero for a column that is left out. `own` is
// the size of the diagonal element of A. False if the pivot is negative.
bool SparseCholesky::takePivot(int k, double pivot, double own) {
  const double unit = 2.2e-16 * std::max(diagonal_.size(), 10);
  if (pivot > unit * std::max(own, 1e-300)) {
    diagonal_[k] = std::sqrt(pivot);
    return true;
  }
  // after pivots that were nearly zero, the rounding is larger
  const double rounding = defects_ > 0 ? 1e-6 : 1e4 * unit;
  if (!(pivot >= -rounding * std::max(own, 1.0))) return false;
  ++defects_;
  return true;
}

bool SparseCholesky::factor(const SparseRows& A, Elimination elimination) {
  shape_ = std::move(elimination);
  const int n = A.height;
  diagonal_.assign(n, 0.0);
  value_.assign(shape_.index.size(), 0.0);
  work_.assign(n, 0.0);
  next_.assign(n, 0);
  first_.assign(n, -1);
  after_.assign(n, -1);
  defects_ = 0;
  for (int k = 0; k < n; ++k) {
    gatherColumn(A, k);
    const double own = std::fabs(work_[k]);
    reduceColumn(k);
    if (!takePivot(k, std::exchange(work_[k], 0.0), own)) {
      failed_ = k;
      return false;
    }
    const bool leftOut = diagonal_[k] == 0.0;
    if (leftOut) diagonal_[k] = 1.0;
    next_[k] = shape_.start[k];
    for (int e = shape_.start[k]; e < shape_.start[k + 1]; ++e) {
      const double element = std::exchange(work_[shape_.index[e]], 0.0);
      value_[e] = leftOut ? 0.0 : element / diagonal_[k];
    }
    if (!leftOut) wait(k);
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
