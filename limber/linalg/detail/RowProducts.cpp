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

void transposedRowsTimesVector(SpVec* const* rows, int n, const double* x, int xs, Vector& y) {
  // One pass finds the width and adds the rows up: fetching a row is what costs. Slots are cleared as far as
  // the widths seen so far reach.
  int width = 0;
  int cleared = 0;
  for (int i = 0; i < n; ++i) {
    fetchAhead(rows, n, i, 1);
    if (!rows[i]) continue;
    if (rows[i]->width > width) width = rows[i]->width;
    if (width > cleared) {
      if (width > y.capacity) {
        // one reallocation, to the final width; it keeps what is in use
        width = std::max(width, widthOf(rows + i, n - i));
        y.count = cleared;
        y.grow(width);
        if (y.count < width) return;
      }
      std::fill(y.data + cleared, y.data + width, 0.0);
      cleared = width;
    }
    if (i < xs && !isTiny(x[i])) addScaled(View(rows[i]), x[i], y, cleared);
  }
  y.count = width;
}

}  // namespace limber::detail
