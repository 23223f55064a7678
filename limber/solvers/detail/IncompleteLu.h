#pragma once

/// @file
/// The incomplete LU factor with the pattern of the matrix.

#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

/// A ~ L U with the pattern of A (ILU(0); Meijerink and van der Vorst 1977). A has its diagonal stored and
/// its rows and columns scaled; a pivot next to zero is replaced.
class IncompleteLu final : public Inverse {
 public:
  /// False when the diagonal is not stored everywhere.
  bool factor(const SparseRows& A);
  bool apply(const double* r, double* z) override;

 private:
  SparseRows factors_;
  Ints diagonal_;
  Doubles inverse_;
};

}  // namespace limber::detail
