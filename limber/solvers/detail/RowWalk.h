#pragma once

namespace limber::detail {

/// The entries of some rows with the same indices, and the panel that they meet: an array with `lanes` places
/// side by side for each column.
struct RowWalk {
  static constexpr int lanes = 8;
  static constexpr int maxRows = 4;

  const int* indices;
  int begin, end;
  const double* values[maxRows];  ///< the values of each row
  const double* weights;          ///< may be null
  unsigned known;                 ///< number of weights; weights after them count as 0
  const double* panel;
  int lowest;  ///< the panel's first column
};

/// sums[r][k] = the sum over the entries of row r, in their order and from 0.0, of (weight times) value times
/// place k of the panel's column, for all r below `count`. Uses 256-bit vectors where the machine has them,
/// with the same bits.
void walkRows(const RowWalk& walk, int count, double (*sums)[RowWalk::lanes]);

}  // namespace limber::detail
