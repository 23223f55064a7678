#include "limber/linalg/detail/RowStorage.h"

#include <algorithm>
#include <new>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/detail/ResizeStatistics.h"

namespace limber::detail {

namespace {

// Empties the row after a failed allocation.
void clearRow(SpVec& row) {
  row.zero();
  row.maxEntries = 0;
}

}  // namespace

bool setIndexRoom(SpVec& row, int room) {
  IntVec& indices = row.indices;
  int* bigger = new (std::nothrow) int[static_cast<std::size_t>(std::max(room, 0))];
  if (!bigger) {
    ReportSite{"Vectors", __LINE__}.fatal(newFails);
    clearRow(row);
    return false;
  }
  if (indices.data) std::copy_n(indices.data, std::min(row.numEntries, indices.capacity), bigger);
  delete[] indices.data;
  indices.data = bigger;
  indices.capacity = std::max(room, 0);
  return true;
}

bool reserveValues(SpVec& row, int room) {
  if (room <= row.values.capacity) return true;
  countVectorResize(room, row.values.capacity);
  row.values.~Vector();
  new (&row.values) Vector(0, room);
  if (row.values.capacity >= room) return true;
  clearRow(row);
  return false;
}

bool setValueRoom(SpVec& row, int room) {
  row.values.resize(room);
  if (row.values.capacity >= room) return true;
  clearRow(row);
  return false;
}

bool roomForAppend(SpVec& row) {
  const int n = row.numEntries;
  row.values.count = row.indices.count = n;
  if (n >= row.indices.capacity && !setIndexRoom(row, 2 * n + 6)) return false;
  return n < row.values.capacity || setValueRoom(row, n + 1);
}

RowSlots enlarged(SpVec& row, int count) {
  row.numEntries = count;
  return roomForAppend(row) ? slotsOf(row) : RowSlots{nullptr, nullptr, 0};
}

}  // namespace limber::detail
