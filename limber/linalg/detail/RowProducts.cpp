#include "limber/linalg/detail/RowProducts.h"

#include <algorithm>

#include "limber/linalg/detail/RowStorage.h"

namespace limber::detail {
namespace {

// How far ahead the row objects and, nearer, their arrays are asked for.
constexpr int objectsAhead = 16;
constexpr int arraysAhead = 8;

void fetchObject(const SpVec* row) {
  if (!row) return;
  __builtin_prefetch(row);
  __builtin_prefetch(&row->indices.data);
}

void fetchArrays(const SpVec* row) {
  if (!row) return;
  __builtin_prefetch(row->values.data);
  __builtin_prefetch(row->indices.data);
}

// Asks for what comes after rows i ... i + taken - 1.
void fetchAhead(SpVec* const* rows, int n, int i, int taken) {
  if (n - i < objectsAhead + taken) return;
  for (int r = 0; r < taken; ++r) {
    fetchObject(rows[i + objectsAhead + r]);
    fetchArrays(rows[i + arraysAhead + r]);
  }
}

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

// sum + the entries from k on. A negative index is beyond any room.
double addFrom(const View& row, int k, double sum, const double* x, unsigned room) {
  for (; k < row.entries; ++k) {
    const unsigned j = row.index(k);
    if (j < room) sum += x[j] * row.values[k];
  }
  return sum;
}

int widthOf(SpVec* const* rows, int n) {
  int width = 0;
  for (int i = 0; i < n; ++i) {
    if (rows[i]) width = std::max(width, rows[i]->width);
  }
  return width;
}

// y[index] += s value for every entry inside the storage. The leading `cleared` slots are in use; an entry
// beyond them clears the slots up to its own first.
void addScaled(const View& row, double s, Vector& y, int& cleared) {
  double* const ys = y.data;
  unsigned room = static_cast<unsigned>(cleared);
  for (int k = 0; k < row.entries; ++k) {
    const unsigned j = row.index(k);
    if (j >= room) {
      if (!inStorage(y, row.indices[k])) continue;
      std::fill(ys + room, ys + j + 1, 0.0);
      room = j + 1;
      cleared = static_cast<int>(room);
    }
    ys[j] += s * row.values[k];
  }
}

}  // namespace

void rowsTimesVector(SpVec* const* rows, int n, const Vector& x, double* y) {
  const double* const xs = x.data;
  const unsigned room = static_cast<unsigned>(x.capacity > 0 ? x.capacity : 0);
  // Four rows side by side as far as the shortest goes: each sum waits for its own additions only.
  constexpr int side = 4;
  int i = 0;
  for (; i + side <= n; i += side) {
    fetchAhead(rows, n, i, side);
    const View a(rows[i]), b(rows[i + 1]), c(rows[i + 2]), d(rows[i + 3]);
    const int common = std::min({a.entries, b.entries, c.entries, d.entries});
    double sumA = 0.0, sumB = 0.0, sumC = 0.0, sumD = 0.0;
    int k = 0;
    for (; k < common; ++k) {
      const unsigned ja = a.index(k), jb = b.index(k), jc = c.index(k), jd = d.index(k);
      if (ja >= room || jb >= room || jc >= room || jd >= room) break;
      sumA += xs[ja] * a.values[k];
      sumB += xs[jb] * b.values[k];
      sumC += xs[jc] * c.values[k];
      sumD += xs[jd] * d.values[k];
    }
    y[i] = addFrom(a, k, sumA, xs, room);
    y[i + 1] = addFrom(b, k, sumB, xs, room);
    y[i + 2] = addFrom(c, k, sumC, xs, room);
    y[i + 3] = addFrom(d, k, sumD, xs, room);
  }
  for (; i < n; ++i) y[i] = addFrom(View(rows[i]), 0, 0.0, xs, room);
}

namespace {

// The part of a transposed product that is done: the width seen so far and the slots of y in use.
struct Progress {
  int width = 0;
  int cleared = 0;
};

// y += the rows from ... to - 1, each times its x. One pass finds the width and adds the rows up: fetching a
// row is what costs. Slots are cleared as far as the widths seen so far reach. False when y has no room.
bool addRows(SpVec* const* rows, int n, int from, int to, const double* x, int xs, Vector& y,
             Progress& done) {
  for (int i = from; i < to; ++i) {
    fetchAhead(rows, n, i, 1);
    if (!rows[i]) continue;
    if (rows[i]->width > done.width) done.width = rows[i]->width;
    if (done.width > done.cleared) {
      if (done.width > y.capacity) {
        // one reallocation, to the final width; it keeps what is in use
        done.width = std::max(done.width, widthOf(rows + i, n - i));
        y.count = done.cleared;
        y.grow(done.width);
        if (y.count < done.width) return false;
      }
      std::fill(y.data + done.cleared, y.data + done.width, 0.0);
      done.cleared = done.width;
    }
    if (i < xs && !isTiny(x[i])) addScaled(View(rows[i]), x[i], y, done.cleared);
  }
  return true;
}

}  // namespace

void transposedRowsTimesVector(SpVec* const* rows, int n, const double* x, int xs, Vector& y) {
  Progress done;
  if (addRows(rows, n, 0, n, x, xs, y, done)) y.count = done.width;
}

void normalRowsTimesVector(SpVec* const* rows, int n, const Vector& x, double shift, Vector& t, Vector& y) {
  // few enough rows to be still in the cache when they are added up
  constexpr int block = 256;
  t.grow(n > 0 ? n : 0);
  Progress done;
  for (int from = 0; from < n; from += block) {
    const int to = std::min(from + block, n);
    const int counted = std::min(to, t.count);
    if (counted > from) rowsTimesVector(rows + from, counted - from, x, t.data + from);
    if (shift != 0.0) {
      for (int i = from; i < counted; ++i) t.data[i] += shift;
    }
    if (!addRows(rows, n, from, to, t.data, t.count, y, done)) return;
  }
  y.count = done.width;
}

}  // namespace limber::detail
