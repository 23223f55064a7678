#pragma once

/// @file
/// Rows put in an order that leaves no zero on the diagonal.

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

struct SparseRows;

/// A row for each column, each row once, so that a_(row[j], j) is not zero: by augmenting paths (Duff 1981),
/// large entries first. Rows stay where their diagonal is large. The number of columns that found a row that
/// way; the others get the rows that are left.
int transversal(const SparseRows& A, Ints* row);

}  // namespace limber::detail
