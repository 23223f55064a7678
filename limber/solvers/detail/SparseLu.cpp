#include "limber/solvers/detail/SparseLu.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "limber/solvers/detail/PowersOfTwo.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

// Finds all rows that column j of A reaches through the existing columns of L, depth first.
void SparseLu::reach(const SparseRows& columns, int j) {
  top_ = n_;
  for (int e = columns.start[j]; e < columns.start[j + 1]; ++e) {
    if (mark_[columns.index[e]] == j) continue;
    int depth = 0;
    stack_[0] = columns.index[e];
    while (depth >= 0) {
      const int i = stack_[depth];
      const int k = position_[i];
      if (mark_[i] != j) {
        mark_[i] = j;
        next_[depth] = k < 0 ? 0 : lowerStart_[k];
      }
      const int end = k < 0 ? 0 : searchEnd_[k];
      bool deeper = false;
      while (next_[depth] < end && !deeper) {
        const int below = lowerIndex_[next_[depth]++];
        if (mark_[below] == j) continue;
        stack_[++depth] = below;
        deeper = true;
      }
      if (deeper) continue;
      found_[--top_] = i;
      --depth;
    }
  }
}

// The row of the largest element, or the diagonal if its element is as good. Those of chosen rows are zero.
int SparseLu::pivotRow(int j) const {
  int best = -1;
  double largest = 0.0;
  for (int t = top_; t < n_; ++t) {
    const int i = found_[t];
    const double size = std::fabs(work_[i]);
    if (size > largest || (size == largest && i == j)) {
      largest = size;
      best = i;
    }
  }
  return largest > 0.0 ? best : -1;
}

// Symmetric pruning after column k: if a column of L was used for column k and contains k's pivot row, column
// k contains all its remaining rows. From now on the search reaches the rows that are not chosen yet through
// k.
void SparseLu::prune(int k, int pivotRow) {
  for (int u = upperStart_[k]; u < upperStart_[k + 1]; ++u) {
    const int c = upperIndex_[u];
    const int begin = lowerStart_[c], end = lowerStart_[c + 1];
    if (searchEnd_[c] != end) continue;
    const int* const rows = lowerIndex_.data();
    if (std::find(rows + begin, rows + end, pivotRow) == rows + end) continue;
    int chosen = begin;
    for (int e = begin; e < end; ++e) {
      if (position_[lowerIndex_[e]] < 0) continue;
      std::swap(lowerIndex_[e], lowerIndex_[chosen]);
      std::swap(lower_[e], lower_[chosen++]);
    }
    searchEnd_[c] = chosen;
  }
}

// Computes column order_[k] of A in work_, reduced by the existing columns of L. The elements of U go to its
// column k.
void SparseLu::reduce(const SparseRows& columns, int k) {
  const int j = order_[k];
  reach(columns, j);
  for (int e = columns.start[j]; e < columns.start[j + 1]; ++e) work_[columns.index[e]] = columns.value[e];
  for (int t = top_; t < n_; ++t) {
    const int i = found_[t];
    const int column = position_[i];
    const double x = work_[i];
    if (column < 0) continue;
    upperIndex_.push(column);
    upper_.push(x);
    work_[i] = 0.0;
    const int end = lowerStart_[column + 1];
    operations_ += 2.0 * (end - lowerStart_[column]) + 1.0;
    for (int e = lowerStart_[column]; e < end; ++e) work_[lowerIndex_[e]] -= lower_[e] * x;
  }
  upperStart_[k + 1] = upper_.size();
}

bool SparseLu::tooMuch(const Allowance& allowance) const {
  const double tail = tail_.size();
  return lower_.size() + static_cast<double>(upper_.size()) + tail * tail > allowance.entries ||
         operations_ > allowance.operations;
}

// Counts the columns before k that are nearly full in L without a gap. Returns true if the columns from k on
// should be factored as a dense matrix: if there are enough such columns, and the matrix is not too large.
bool SparseLu::countFullColumns(int k, const Allowance& allowance) {
  constexpr int enough = 8, least = 64;
  const double rest = n_ - k, entries = lower_.size() + static_cast<double>(upper_.size());
  const bool full = k > 0 && lowerStart_[k] - lowerStart_[k - 1] > 0.5 * rest;
  fullColumns_ = full ? fullColumns_ + 1 : 0;
  return fullColumns_ >= enough && rest >= least && entries + rest * rest <= allowance.entries &&
         operations_ + 0.7 * rest * rest * rest <= allowance.operations;
}

// Forgets the reduced column.
void SparseLu::clearColumn() {
  for (int t = top_; t < n_; ++t) {
    work_[found_[t]] = 0.0;
    mark_[found_[t]] = -1;
  }
}

// Takes the reduced column k into L.
void SparseLu::keepColumn(int k, int pivotRow) {
  pivot_[k] = work_[pivotRow];
  position_[pivotRow] = k;
  for (int t = top_; t < n_; ++t) {
    const int i = found_[t];
    if (position_[i] < 0) {
      lowerIndex_.push(i);
      lower_.push(work_[i] / pivot_[k]);
    }
    work_[i] = 0.0;
  }
  lowerStart_[k + 1] = searchEnd_[k] = lower_.size();
  prune(k, pivotRow);
}

// Columns without a pivot are postponed until all others have their pivot rows. False if it costs too much.
bool SparseLu::factorSparse(const SparseRows& columns, const Allowance& allowance) {
  Ints postponed;
  int next = 0;
  for (sparse_ = 0; next < n_ && !countFullColumns(sparse_, allowance); ++next) {
    const int k = sparse_, j = order_[next];
    order_[k] = j;
    reduce(columns, k);
    const int chosen = pivotRow(j);
    if (chosen < 0) {
      clearColumn();
      upperIndex_.resize(upperStart_[k]);
      upper_.resize(upperStart_[k]);
      postponed.push(j);
      continue;
    }
    keepColumn(k, chosen);
    ++sparse_;
    if (tooMuch(allowance)) return false;
  }
  std::copy(order_.begin() + next, order_.end(), order_.begin() + sparse_);
  std::copy(postponed.begin(), postponed.end(), order_.end() - postponed.size());
  if (next == n_) closeEmptyColumns(columns);
  return true;
}

// Gives each of the remaining columns, which have no pivot, one of the remaining rows and the pivot 1.
void SparseLu::closeEmptyColumns(const SparseRows& columns) {
  defects_ = n_ - sparse_;
  for (int row = 0; sparse_ < n_; ++row) {
    if (position_[row] >= 0) continue;
    reduce(columns, sparse_);
    clearColumn();
    position_[row] = sparse_++;
    lowerStart_[sparse_] = lower_.size();
  }
}

// Reduces the remaining columns by the sparse ones and factors them as a dense matrix.
bool SparseLu::factorTail(const SparseRows& columns, const Allowance& allowance) {
  Ints rows, place(n_, -1);
  for (int i = 0; i < n_; ++i) {
    if (position_[i] >= 0) continue;
    place[i] = rows.size();
    rows.push(i);
  }
  tail_.clear(rows.size());
  for (int k = sparse_; k < n_; ++k) {
    reduce(columns, k);
    double* const full = tail_.column(k - sparse_);
    for (int t = top_; t < n_; ++t) {
      const int i = found_[t];
      if (place[i] >= 0) full[place[i]] = work_[i];
      work_[i] = 0.0;
    }
    if (tooMuch(allowance)) return false;
  }
  defects_ += tail_.factor(&rows);
  for (int k = sparse_; k < n_; ++k) position_[rows[k - sparse_]] = k;
  return true;
}

bool SparseLu::factor(const SparseRows& A, const Allowance& allowance) {
  *this = SparseLu();
  n_ = A.height;
  const SparseRows columns = A.transposed();
  orderColumns(A, &order_);
  position_.assign(n_, -1);
  lowerStart_.assign(n_ + 1, 0);
  upperStart_.assign(n_ + 1, 0);
  searchEnd_.assign(n_, 0);
  pivot_.assign(n_, 1.0);
  work_.assign(n_, 0.0);
  found_.assign(n_, 0);
  stack_.assign(n_, 0);
  next_.assign(n_, 0);
  mark_.assign(n_, -1);
  if (!factorSparse(columns, allowance) || !factorTail(columns, allowance)) return false;
  for (int& i : lowerIndex_) i = position_[i];
  return true;
}

bool SparseLu::apply(const double* r, double* z) {
  for (int i = 0; i < n_; ++i) work_[position_[i]] = r[i];
  for (int k = 0; k < sparse_; ++k) {
    const double y = work_[k];
    if (y == 0.0) continue;
    for (int e = lowerStart_[k]; e < lowerStart_[k + 1]; ++e) work_[lowerIndex_[e]] -= lower_[e] * y;
  }
  tail_.solveLower(work_.data() + sparse_);
  tail_.solveUpper(work_.data() + sparse_);
  for (int k = n_ - 1; k >= 0; --k) {
    const double y = work_[k] /= pivot_[k];
    if (y == 0.0) continue;
    for (int e = upperStart_[k]; e < upperStart_[k + 1]; ++e) work_[upperIndex_[e]] -= upper_[e] * y;
  }
  for (int k = 0; k < n_; ++k) z[order_[k]] = work_[k];
  return allFinite(n_, z);
}

}  // namespace limber::detail
