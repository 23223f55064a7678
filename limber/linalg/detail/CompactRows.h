#pragma once

/// @file
/// What every conversion to the row-sparse form shares: the threshold, the entry counter, and the result
/// matrix with its pool of rows.

#include <functional>

class HSpMat;
class SpVec;

namespace limber::detail {

/// Appends value (plus diagAdd if i = j) as entry j of row i and counts it, unless its magnitude is below
/// 1e-12.
void appendCompacted(SpVec& row, int i, int j, double value, double diagAdd);

/// The number of entries counted since the shared result was last reset, including those of
/// FullMatrix::compact.
long compactedEntries();

/// naiveCompact for a matrix of `height` rows: appendRow(i, row) calls appendCompacted for each entry of row
/// i, in ascending order.
HSpMat* compactRows(int height, const std::function<void(int i, SpVec& row)>& appendRow, int reset);

/// The same for any matrix, element by element.
template <class Matrix>
HSpMat* compactElements(Matrix& m, double diagAdd, int reset) {
  const auto appendRow = [&m, width = m.width(), diagAdd](int i, SpVec& row) {
    for (int j = 0; j < width; ++j) appendCompacted(row, i, j, m.acc(i, j), diagAdd);
  };
  return compactRows(m.height(), std::cref(appendRow), reset);
}

}  // namespace limber::detail
