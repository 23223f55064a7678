#pragma once

/// @file
/// An order of the rows that leaves no zero on the diagonal.

#include "limber/solvers/detail/Array.h"

namespace limber::detail {

struct SparseRows;

/// Finds a row for each column, each row once, so that a_(row[j], j) is not zero: by augmenting paths (Duff
/// 1981), large entries first. The search begins with the rows whose diagonal element is large in their own
/// places. Returns the number of columns that found a row in this way; the others get the remaining rows.
int transversal(const SparseRows& A, Ints* row);

}  // namespace limber::detail
