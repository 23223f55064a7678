#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

/// @file
/// Gauss-Jordan elimination with full pivoting. Every dense inversion of the library that does not use LAPACK
/// uses this one. It works in place on a row-major array. The size is a template parameter, so that a 4 x 4
/// inverse is straight-line code.

namespace limber::detail {

/// The working space of an n x n elimination: n entries each. Their contents do not matter before or after.
struct GaussJordanScratch {
  int* uses;         ///< how often each column has been a pivot column
  int* pivotRow;     ///< row and column of each step's pivot
  int* pivotColumn;  //
  double* closed;  ///< NaN for columns that have been used, else 0: there |a| + closed loses every comparison
};

/// The scratch of an elimination of up to N x N, without an allocation.
template <int N>
class FixedGaussJordanScratch {
 public:
  operator GaussJordanScratch() { return {uses_, pivotRow_, pivotColumn_, closed_}; }

 private:
  int uses_[N];
  int pivotRow_[N];
  int pivotColumn_[N];
  double closed_[N];
};

/// The events of an elimination. A caller derives from this class and hides the functions that it needs; none
/// is virtual.
struct GaussJordanWatcher {
  /// The search found a column that has been a pivot column more than once. Only NaNs cause this.
  void columnUsedTwice() {}
  /// Rows i and j of the matrix have been exchanged.
  void rowsSwapped(int /*i*/, int /*j*/) {}
  /// The pivot is exactly 0; the division by it goes on.
  void zeroPivot() {}
  /// The pivot row of `column` has been multiplied by `factor`.
  void pivotRowScaled(int /*column*/, double /*factor*/) {}
  /// `factor` times the pivot row of `column` has been subtracted from `row`.
  void rowReduced(int /*row*/, int /*column*/, double /*factor*/) {}
};

/// The largest magnitude in the open places of a row, -1 if there is none. Computed as eight maxima side by
/// side, which is allowed because a maximum does not depend on the order.
inline double largestOpen(const double* __restrict row, const double* __restrict closed, int n) {
  double best[8] = {-1.0, -1.0, -1.0, -1.0, -1.0, -1.0, -1.0, -1.0};
  int j = 0;
  for (; j + 8 <= n; j += 8) {
    for (int k = 0; k < 8; ++k) {
      const double magnitude = std::fabs(row[j + k]) + closed[j + k];
      best[k] = magnitude > best[k] ? magnitude : best[k];
    }
  }
  for (int k = 0; j < n; ++j, ++k) {
    const double magnitude = std::fabs(row[j]) + closed[j];
    best[k] = magnitude > best[k] ? magnitude : best[k];
  }
  for (int k = 1; k < 8; ++k) best[0] = best[k] > best[0] ? best[k] : best[0];
  return best[0];
}

/// Finds the largest magnitude in the rows whose use count is not 1 and the columns whose use count is 0.
/// Among equals the last one (by row, then column) wins. If there is no candidate because all are NaN, `row`
/// and `column` keep the valid values of the previous step.
inline void findPivot(const double* a, int n, int ld, const GaussJordanScratch& s, int& row, int& column) {
  double best = 0.0;
  for (int i = 0; i < n; ++i) {
    if (s.uses[i] == 1) continue;
    const double* values = a + static_cast<std::ptrdiff_t>(i) * ld;
    const double inRow = largestOpen(values, s.closed, n);
    if (!(inRow >= best)) continue;
    best = inRow;
    row = i;
    for (int j = n - 1; j >= 0; --j) {
      if (std::fabs(values[j]) + s.closed[j] == inRow) {
        column = j;
        break;
      }
    }
  }
}

inline double* rowAt(double* a, int ld, int i) { return a + static_cast<std::ptrdiff_t>(i) * ld; }

/// Tells the watcher of the columns that have been used twice, once for each row that is still searched.
template <class Watcher>
void tellUsedTwice(int usedTwice, int n, const GaussJordanScratch& s, Watcher& watcher) {
  for (int i = 0; usedTwice > 0 && i < n; ++i) {
    if (s.uses[i] == 1) continue;
    for (int k = 0; k < usedTwice; ++k) watcher.columnUsedTwice();
  }
}

/// Divides the pivot row of `column` by its pivot, and subtracts multiples of it from all other rows.
template <class Watcher>
__attribute__((always_inline)) inline void reduceRows(double* a, int n, int ld, int column,
                                                      Watcher& watcher) {
  double* const pivotRow = rowAt(a, ld, column);
  if (pivotRow[column] == 0.0) watcher.zeroPivot();
  const double factor = 1.0 / pivotRow[column];
  pivotRow[column] = 1.0;
  for (int j = 0; j < n; ++j) pivotRow[j] *= factor;
  watcher.pivotRowScaled(column, factor);
  for (int i = 0; i < n; ++i) {
    if (i == column) continue;
    double* __restrict target = rowAt(a, ld, i);
    const double* __restrict source = pivotRow;
    const double multiple = target[column];
    target[column] = 0.0;
    for (int j = 0; j < n; ++j) target[j] -= source[j] * multiple;
    watcher.rowReduced(i, column, multiple);
  }
}

/// Replaces the leading n x n block of the row-major `a` (row stride `ld`) by its inverse. With Size above 0
/// the size is fixed and n is not read. A singular matrix is eliminated to the end, with a division by zero;
/// the watcher is told.
template <int Size = 0, class Watcher>
void gaussJordan(double* a, int n, int ld, const GaussJordanScratch& s, Watcher& watcher) {
  const int size = Size > 0 ? Size : n;
  for (int j = 0; j < size; ++j) {
    s.uses[j] = 0;
    s.closed[j] = 0.0;
  }
  int row = 0, column = 0, usedTwice = 0;
  for (int step = 0; step < size; ++step) {
    tellUsedTwice(usedTwice, size, s, watcher);
    findPivot(a, size, ld, s, row, column);
    s.closed[column] = std::numeric_limits<double>::quiet_NaN();
    if (++s.uses[column] == 2) ++usedTwice;
    s.pivotRow[step] = row;
    s.pivotColumn[step] = column;
    if (row != column) {
      for (int j = 0; j < size; ++j) std::swap(rowAt(a, ld, row)[j], rowAt(a, ld, column)[j]);
      watcher.rowsSwapped(row, column);
    }
    reduceRows(a, size, ld, column, watcher);
  }
  // The exchanges of rows of A are exchanges of columns of the inverse, in the opposite order.
  for (int step = size - 1; step >= 0; --step) {
    const int first = s.pivotRow[step], second = s.pivotColumn[step];
    for (int i = 0; first != second && i < size; ++i) {
      double* const values = rowAt(a, ld, i);
      std::swap(values[first], values[second]);
    }
  }
}

/// The same for a fixed Size, with its scratch on the stack.
template <int Size, class Watcher>
void gaussJordanFixed(double* a, int ld, Watcher& watcher) {
  FixedGaussJordanScratch<Size> scratch;
  gaussJordan<Size>(a, Size, ld, scratch, watcher);
}

}  // namespace limber::detail
