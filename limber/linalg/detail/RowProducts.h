#pragma once

/// @file
/// The products of the row-sparse matrix. Every sum runs in its documented order.

#include <algorithm>

#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"

namespace limber::detail {

/// The sum of x[index] value over a row, from 0.0 in entry order. Entries outside the storage of x are
/// skipped.
inline double rowTimesVector(const SpVec& row, const Vector& x) {
  const int* const indices = row.indices.data;
  const double *const values = row.values.data, *const elements = x.data;
  // Indices are compared as unsigned numbers, so negative ones are skipped too.
  const auto room = static_cast<unsigned>(std::max(x.capacity, 0));
  double sum = 0.0;
  for (int k = 0; k < row.numEntries; ++k) {
    const auto j = static_cast<unsigned>(indices[k]);
    if (__builtin_expect(j < room, true)) sum += elements[j] * values[k];
  }
  return sum;
}

/// y[i] = the sum of x[index] value over row i, from 0.0 in entry order, for n rows; null rows give 0.0.
void rowsTimesVector(SpVec* const* rows, int n, const Vector& x, double* y);

/// The size of y becomes the largest width of n rows; y and the slot after it are cleared. Then y[index] +=
/// x[i] value over the entries of row i, row by row. Null rows, rows with x[i] in [-1e-12, 1e-12], rows from
/// number xs on and entries outside the width add nothing.
void transposedRowsTimesVector(SpVec* const* rows, int n, const double* x, int xs, Vector& y);

/// t = A x + shift, y = A^T t. Each row is fetched once for both products; the bits are those of the two
/// products one after the other. t grows to the number of rows, y to the width.
void normalRowsTimesVector(SpVec* const* rows, int n, const Vector& x, double shift, Vector& t, Vector& y);

}  // namespace limber::detail
