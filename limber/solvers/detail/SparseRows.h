#pragma once

/// @file
/// The compressed rows that the functions of Solve.h compute with.

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

/// A sparse matrix stored by rows: the entries of row i have the positions start[i] ... start[i + 1] - 1, in
/// ascending column order, each column at most once.
struct SparseRows {
  int height = 0, width = 0;
  Ints start;
  Ints index;
  Doubles value;

  SparseRows() = default;
  /// No rows yet. append() and appendRow() add entries to a row, endRow() completes it.
  SparseRows(int rows, int columns) : height(rows), width(columns) {
    start.reserve(rows + 1);
    start.push(0);
  }
  void reserve(int entries) {
    index.reserve(entries);
    value.reserve(entries);
  }
  void append(int j, double x) {
    index.push(j);
    value.push(x);
  }
  void append(const int* indices, const double* values, int n) {
    index.append(indices, n);
    value.append(values, n);
  }
  /// Appends row i of another matrix, moved to the right by `shift` columns.
  void appendRow(const SparseRows& other, int i, int shift = 0) {
    for (int k = other.start[i]; k < other.start[i + 1]; ++k) append(other.index[k] + shift, other.value[k]);
  }
  void endRow() { start.push(index.size()); }

  int entries() const { return index.size(); }

  /// y = A x, each element summed from 0.0 in ascending column order.
  void multiply(const double* x, double* y) const;
  /// y = A^T x, each element summed from 0.0 in ascending row order.
  void multiplyTransposed(const double* x, double* y) const;
  /// u = A v - s u for each row, then w = A^T u, in one pass. Returns |u|^2.
  double multiplyBothWays(const double* v, double s, double* u, double* w) const;
  /// r = b - A x, each element as if summed in twice the precision (Dekker 1971; Ogita, Rump and Oishi 2005),
  /// and g = A^T r for the residual before it is rounded, unless g is null.
  void residual(const double* b, const double* x, double* r, double* g) const;
  SparseRows transposed() const;
  /// Sorts the rows and adds up entries at the same place.
  void tidy();
  /// a_ij = a_ij 2^(rows[i] + columns[j]); null pointers count as zeros.
  void scale(const int* rows, const int* columns);
};

}  // namespace limber::detail
