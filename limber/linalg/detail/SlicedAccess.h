#pragma once

/// @file
/// The rows inside a SlicedMatrix, for the rooms that copy them.

#include "limber/Api.h"

class SlicedMatrix;

namespace limber::detail {

class SlicedRows;

class LIMBER_HIDDEN SlicedAccess {
 public:
  /// Null for a matrix that had no memory.
  static const SlicedRows* rowsOf(const SlicedMatrix& A);
};

}  // namespace limber::detail
