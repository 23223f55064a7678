#pragma once

/// @file
/// The entries of a matrix of any class.

class SpMat;

namespace limber::detail {

struct SparseRows;

/// What is known of a matrix before its entries are copied.
struct Extent {
  int height = 0, width = 0;
  /// The columns are known from the entries alone: there may be more, which are empty.
  bool open = false;
  /// The class is not one of the library's: there is nothing but its products.
  bool foreign = false;
  /// Entries have negative columns, or there are more than ints can count.
  bool damaged = false;
};

/// The sizes. `rows` is the length of the right-hand side, which replaces the height of a foreign class that
/// does not tell it. The entries of a row-sparse or sliced matrix are copied to find its width.
Extent extentOf(const SpMat& A, int rows, SparseRows* copied);

/// Copies the entries, or finishes the copy that extentOf began: sorted, those at the same place added up. A
/// foreign matrix is multiplied by the unit vectors. Throws std::bad_alloc.
void copyEntries(const SpMat& A, const Extent& extent, SparseRows* out);

}  // namespace limber::detail
