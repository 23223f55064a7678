#include "limber/solvers/detail/SparseRows.h"

#include <algorithm>

#include "limber/foundation/detail/DoubleSum.h"
#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {
namespace {

// True if all rows are in ascending column order without duplicates. It counts the places where the indices
// do not ascend, which is one loop over all entries, and those of them that are between two rows.
bool ascending(const SparseRows& A) {
  const int n = A.entries();
  const int* const index = A.index.data();
  int drops = 0, between = 0;
  for (int k = 1; k < n; ++k) drops += index[k - 1] >= index[k];
  for (int i = 1; i < A.height; ++i) {
    const int k = A.start[i];
    between += k > A.start[i - 1] && k < n && index[k - 1] >= index[k];
  }
  return drops == between;
}

}  // namespace

void SparseRows::multiply(const double* x, double* y) const {
  const int* const at = start.data();
  const int* const j = index.data();
  const double* const a = value.data();
  for (int i = 0; i < height; ++i) {
    double sum = 0.0;
    for (int k = at[i]; k < at[i + 1]; ++k) sum += a[k] * x[j[k]];
    y[i] = sum;
  }
}

void SparseRows::multiplyTransposed(const double* x, double* y) const {
  const int* const at = start.data();
  const int* const j = index.data();
  const double* const a = value.data();
  std::fill_n(y, width, 0.0);
  for (int i = 0; i < height; ++i) {
    const double xi = x[i];
    for (int k = at[i]; k < at[i + 1]; ++k) y[j[k]] += a[k] * xi;
  }
}

double SparseRows::multiplyBothWays(const double* v, double s, double* u, double* w) const {
  const int* const at = start.data();
  const int* const j = index.data();
  const double* const a = value.data();
  std::fill_n(w, width, 0.0);
  double square = 0.0;
  for (int i = 0; i < height; ++i) {
    double sum = 0.0;
    for (int k = at[i]; k < at[i + 1]; ++k) sum += a[k] * v[j[k]];
    sum -= s * u[i];
    u[i] = sum;
    square += sum * sum;
    for (int k = at[i]; k < at[i + 1]; ++k) w[j[k]] += a[k] * sum;
  }
  return square;
}

void SparseRows::residual(const double* b, const double* x, double* r, double* g) const {
  Array<DoubleSum> sums(g ? width : 0);
  for (int i = 0; i < height; ++i) {
    DoubleSum sum{b[i], 0.0};
    for (int k = start[i]; k < start[i + 1]; ++k) sum.addProduct(-value[k], x[index[k]]);
    r[i] = sum.rounded();
    if (!g) continue;
    const double low = (sum.high - r[i]) + sum.low;
    for (int k = start[i]; k < start[i + 1]; ++k) {
      sums[index[k]].addProduct(value[k], r[i]);
      sums[index[k]].low += value[k] * low;
    }
  }
  for (int j = 0; j < sums.size(); ++j) g[j] = sums[j].rounded();
}

SparseRows SparseRows::transposed() const {
  SparseRows t;
  t.height = width;
  t.width = height;
  t.start.assign(width + 1, 0);
  t.index.resize(entries());
  t.value.resize(entries());
  for (int j : index) ++t.start[j + 1];
  for (int j = 0; j < width; ++j) t.start[j + 1] += t.start[j];
  Ints next(width);
  std::copy_n(t.start.data(), width, next.data());
  for (int i = 0; i < height; ++i) {
    for (int k = start[i]; k < start[i + 1]; ++k) {
      const int to = next[index[k]]++;
      t.index[to] = i;
      t.value[to] = value[k];
    }
  }
  return t;
}

void SparseRows::tidy() {
  if (ascending(*this)) return;
  // transposing twice sorts every row in linear time and keeps the order of entries at the same place
  *this = transposed().transposed();
  int filled = 0;
  for (int i = 0; i < height; ++i) {
    const int from = start[i], to = start[i + 1];
    start[i] = filled;
    for (int k = from; k < to; ++k) {
      if (filled > start[i] && index[filled - 1] == index[k]) {
        value[filled - 1] += value[k];
      } else {
        index[filled] = index[k];
        value[filled++] = value[k];
      }
    }
  }
  start[height] = filled;
  index.resize(filled);
  value.resize(filled);
}

void SparseRows::scale(const int* rows, const int* columns) {
  for (int i = 0; i < height; ++i) {
    const int row = rows ? rows[i] : 0;
    for (int k = start[i]; k < start[i + 1]; ++k) {
      value[k] = timesPowerOfTwo(value[k], row + (columns ? columns[index[k]] : 0));
    }
  }
}

}  // namespace limber::detail
