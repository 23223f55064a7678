#pragma once

#include "limber/linalg/SpVec.h"

namespace limber::detail {

/// Values of this magnitude or less are never stored.
inline bool isTiny(double x) { return x >= -1e-12 && x <= 1e-12; }

/// Whether a stored index lies inside a dense vector's storage. Its size does not matter: entries are taken
/// at the stored indices as they are.
inline bool inStorage(const Vector& v, int index) {
  return static_cast<unsigned>(index) < static_cast<unsigned>(v.capacity > 0 ? v.capacity : 0);
}

/// Empties the row after a failed allocation: none of its storage counts as promised any more.
void clearRow(SpVec& row);

/// Gives the index array exactly `room` ints, the stored ones kept; and the values at least `room` doubles.
/// False when there is no memory: the row is then empty.
bool setIndexRoom(SpVec& row, int room);
bool setValueRoom(SpVec& row, int room);

/// Makes room for one entry behind the last, as an append does (values and indices each grow in their own
/// steps), and brings both inner counts to numEntries. False when there is no memory: the row is then empty.
bool roomForAppend(SpVec& row);

/// Appends entries to an empty row, entry by entry as SpVec::insEnd does, with what changes held in locals:
/// the row is up to date after finish().
class RowWriter {
 public:
  explicit RowWriter(SpVec& emptyRow) : row_(emptyRow) { attach(); }

  void append(double x, int i) {
    if (isTiny(x)) return;
    if (count_ == room_ && !makeRoom()) return;
    values_[count_] = x;
    indices_[count_] = i;
    ++count_;
  }

  void finish() {
    row_.numEntries = row_.values.count = row_.indices.count = count_;
    if (count_ > 0) row_.width = indices_[count_ - 1] + 1;
  }

 private:
  void attach();
  bool makeRoom();

  SpVec& row_;
  double* values_;
  int* indices_;
  int count_ = 0;
  int room_;
  bool failed_ = false;
};

}  // namespace limber::detail
