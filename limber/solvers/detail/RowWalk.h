#pragma once

namespace limber::detail {

/// The entries of some rows with the same indices that meet a panel: an array with `lanes` places side by
/// side for each column.
struct RowWalk {
  static constexpr int lanes = 8;
  static constexpr int most = 4;

  const int* indices;
  int begin, end;
  const double* values[most];  ///< of each row
  const double* weights;       ///< null: none
  unsigned known;              ///< weights there are; others count as 0
  const double* panel;
  int lowest;  ///< the panel's first column
};

/// sums[r][k] = sum of (weight times) entry times place k of the panel's column, for r below `count`, from
/// 0.0 in the order of the entries. Runs the wide form where the machine has it.
void walkRows(const RowWalk& walk, int count, double (*sums)[RowWalk::lanes]);

/// Its two forms, which give the same bits. The second needs machineHasWideVectors().
void walkRowsPlain(const RowWalk& walk, int count, double (*sums)[RowWalk::lanes]);
void walkRowsWide(const RowWalk& walk, int count, double (*sums)[RowWalk::lanes]);

}  // namespace limber::detail
