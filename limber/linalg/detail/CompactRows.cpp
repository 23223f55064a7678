#include "limber/linalg/detail/CompactRows.h"

#include <cmath>
#include <new>

#include "limber/foundation/ClockPtr.h"
#include "limber/foundation/List.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"

namespace limber::detail {
namespace {

constexpr int firstRows = 2000;
constexpr int entriesPerRow = 200;

HSpMat* result = nullptr;
List<SpVec*> pool;    // every row that was ever allocated; none is released
List<SpVec*> cursor;  // the place in the pool of the next row to use
long entries = 0;

void addRows(int n) {
  for (int k = 0; k < n; ++k) {
    SpVec* const row = new (std::nothrow) SpVec(entriesPerRow);
    const ConsCell* const before = pool.cell;
    if (row) pool.add(row);
    if (!row || pool.cell == before) {
      if (!row) ReportSite{"Vectors", __LINE__}.fatal(newFails);
      delete row;
      return;
    }
  }
}

// Returns the next row of the pool, emptied. When the cursor has reached the end, new rows are added at the
// front of the pool. Null when an allocation failed.
SpVec* takeRow() {
  if (cursor.end()) cursor = pool;
  SpVec* const row = cursor.head();
  ++cursor;
  if (row) row->zero();
  return row;
}

bool makeResult() {
  if (!result) {
    result = new (std::nothrow) HSpMat(firstRows);
    if (!result) {
      ReportSite{"Vectors", __LINE__}.fatal(newFails);
      return false;
    }
    result->clear();
  }
  return true;
}

}  // namespace

void appendCompacted(SpVec& row, int i, int j, double value, double diagAdd) {
  if (i == j) value += diagAdd;
  if (!(std::fabs(value) >= 1e-12)) return;
  row.insEnd(value, j);
  ++entries;
}

long compactedEntries() { return entries; }

HSpMat* compactRows(int height, const std::function<void(int i, SpVec& row)>& appendRow, int reset) {
  if (!makeResult()) return nullptr;
  const int available = reset ? pool.count() : cursor.count();
  if (available < height) addRows(2 * (height - available));
  if (reset) {
    ncompact_clock.start();
    cursor = pool;
    result->clear();
    entries = 0;
  }
  for (int i = 0; i < height; ++i) {
    // The height grows with each added row, so row i exists if the result already had more than i rows.
    SpVec* const row = i >= result->height() ? takeRow() : result->row(i);
    if (!row) break;
    appendRow(i, *row);
    result->add(row);
  }
  if (reset) ncompact_clock.stop();
  return result;
}

}  // namespace limber::detail
