#pragma once

/// @file
/// The sparse LU factor.

#include "limber/solvers/detail/Elimination.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {

/// P A Q = L U column by column with row exchanges (Gilbert and Peierls 1988), the columns in an order that
/// keeps the fill small, with symmetric pruning (Eisenstat and Liu 1992). A column without a pivot gets 1 in
/// its place.
class SparseLu final : public Inverse {
 public:
  /// False where it costs more than allowed.
  bool factor(const SparseRows& A, const Allowance& allowance);
  bool apply(const double* r, double* z) override;
  /// Columns without a pivot.
  int defects() const { return defects_; }

 private:
  void reach(const SparseRows& columns, int j);
  int pivotRow(int j) const;
  void prune(int k, int pivotRow);

  int n_ = 0, defects_ = 0;
  Ints order_;     // the column that goes k-th
  Ints position_;  // when a row was chosen, -1 before
  Ints lowerStart_, lowerIndex_, upperStart_, upperIndex_;
  Doubles lower_, upper_, pivot_, work_;
  /// Where the search in a column of L ends.
  Ints searchEnd_;
  // of one column: the rows it reaches in topological order from top_ on, and the search's own lists
  Ints found_, stack_, next_, mark_;
  int top_ = 0, freeRow_ = 0;
};

}  // namespace limber::detail
