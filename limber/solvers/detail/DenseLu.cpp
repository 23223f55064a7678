#include "limber/solvers/detail/DenseLu.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "limber/foundation/detail/WideVectors.h"

namespace limber::detail {
namespace {

// the number of pivots that are subtracted from the later columns at once
constexpr int block = 32;

// Four elements of a column, at any address that a double may have.
typedef double Four __attribute__((vector_size(32), aligned(8)));
constexpr int columns = 4;

// c = c - L U for `columns` columns of c and 4 R rows, and `depth` columns of L. All columns are n apart.
template <int R>
[[gnu::always_inline]] inline void subtractTile(const double* L, const double* U, double* c, int depth,
                                                std::ptrdiff_t n) {
  Four sum[columns][R];
  // (The sums stay in registers only if no address of theirs is taken.)
#pragma GCC unroll 4
  for (int j = 0; j < columns; ++j) {
#pragma GCC unroll 2
    for (int r = 0; r < R; ++r) {
      Four elements;
      std::memcpy(&elements, c + j * n + 4 * r, sizeof elements);
      sum[j][r] = elements;
    }
  }
  for (int k = 0; k < depth; ++k) {
    Four left[R];
#pragma GCC unroll 2
    for (int r = 0; r < R; ++r) {
      Four elements;
      std::memcpy(&elements, L + k * n + 4 * r, sizeof elements);
      left[r] = elements;
    }
#pragma GCC unroll 4
    for (int j = 0; j < columns; ++j) {
      const double u = U[j * n + k];
#pragma GCC unroll 2
      for (int r = 0; r < R; ++r) sum[j][r] -= left[r] * u;
    }
  }
#pragma GCC unroll 4
  for (int j = 0; j < columns; ++j) {
#pragma GCC unroll 2
    for (int r = 0; r < R; ++r) {
      const Four elements = sum[j][r];
      std::memcpy(c + j * n + 4 * r, &elements, sizeof elements);
    }
  }
}

void subtractColumn(const double* L, const double* U, double* c, int rows, int depth, std::ptrdiff_t n) {
  for (int k = 0; k < depth; ++k) {
    const double u = U[k];
    for (int i = 0; i < rows; ++i) c[i] -= L[k * n + i] * u;
  }
}

template <int R>
[[gnu::always_inline]] inline void subtractProduct(const double* L, const double* U, double* c, int rows,
                                                   int width, int depth, std::ptrdiff_t n) {
  int j = 0;
  for (; j + columns <= width; j += columns, U += columns * n, c += columns * n) {
    int i = 0;
    for (; i + 4 * R <= rows; i += 4 * R) subtractTile<R>(L + i, U, c + i, depth, n);
    for (int l = 0; l < columns; ++l) {
      subtractColumn(L + i, U + l * n, c + l * n + i, rows - i, depth, n);
    }
  }
  for (; j < width; ++j, U += n, c += n) subtractColumn(L, U, c, rows, depth, n);
}

void plainProduct(const double* L, const double* U, double* c, int rows, int width, int depth, int n) {
  subtractProduct<1>(L, U, c, rows, width, depth, n);
}

LIMBER_WIDE void wideProduct(const double* L, const double* U, double* c, int rows, int width, int depth,
                             int n) {
  subtractProduct<2>(L, U, c, rows, width, depth, n);
}

}  // namespace

void DenseLu::clear(int n) {
  n_ = rank_ = n;
  exchanges_.resize(0);
  value_.assign(n * n, 0.0);
}

// Brings the largest element of column k, from row k on, to row k. False if there is none.
bool DenseLu::pivot(int k, Ints* rows) {
  const double* const own = column(k);
  int best = k;
  double largest = 0.0;
  for (int i = k; i < n_; ++i) {
    const double size = std::fabs(own[i]);
    if (!(size > largest)) continue;
    largest = size;
    best = i;
  }
  if (best != k) {
    for (int j = 0; j < n_; ++j) std::swap(column(j)[k], column(j)[best]);
    std::swap((*rows)[k], (*rows)[best]);
  }
  return largest > 0.0;
}

// Exchanges column k, which has no pivot, with the last column that is not known to have none. That one may
// still lack the pivots of the panel from `from` to `to` - 1.
void DenseLu::postpone(int k, int from, int to) {
  if (k == --rank_) return;
  double* const last = column(rank_);
  for (int p = from; rank_ >= to && p < k; ++p) {
    subtractColumn(column(p) + p + 1, last + p, last + p + 1, n_ - p - 1, 1, n_);
  }
  std::swap_ranges(last, last + n_, column(k));
  exchanges_.push({k, rank_});
}

// Factors the columns from `from` to `to` - 1, whose earlier pivots have been subtracted.
void DenseLu::factorPanel(int from, int to, Ints* rows) {
  for (int k = from; k < std::min(to, rank_); ++k) {
    double* const own = column(k);
    while (k < rank_ && !pivot(k, rows)) postpone(k, from, to);
    if (k == rank_) return;
    for (int i = k + 1; i < n_; ++i) own[i] /= own[k];
    for (int j = k + 1; j < to; ++j)
      subtractColumn(own + k + 1, column(j) + k, column(j) + k + 1, n_ - k - 1, 1, n_);
  }
}

int DenseLu::factor(Ints* rows) {
  for (int from = 0; from < rank_; from += block) {
    const int to = std::min(from + block, n_);
    factorPanel(from, to, rows);
    // postponed columns are complete
    const int rest = rank_ - to;
    if (rest <= 0) continue;
    for (int j = to; j < rank_; ++j) {
      double* const other = column(j);
      for (int k = from; k < to; ++k) {
        subtractColumn(column(k) + k + 1, other + k, other + k + 1, to - k - 1, 1, n_);
      }
    }
    (useWideVectors() ? wideProduct : plainProduct)(column(from) + to, column(to) + from, column(to) + to,
                                                    n_ - to, rest, to - from, n_);
  }
  for (int k = rank_; k < n_; ++k) column(k)[k] = 1.0;
  return n_ - rank_;
}

void DenseLu::solveLower(double* x) const {
  for (int k = 0; k < n_; ++k) subtractColumn(column(k) + k + 1, x + k, x + k + 1, n_ - k - 1, 1, n_);
}

void DenseLu::solveUpper(double* x) const {
  for (int k = n_ - 1; k >= 0; --k) {
    x[k] /= column(k)[k];
    subtractColumn(column(k), x + k, x, k, 1, n_);
  }
  for (int e = exchanges_.size() - 1; e >= 0; --e) std::swap(x[exchanges_[e].first], x[exchanges_[e].second]);
}

}  // namespace limber::detail
