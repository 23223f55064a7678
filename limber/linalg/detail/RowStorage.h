#pragma once

#include <climits>
#include <cmath>

#include "limber/linalg/SpVec.h"

namespace limber::detail {

/// Values of this magnitude or less are never stored.
inline constexpr double tiny = 1e-12;
inline bool isTiny(double x) { return std::fabs(x) <= tiny; }

/// lastIndex + 1, saturated at INT_MAX.
inline int widthFor(int lastIndex) { return lastIndex < INT_MAX ? lastIndex + 1 : lastIndex; }

/// True if a stored index lies inside a dense vector's storage. Products use every element inside the
/// storage, also those beyond the vector's count.
inline bool inStorage(const Vector& v, int index) {
  return static_cast<unsigned>(index) < static_cast<unsigned>(v.capacity > 0 ? v.capacity : 0);
}

/// Sets the slot after the last element to 0.0 if the storage has one. After SpVec::compact the width of a
/// row is its largest index, so a product reads that slot, which must not hold the result of an earlier
/// product.
inline void clearBehind(const Vector& v) {
  if (v.count >= 0 && v.count < v.capacity) v.data[v.count] = 0.0;
}

/// Makes room for exactly `room` values in an empty row, so that rows stay close together in memory. It
/// counts as a reallocation. False when there is no memory.
bool reserveValues(SpVec& row, int room);

/// Reallocates the indices to exactly `room` ints, and the values to at least `room` doubles. Both keep what
/// is stored. False when there is no memory: the row is then empty.
bool setIndexRoom(SpVec& row, int room);
bool setValueRoom(SpVec& row, int room);

/// Makes room for one more entry and sets both inner counts to numEntries. Values and indices each grow in
/// their own steps. False when there is no memory: the row is then empty.
bool roomForAppend(SpVec& row);

/// The places where a row's entries are stored, and how many fit.
struct RowSlots {
  double* values;
  int* indices;
  int room;
};

inline RowSlots slotsOf(const SpVec& row) {
  const int room = row.values.capacity < row.indices.capacity ? row.values.capacity : row.indices.capacity;
  return {row.values.data, row.indices.data, room};
}

/// Sets the number of entries to `count`, makes room for one more and returns the slots; without slots if
/// that fails.
RowSlots enlarged(SpVec& row, int count);

/// Appends entries to an empty row, as SpVec::insEnd does one by one. The counts stay in the writer, so that
/// the compiler can keep them in registers; finish() stores them in the row.
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
    if (count_ > 0) row_->width = widthFor(slots_.indices[count_ - 1]);
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
