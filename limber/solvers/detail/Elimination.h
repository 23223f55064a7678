#pragma once

/// @file
/// The order in which a sparse factorization eliminates the unknowns, and the fill that it brings.

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

struct SparseRows;

/// What a factor may cost.
struct Allowance {
  double entries = 6e7;
  double operations = 2e10;
};

/// The elimination by minimum degree (Amestoy, Davis and Duff 1996) of a graph that is given as a union of
/// cliques: the rows of A for the factor of A^T A, the edges for a symmetric matrix.
struct Elimination {
  /// The unknown that goes k-th, and when each unknown goes.
  Ints order, position;
  /// The upper triangle of the factor by rows: row k has its entries, apart from the diagonal, at these
  /// positions behind k, in ascending order.
  Ints start, index;
  /// About so many operations to factor a matrix of which these are the edges.
  double operations = 0.0;

  /// The first position behind k that row k reaches; the number of unknowns where there is none.
  int parent(int k) const { return start[k] < start[k + 1] ? index[start[k]] : order.size(); }
};

/// Orders the columns of A for its QR factor. False where the factor has more entries than allowed.
bool eliminateColumns(const SparseRows& A, const Allowance& allowance, Elimination* out);
/// Orders the unknowns of a symmetric A for its Cholesky factor. False where that costs more than allowed.
bool eliminateSymmetric(const SparseRows& A, const Allowance& allowance, Elimination* out);
/// The elimination of a band in its own order.
Elimination bandElimination(int n, int halfBandwidth);
/// Only the order of the columns for an LU factor with row exchanges; nearly full rows are left out.
void orderColumns(const SparseRows& A, Ints* order);

}  // namespace limber::detail
