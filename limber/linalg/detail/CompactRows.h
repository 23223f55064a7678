#pragma once

/// @file
/// What every conversion to the row-sparse form shares: the threshold, the entry counter, and the result
/// matrix with its pool of rows.

class HSpMat;
class SpVec;

namespace limber::detail {

/// Appends value (plus diagAdd where i = j) as entry j of row i and counts it, unless it is below 1e-12 in
/// magnitude.
void appendCompacted(SpVec& row, int i, int j, double value, double diagAdd);

/// Entries counted since the shared result last started anew, FullMatrix::compact's included.
long compactedEntries();

/// Fills one row of the image: calls appendCompacted for each entry of row i, in ascending order.
class RowSource {
 public:
  virtual void appendRow(int i, SpVec& row) const = 0;

 protected:
  ~RowSource() = default;
};

/// naiveCompact for a matrix of `height` rows that come from `source`.
HSpMat* compactRows(int height, const RowSource& source, int reset);

}  // namespace limber::detail
