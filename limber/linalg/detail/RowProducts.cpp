#include "limber/linalg/detail/RowProducts.h"

#include <algorithm>
#include <cstdint>

#include "limber/linalg/detail/Pieces.h"
#include "limber/linalg/detail/RowStorage.h"

namespace limber::detail {
namespace {

// Asks for rows ahead of their turn. A row made in one go lies in consecutive lines of the cache: the three
// hold the object and, for a short row, its entries. Few rows stay in the nearer caches: there asking only
// costs.
class Ahead {
 public:
  Ahead(SpVec* const* rows, int n) : rows_(rows), last_(n - distanceFor(n)), distance_(distanceFor(n)) {}

  // Always inlined: g++ takes a function that only asks for lines as one without effects, and drops its
  // calls.
  [[gnu::always_inline]] inline void fetch(int i) const {
    if (i >= last_) return;
    // no pointer arithmetic: the lines may lie behind the object
    const auto object = reinterpret_cast<std::uintptr_t>(rows_[i + distance_]);
    __builtin_prefetch(reinterpret_cast<const void*>(object));
    __builtin_prefetch(reinterpret_cast<const void*>(object + 64));
    __builtin_prefetch(reinterpret_cast<const void*>(object + 128));
  }

 private:
  static int distanceFor(int n) { return n < 4096 ? n : n < 65536 ? 16 : 64; }

  SpVec* const* rows_;
  int last_, distance_;
};

// A row's arrays; a null row has no entries.
struct View {
  int entries = 0;
  const double* values = nullptr;
  const int* indices = nullptr;

  explicit View(const SpVec* row) {
    if (!row) return;
    entries = row->numEntries;
    values = row->values.data;
    indices = row->indices.data;
  }

  unsigned index(int k) const { return static_cast<unsigned>(indices[k]); }
};

// Visits `count` entries from k on; false, with k at the entry, when one has an index that is not below the
// room. A negative index is beyond any room.
template <int count, class Visit>
[[gnu::always_inline]] inline bool visit(const View& row, int& k, unsigned room, Visit each) {
#pragma GCC unroll 16
  for (int n = 0; n < count; ++n, ++k) {
    const unsigned j = row.index(k);
    if (__builtin_expect(j >= room, false)) return false;
    each(j, row.values[k]);
  }
  return true;
}

// Visits the leading entries of which all lie below the room, in order; how many these are.
template <class Visit>
[[gnu::always_inline]] inline int visitRow(const View& row, unsigned room, Visit each) {
  int k = 0;
  inPieces(row.entries, [&](auto count) { return visit<decltype(count)::value>(row, k, room, each); });
  return k;
}

// sum + the entries from k on that lie inside the room.
[[gnu::noinline]] double sumRest(View row, int k, double sum, const double* x, unsigned room) {
  for (; k < row.entries; ++k) {
    const unsigned j = row.index(k);
    if (j < room) sum += x[j] * row.values[k];
  }
  return sum;
}

// y = the sums over rows from ... to - 1.
void sumRows(SpVec* const* rows, int from, int to, const Ahead& ahead, const Vector& x, double* y) {
  const double* const xs = x.data;
  const unsigned room = static_cast<unsigned>(x.capacity > 0 ? x.capacity : 0);
  for (int i = from; i < to; ++i) {
    ahead.fetch(i);
    const View row(rows[i]);
    double sum = 0.0;
    const int k = visitRow(row, room, [&sum, xs](unsigned j, double value) { sum += xs[j] * value; });
    y[i] = k < row.entries ? sumRest(row, k, sum, xs, room) : sum;
  }
}

int widthOf(SpVec* const* rows, int n) {
  int width = 0;
  for (int i = 0; i < n; ++i) {
    if (rows[i]) width = std::max(width, rows[i]->width);
  }
  return width;
}

// The result of a transposed product: the widths of the rows seen so far, and the slots of y in use.
struct Progress {
  int width = 0;
  int cleared = 0;
  bool complete = false;  // the width is that of all rows
};

// Clears y as far as `width`. False when there is no memory. `more` rows are to come.
[[gnu::noinline]] bool widen(int width, SpVec* const* rows, int more, Vector& y, Progress& done) {
  if (width > done.width) done.width = width;
  if (done.width <= done.cleared) return true;
  if (done.width > y.capacity) {
    // one reallocation, to the final width; it keeps what is in use
    done.width = std::max(done.width, widthOf(rows, more));
    y.count = done.cleared;
    y.grow(done.width);
    if (y.count < done.width) return false;
  }
  std::fill(y.data + done.cleared, y.data + done.width, 0.0);
  done.cleared = done.width;
  return true;
}

// The last rows of a banded matrix are the widest: with them seen first, hardly a row widens y.
bool begin(SpVec* const* rows, int n, Vector& y, Progress& done) {
  const int few = std::min(n, 16);
  return few <= 0 || widen(widthOf(rows + n - few, few), rows, n, y, done);
}

void finish(Vector& y, const Progress& done) {
  y.count = done.width;
  clearBehind(y);
}

// y[index] += s value for the entries from k on that lie inside the width of the whole matrix. The rows of a
// matrix that SpVec::compact has shortened have an entry behind it.
[[gnu::noinline]] void addRest(const SpVec* row, int k, double s, const Vector& y, const Progress& done) {
  for (; k < row->numEntries; ++k) {
    const int j = row->indices.data[k];
    if (j >= 0 && j < done.width) y.data[j] += s * row->values.data[k];
  }
}

// The plain case of addRows: rows from i on, up to the first one that is wider than y or has an entry beyond
// it. That row's number, and how many of its entries are added.
struct Stop {
  int row, entries;
};

Stop addPlainRows(SpVec* const* rows, int i, int to, const Ahead& ahead, const double* x, double* ys,
                  const Progress& done) {
  const int width = done.width;
  const unsigned room = static_cast<unsigned>(done.cleared);
  for (; i < to; ++i) {
    ahead.fetch(i);
    const SpVec* const row = rows[i];
    if (!row) continue;
    if (row->width > width) return {i, 0};
    const double s = x[i];
    if (isTiny(s)) continue;
    const View view(row);
    const int added = visitRow(view, room, [s, ys](unsigned j, double value) { ys[j] += s * value; });
    if (added < view.entries) return {i, added};
  }
  return {to, 0};
}

// y += the rows from ... to - 1, each times its x. One pass finds the width and adds the rows up: fetching a
// row is what costs. False when y has no room.
bool addRows(SpVec* const* rows, int n, int from, int to, const Ahead& ahead, const double* x, int xs,
             Vector& y, Progress& done) {
  const int valued = std::min(to, xs);
  for (int i = from; i < to; ++i) {
    int added = 0;
    if (i < valued) {
      const Stop stop = addPlainRows(rows, i, valued, ahead, x, y.data, done);
      i = stop.row;
      added = stop.entries;
      if (i == to) break;
    }
    if (!rows[i]) continue;
    if (rows[i]->width > done.width && !widen(rows[i]->width, rows + i, n - i, y, done)) return false;
    if (i >= valued || isTiny(x[i]) || added == rows[i]->numEntries) continue;
    // an entry beyond the width so far may lie inside that of the rows to come
    if (!done.complete && !widen(widthOf(rows + i, n - i), rows + i, n - i, y, done)) return false;
    done.complete = true;
    addRest(rows[i], added, x[i], y, done);
  }
  return true;
}

}  // namespace

void rowsTimesVector(SpVec* const* rows, int n, const Vector& x, double* y) {
  sumRows(rows, 0, n, Ahead(rows, n), x, y);
}

void transposedRowsTimesVector(SpVec* const* rows, int n, const double* x, int xs, Vector& y) {
  const Ahead ahead(rows, n);
  Progress done;
  if (begin(rows, n, y, done) && addRows(rows, n, 0, n, ahead, x, xs, y, done)) finish(y, done);
}

void normalRowsTimesVector(SpVec* const* rows, int n, const Vector& x, double shift, Vector& t, Vector& y) {
  // few enough rows to be still in the cache when they are added up
  constexpr int block = 256;
  t.grow(n > 0 ? n : 0);
  clearBehind(t);
  const Ahead ahead(rows, n), none(rows, 0);
  Progress done;
  if (!begin(rows, n, y, done)) return;
  for (int from = 0; from < n; from += block) {
    const int to = std::min(from + block, n);
    const int counted = std::min(to, t.count);
    sumRows(rows, from, counted, ahead, x, t.data);
    if (shift != 0.0) {
      for (int i = from; i < counted; ++i) t.data[i] += shift;
    }
    if (!addRows(rows, n, from, to, none, t.data, t.count, y, done)) return;
  }
  finish(y, done);
}

}  // namespace limber::detail
