#include "limber/linalg/detail/RowProducts.h"

#include <algorithm>
#include <cstdint>

#include "limber/linalg/detail/RowStorage.h"
#include "limber/linalg/detail/UnrolledLoop.h"

// The plain product is: clear the result, then add up the entries of row after row. Rows are objects of their
// own, so fetching them from memory is what takes time once they are many. Four things make it faster. The
// gains were measured on an AMD EPYC with 2 MB of second-level cache:
// - RowPrefetcher asks for later rows: 20 % for products of 200000 rows of 5 entries. It costs 7 % for 20000
//   rows.
// - The width of a transposed product is found while its rows are added, because a separate pass would fetch
//   each row twice: 27 % for 200000 rows.
// - Entries of transposed products are added in unrolled blocks (UnrolledLoop.h): 8 % for 30 entries per row.
//   Plain products gain 3 %, so they go without.
// - A^T (A x) is computed in blocks of rows that are still in the cache: 38 % for 200000 rows.

namespace limber::detail {
namespace {

// Prefetches three cache lines of a later row. A row allocated all at once lies in consecutive lines, which
// hold the object and, for a short row, its entries. Off below 65536 rows, because these mostly stay in a
// cache.
class RowPrefetcher {
 public:
  RowPrefetcher(SpVec* const* rows, int n) : rows_(rows), last_(n < 65536 ? 0 : n - distance) {}

  // Always inlined: g++ considers a function that only prefetches to have no effects, and drops its calls.
  [[gnu::always_inline]] inline void fetch(int i) const {
    if (i >= last_) return;
    // no pointer arithmetic: the lines may be outside the object
    const auto object = reinterpret_cast<std::uintptr_t>(rows_[i + distance]);
    __builtin_prefetch(reinterpret_cast<const void*>(object));
    __builtin_prefetch(reinterpret_cast<const void*>(object + 64));
    __builtin_prefetch(reinterpret_cast<const void*>(object + 128));
  }

 private:
  static constexpr int distance = 64;

  SpVec* const* rows_;
  int last_;
};

// Computes y[i] for the rows from ... to - 1.
void sumRows(SpVec* const* rows, int from, int to, const RowPrefetcher& prefetcher, const Vector& x,
             double* y) {
  for (int i = from; i < to; ++i) {
    prefetcher.fetch(i);
    y[i] = rows[i] ? rowTimesVector(*rows[i], x) : 0.0;
  }
}

int widthOf(SpVec* const* rows, int n) {
  int width = 0;
  for (int i = 0; i < n; ++i) {
    if (rows[i]) width = std::max(width, rows[i]->width);
  }
  return width;
}

// The result y of a transposed product while rows are added to it. Its width is the largest width of the rows
// seen so far; the slots below the width are cleared.
class TransposedSum {
 public:
  TransposedSum(SpVec* const* rows, int n, Vector& y) : rows_(rows), n_(n), y_(y) {}

  // Begins with the width of the last rows, which are the widest of a banded matrix, so that few rows widen
  // y. begin() and add() return false when there is no memory.
  bool begin() {
    const int few = std::min(n_, 16);
    return few <= 0 || widen(widthOf(rows_ + n_ - few, few), 0);
  }

  // y[index] += x[i] value over the entries of the rows from ... to - 1. Rows from number `values` on only
  // count for the width.
  bool add(int from, int to, const RowPrefetcher& prefetcher, const double* x, int values) {
    while (from < to) {
      int added = 0;
      from = addPlainRows(from, std::min(to, values), prefetcher, x, y_.data, width_, added);
      if (from >= to) break;
      if (rows_[from] && !addRow(from, from < values ? x[from] : 0.0, added)) return false;
      ++from;
    }
    return true;
  }

  void finish() {
    y_.count = width_;
    clearBehind(y_);
  }

 private:
  // Adds the rows i ... to - 1. Stops at the first row that is wider than y or has an entry outside its
  // width, after `added` of its entries, and returns the number of that row. Everything that a row needs is a
  // local variable here, which takes a quarter less time for rows of few entries.
  int addPlainRows(int i, int to, const RowPrefetcher& prefetcher, const double* x, double* y, int width,
                   int& added) const {
    SpVec* const* const rows = rows_;
    const RowPrefetcher ahead = prefetcher;
    for (; i < to; ++i) {
      ahead.fetch(i);
      const SpVec* const row = rows[i];
      if (!row) continue;
      if (row->width > width) return i;
      const double s = x[i];
      if (isTiny(s)) continue;
      const int done = addEntries(*row, s, y, static_cast<unsigned>(width));
      if (done < row->numEntries) {
        added = done;
        return i;
      }
    }
    return i;
  }

  // Adds the entries of row i, a row of any kind, from k on.
  bool addRow(int i, double s, int k) {
    const SpVec& row = *rows_[i];
    if (row.width > width_ && !widen(row.width, i)) return false;
    if (isTiny(s)) return true;
    if (k == 0) k = addEntries(row, s, y_.data, static_cast<unsigned>(width_));
    return k >= row.numEntries || addRest(row, k, s, i);
  }

  // Adds the leading entries whose indices all lie below `room`. Returns their number.
  [[gnu::always_inline]] static inline int addEntries(const SpVec& row, double s, double* y, unsigned room) {
    const int* const indices = row.indices.data;
    const double* const values = row.values.data;
    int k = 0;
    inUnrolledBlocks(row.numEntries, [&](auto count) {
#pragma GCC unroll 16
      for (int step = 0; step < decltype(count)::value; ++step, ++k) {
        const unsigned j = static_cast<unsigned>(indices[k]);
        if (__builtin_expect(j >= room, false)) return false;
        y[j] += s * values[k];
      }
      return true;
    });
    return k;
  }

  // Adds the entries of row i from k on that lie inside the width of the whole matrix. Entries can lie
  // outside the current width if their row is not in ascending order or if SpVec::compact has reduced its
  // width.
  [[gnu::noinline]] bool addRest(const SpVec& row, int k, double s, int i) {
    if (!complete_ && !widen(widthOf(rows_ + i, n_ - i), i)) return false;
    complete_ = true;
    for (; k < row.numEntries; ++k) {
      const int j = row.indices.data[k];
      if (j >= 0 && j < width_) y_.data[j] += s * row.values.data[k];
    }
    return true;
  }

  // Clears y up to `width`. Row i is the first one that has not been added yet.
  [[gnu::noinline]] bool widen(int width, int i) {
    width = std::max(width, width_);
    if (width > y_.capacity) {
      // one reallocation, to the final width; it keeps what is in use
      width = std::max(width, widthOf(rows_ + i, n_ - i));
      y_.count = width_;
      y_.grow(width);
      if (y_.count < width) return false;
    }
    std::fill(y_.data + width_, y_.data + width, 0.0);
    width_ = width;
    return true;
  }

  SpVec* const* const rows_;
  const int n_;
  Vector& y_;
  int width_ = 0;
  // True when the width covers all rows.
  bool complete_ = false;
};

}  // namespace

void rowsTimesVector(SpVec* const* rows, int n, const Vector& x, double* y) {
  sumRows(rows, 0, n, RowPrefetcher(rows, n), x, y);
}

void transposedRowsTimesVector(SpVec* const* rows, int n, const double* x, int xs, Vector& y) {
  TransposedSum sum(rows, n, y);
  if (sum.begin() && sum.add(0, n, RowPrefetcher(rows, n), x, xs)) sum.finish();
}

void normalRowsTimesVector(SpVec* const* rows, int n, const Vector& x, double shift, Vector& t, Vector& y) {
  // few enough rows to be still in the cache when they are added up
  constexpr int block = 256;
  t.grow(n > 0 ? n : 0);
  clearBehind(t);
  const RowPrefetcher prefetcher(rows, n), none(rows, 0);
  TransposedSum sum(rows, n, y);
  if (!sum.begin()) return;
  for (int from = 0; from < n; from += block) {
    const int to = std::min(from + block, n);
    const int counted = std::min(to, t.count);
    sumRows(rows, from, counted, prefetcher, x, t.data);
    if (shift != 0.0) {
      for (int i = from; i < counted; ++i) t.data[i] += shift;
    }
    if (!sum.add(from, to, none, t.data, t.count)) return;
  }
  sum.finish();
}

}  // namespace limber::detail
