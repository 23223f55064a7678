#pragma once

#include <algorithm>
#include <cmath>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SparseDot.h"

class Vector;

namespace limber::detail {

/// Weighted dots of up to eight neighbouring rows with one row at a time. The eight are spread out side by
/// side, a place for each column, so that a row is walked once for all of them without a merge. Each dot has
/// the bits of sdot: its terms come in ascending index order, and what a row has no entry for adds a zero.
///
/// The panel is shared by all, and grows to the largest range of columns that eight rows have needed.
class RowPanel {
 public:
  static constexpr int rows = 8;

  RowPanel(const HSpMat& matrix, const Vector* weights) : matrix_(matrix), weights_(weights) {}
  ~RowPanel() { clear(); }
  RowPanel(const RowPanel&) = delete;
  RowPanel& operator=(const RowPanel&) = delete;

  /// Takes rows first ... first + count - 1.
  void load(int first, int count);
  /// out[k] = dot of row first + k and row j, for all k below count.
  void dots(int j, double* out) const;

 private:
  void clear();

  const HSpMat& matrix_;
  const Vector* weights_;
  int first_ = 0;
  int count_ = 0;
  int lowest_ = 0;
  int columns_ = 0;         // 0: no panel, row by row
  bool connected_ = false;  // some row has an entry
};

/// store(i, j, dot of rows i and j) for all i < j <= i + bandwidth.
template <class Store>
void forEachRowDot(const HSpMat& matrix, int bandwidth, const Vector* weights, Store store) {
  const int n = matrix.numRows;
  RowPanel panel(matrix, weights);
  for (int first = 0; first < n && bandwidth > 0; first += RowPanel::rows) {
    const int count = std::min(RowPanel::rows, n - first);
    panel.load(first, count);
    const int end =
        static_cast<int>(std::min<long long>(n, static_cast<long long>(first) + count + bandwidth));
    for (int j = first + 1; j < end; j++) {
      double dots[RowPanel::rows];
      panel.dots(j, dots);
      const int begin = std::max(0, j - bandwidth - first);
      const int stop = std::min(count, j - first);
      for (int k = begin; k < stop; k++) store(first + k, j, dots[k]);
    }
  }
}

}  // namespace limber::detail
