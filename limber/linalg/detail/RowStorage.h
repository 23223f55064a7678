#pragma once

#include <climits>
#include <cmath>

#include "limber/linalg/SpVec.h"

namespace limber::detail {

/// Values of this magnitude or less are never stored.
inline constexpr double tiny = 1e-12;
inline bool isTiny(double x) { return std::fabs(x) <= tiny; }

/// The width of a row whose last entry is at `index`: one more, as long as an int can say so.
inline int widthBehind(int index) { return index < INT_MAX ? index + 1 : index; }

/// Whether a stored index lies inside a dense vector's storage. Its size does not matter: entries are taken
/// at the stored indices as they are.
inline bool inStorage(const Vector& v, int index) {
  return static_cast<unsigned>(index) < static_cast<unsigned>(v.capacity > 0 ? v.capacity : 0);
}

/// Sets the slot behind the last element to 0.0, where the storage has one. After SpVec::compact the width of
/// a row is its largest index, so a product reads that slot: it must not hold what an earlier product left.
inline void clearBehind(const Vector& v) {
  if (v.count >= 0 && v.count < v.capacity) v.data[v.count] = 0.0;
}

/// Empties the row after a failed allocation: none of its storage counts as promised any more.
void clearRow(SpVec& row);

/// Makes room for `room` values in an empty row, no more: rows stay close together in memory. A reallocation
/// all the same. False when there is no memory.
bool reserveValues(SpVec& row, int room);

/// Gives the index array exactly `room` ints, the stored ones kept; and the values at least `room` doubles.
/// False when there is no memory: the row is then empty.
bool setIndexRoom(SpVec& row, int room);
bool setValueRoom(SpVec& row, int room);

/// Makes room for one entry behind the last, as an append does (values and indices each grow in their own
/// steps), and brings both inner counts to numEntries. False when there is no memory: the row is then empty.
bool roomForAppend(SpVec& row);

/// Where a row's entries are stored, and how many fit.
struct RowSlots {
  double* values;
  int* indices;
  int room;
};

inline RowSlots slotsOf(const SpVec& row) {
  const int room = row.values.capacity < row.indices.capacity ? row.values.capacity : row.indices.capacity;
  return {row.values.data, row.indices.data, room};
}

/// The slots of the row, of which `count` are filled, after roomForAppend. No room at all when that failed.
RowSlots enlarged(SpVec& row, int count);

/// Appends entries to an empty row, entry by entry as SpVec::insEnd does, with what changes held in locals
/// (no function that is not inlined sees the writer): the row is up to date after finish().
class RowWriter {
 public:
  explicit RowWriter(SpVec& emptyRow) : row_(&emptyRow), slots_(slotsOf(emptyRow)) {}

  void append(double x, int i) {
    if (isTiny(x)) return;
    if (count_ == slots_.room && !makeRoom()) return;
    slots_.values[count_] = x;
    slots_.indices[count_] = i;
    ++count_;
  }

  void finish() {
    row_->numEntries = row_->values.count = row_->indices.count = count_;
    if (count_ > 0) row_->width = widthBehind(slots_.indices[count_ - 1]);
  }

 private:
  bool makeRoom() {
    if (failed_) return false;
    slots_ = enlarged(*row_, count_);
    failed_ = slots_.room == 0;
    if (failed_) count_ = 0;
    return !failed_;
  }

  SpVec* row_;
  RowSlots slots_;
  int count_ = 0;
  bool failed_ = false;
};

}  // namespace limber::detail
