#pragma once

/// @file
/// The entries of a matrix of any class.

class SpMat;

namespace limber::detail {

struct SparseRows;

/// What is known about a matrix before its entries are copied.
struct Extent {
  int height = 0, width = 0;
  /// The width is known only from the entries; there may be more columns, which are empty.
  bool open = false;
  /// The class is not one of the library's, so only its products are available.
  bool foreign = false;
  /// Some entries have negative columns, or there are more entries than an int can count.
  bool damaged = false;
};

/// The sizes of A, and a copy of its entries unless the class is foreign. `rows` is the length of the
/// right-hand side, which is used as the height of a foreign class that does not know its own.
Extent extentOf(const SpMat& A, int rows, SparseRows* copied);

/// Completes the copy that extentOf began: sorts the entries and adds up those at the same place. A foreign
/// matrix is multiplied by the unit vectors. Throws std::bad_alloc.
void copyEntries(const SpMat& A, const Extent& extent, SparseRows* out);

}  // namespace limber::detail
