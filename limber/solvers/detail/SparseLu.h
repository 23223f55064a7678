#pragma once

/// @file
/// The sparse LU factor.

#include "limber/solvers/detail/DenseLu.h"
#include "limber/solvers/detail/Elimination.h"
#include "limber/solvers/detail/LinearMap.h"

namespace limber::detail {

/// P A Q = L U, column by column, with row exchanges (Gilbert and Peierls 1988) and symmetric pruning
/// (Eisenstat and Liu 1992). The order of the columns keeps the fill small. Once the columns of L are nearly
/// full, the rest is factored as a dense matrix. Columns without a pivot come last and get the pivot 1.
class SparseLu final : public Inverse {
 public:
  /// False if it costs more than allowed.
  bool factor(const SparseRows& A, const Allowance& allowance);
  bool apply(const double* r, double* z) override;
  /// The number of columns without a pivot: how much the rank is smaller than n, except for rounding.
  int defects() const { return defects_; }

 private:
  void reach(const SparseRows& columns, int j);
  void reduce(const SparseRows& columns, int k);
  void clearColumn();
  void keepColumn(int k, int pivotRow);
  bool factorSparse(const SparseRows& columns, const Allowance& allowance);
  void closeEmptyColumns(const SparseRows& columns);
  bool factorTail(const SparseRows& columns, const Allowance& allowance);
  bool countFullColumns(int k, const Allowance& allowance);
  bool tooMuch(const Allowance& allowance) const;
  int pivotRow(int j) const;
  void prune(int k, int pivotRow);

  int n_ = 0, defects_ = 0;
  Ints order_;     // the column that is eliminated k-th
  Ints position_;  // when a row was chosen as pivot row; -1 before that
  Ints lowerStart_, lowerIndex_, upperStart_, upperIndex_;
  Doubles lower_, upper_, pivot_, work_;
  /// The end of the search in each column of L.
  Ints searchEnd_;
  // for one column: the rows that it reaches in topological order from top_ on, and the lists of the search
  Ints found_, stack_, next_, mark_;
  int top_ = 0;
  // the number of sparse columns, and the factor of the rest
  int sparse_ = 0, fullColumns_ = 0;
  double operations_ = 0.0;
  DenseLu tail_;
};

}  // namespace limber::detail
