#pragma once

/// @file
/// The order in which a sparse factorization eliminates the unknowns, and the resulting fill.

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

struct SparseRows;

/// The largest cost of a factor.
struct Allowance {
  double entries = 6e7;
  double operations = 2e10;
};

/// The elimination of the unknowns of a matrix in a minimum degree order.
struct Elimination {
  /// order[k] is the unknown that is eliminated k-th; position is the inverse permutation.
  Ints order, position;
  /// The upper triangle of the factor by rows: apart from the diagonal, row k has entries at the positions
  /// index[start[k]] ... index[start[k + 1] - 1], in ascending order.
  Ints start, index;
  /// The approximate number of operations that factor a matrix with these edges.
  double operations = 0.0;

  /// The first position after k at which row k has an entry; the number of unknowns if there is none.
  int parent(int k) const { return start[k] < start[k + 1] ? index[start[k]] : order.size(); }
};

/// Orders the columns of A for its QR factor. False if the factor costs more than allowed, or if a row has
/// more than 30000 entries.
bool eliminateColumns(const SparseRows& A, const Allowance& allowance, Elimination* out);
/// Orders the unknowns of a symmetric A for its Cholesky factor. False if that costs more than allowed.
bool eliminateSymmetric(const SparseRows& A, const Allowance& allowance, Elimination* out);
/// The elimination of a band matrix in its natural order.
Elimination bandElimination(int n, int halfBandwidth);
/// Computes only the order of the columns, for an LU factor with row exchanges. Rows with more entries than
/// 16 and than 10 sqrt(n), for n columns, are ignored. If the factor of A^T A would have more than 2e8
/// entries, the order does not change.
void orderColumns(const SparseRows& A, Ints* order);

}  // namespace limber::detail
