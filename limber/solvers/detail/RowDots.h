#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>

#include "limber/linalg/HSpMat.h"
#include "limber/solvers/detail/RowWalk.h"

class Vector;

namespace limber::detail {

/// Finds runs of rows with the same indices, such as the constraints of one frame.
class IndexRuns {
 public:
  explicit IndexRuns(const HSpMat& matrix);
  /// Number of rows from j on that have the indices of row j. 0 for a row that must be merged, because it is
  /// empty, its indices are not ascending, or there was no memory to find out.
  int at(int j) const { return lengths_ ? lengths_[static_cast<std::size_t>(j)] : 0; }

 private:
  std::unique_ptr<int[]> lengths_;
};

/// Weighted dot products of up to eight neighbouring rows with other rows. The eight rows are stored side by
/// side in an array with a place for each column. So another row, or a run of rows with the same indices, is
/// read once for all eight of them, without a merge. Each dot product has the bits of sdot: its terms are
/// added in ascending index order, and a column without an entry adds a zero.
///
/// All panels share their storage. It is kept, and it grows to the largest range of columns that eight rows
/// have needed.
class RowPanel {
 public:
  static constexpr int rows = RowWalk::lanes;
  /// The number of rows with the same indices that are walked together.
  static constexpr int maxRows = RowWalk::maxRows;

  RowPanel(const HSpMat& matrix, const IndexRuns& runs, const Vector* weights)
      : matrix_(matrix), runs_(runs), weights_(weights) {}
  ~RowPanel() { clear(); }
  RowPanel(const RowPanel&) = delete;
  RowPanel& operator=(const RowPanel&) = delete;

  /// Takes rows first ... first + count - 1.
  void load(int first, int count);
  /// out[r][k] = dot of row first + k and row j + r, for all k below count and r below `together`. The rows
  /// from j on must have the same indices, and may be at most `maxRows`.
  void dots(int j, int together, double (*out)[rows]) const;

 private:
  void clear();
  void walk(int j, int together, double (*out)[rows]) const;
  void merge(int j, int k, double (*out)[rows]) const;

  const HSpMat& matrix_;
  const IndexRuns& runs_;
  const Vector* weights_;
  int first_ = 0;
  int count_ = 0;
  int lowest_ = 0;
  int columns_ = 0;      // 0: there is no panel, and all rows are merged
  bool merged_ = false;  // some of the rows must be merged
};

/// store(i, j, dot of rows i and j) for all i <= j <= i + bandwidth.
template <class Store>
void forEachRowDot(const HSpMat& matrix, int bandwidth, const Vector* weights, Store store) {
  const int n = matrix.numRows;
  if (bandwidth < 0) return;
  const IndexRuns runs(matrix);
  RowPanel panel(matrix, runs, weights);
  for (int first = 0; first < n; first += RowPanel::rows) {
    const int count = std::min(RowPanel::rows, n - first);
    panel.load(first, count);
    const int end =
        static_cast<int>(std::min<long long>(n, static_cast<long long>(first) + count + bandwidth));
    for (int j = first; j < end;) {
      const int together = std::max(1, std::min({runs.at(j), end - j, RowPanel::maxRows}));
      double dots[RowPanel::maxRows][RowPanel::rows];
      panel.dots(j, together, dots);
      for (int r = 0; r < together; ++r, ++j) {
        const int begin = std::max(0, j - bandwidth - first);
        const int stop = std::min(count, j - first + 1);
        for (int k = begin; k < stop; ++k) store(first + k, j, dots[r][k]);
      }
    }
  }
}

}  // namespace limber::detail
