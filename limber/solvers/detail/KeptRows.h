#pragma once

/// @file
/// Storage for the rows that a solve multiplies by, kept between solves.

#include <memory>

#include "limber/linalg/detail/SlicedRows.h"

namespace limber::detail {

/// Owns a SlicedRows once it is used. Its storage is that of an earlier solve, if no other solve has it, and
/// is kept for a later one, unless it has more than 2^20 entries (12 MB). New memory from the system costs as
/// much as ten products.
class KeptRows {
 public:
  KeptRows() = default;
  ~KeptRows();
  KeptRows(const KeptRows&) = delete;
  KeptRows& operator=(const KeptRows&) = delete;

  /// Copies rows as SlicedRows::copy does. Throws std::bad_alloc.
  void copy(const int* starts, const int* indices, const double* values, int n, int width);
  /// The copy, or null if there is none.
  const SlicedRows* get() const { return rows_.get(); }

 private:
  std::unique_ptr<SlicedRows> rows_;
};

}  // namespace limber::detail
