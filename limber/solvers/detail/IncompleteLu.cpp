#include "limber/solvers/detail/IncompleteLu.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {
namespace {

// A row that is so many times longer than the row below is searched. Walking along it for each of many short
// rows would take quadratic time.
constexpr int longer = 32;

}  // namespace

bool IncompleteLu::factor(const SparseRows& A) {
  factors_ = A;
  const int n = A.height;
  const Ints &start = factors_.start, &index = factors_.index;
  Doubles& value = factors_.value;
  diagonal_.resize(n);
  inverse_.resize(n);
  // The row that is being eliminated, one element per column. The elements outside its pattern hold
  // leftovers that are never read: subtracting there as well is faster than asking.
  Doubles row(n);
  for (int i = 0; i < n; ++i) {
    const int from = start[i], to = start[i + 1];
    double largest = 0.0;
    int before = 0;  // entries to the left of the diagonal
    for (int k = from; k < to; ++k) {
      row[index[k]] = value[k];
      before += index[k] < i;
      largest = std::max(largest, std::fabs(value[k]));
    }
    diagonal_[i] = from + before;
    if (diagonal_[i] == to || index[diagonal_[i]] != i) return false;
    for (int k = from; k < diagonal_[i]; ++k) {
      const int j = index[k];
      const double factor = value[k] = row[j] * inverse_[j];
      if (factor == 0.0) continue;
      const int last = start[j + 1];
      int e = diagonal_[j] + 1;
      if (last - e > longer * (to - k)) {
        for (int at = k + 1; at < to; ++at) {
          const int* const found = std::lower_bound(index.data() + e, index.data() + last, index[at]);
          e = static_cast<int>(found - index.data());
          if (e < last && index[e] == index[at]) row[index[at]] -= factor * value[e];
        }
      } else {
        for (; e < last; ++e) row[index[e]] -= factor * value[e];
      }
    }
    double pivot = row[i];
    if (!(std::fabs(pivot) > 1e-8 * largest)) pivot = pivot < 0.0 ? -1e-2 * largest : 1e-2 * largest;
    inverse_[i] = pivot != 0.0 ? 1.0 / pivot : 1.0;
    value[diagonal_[i]] = pivot;
    for (int k = diagonal_[i] + 1; k < to; ++k) value[k] = row[index[k]];
  }
  return allFinite(value.size(), value.data());
}

bool IncompleteLu::apply(const double* r, double* z) {
  const int n = factors_.height;
  const int* const start = factors_.start.data();
  const int* const index = factors_.index.data();
  const double* const value = factors_.value.data();
  for (int i = 0; i < n; ++i) {
    double sum = r[i];
    for (int k = start[i]; k < diagonal_[i]; ++k) sum -= value[k] * z[index[k]];
    z[i] = sum;
  }
  for (int i = n - 1; i >= 0; --i) {
    double sum = z[i];
    // in descending order, so that little is left to do once the element of the row below is known
    for (int k = start[i + 1] - 1; k > diagonal_[i]; --k) sum -= value[k] * z[index[k]];
    z[i] = sum * inverse_[i];
  }
  return true;
}

}  // namespace limber::detail
