#pragma once

/// @file
/// The incomplete LU factor with the pattern of the matrix.

#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {

/// A ~ L U with the pattern of A (ILU(0); Meijerink and van der Vorst 1977). The diagonal of A is stored, and
/// the rows and columns of A are scaled. A pivot that is nearly zero is replaced.
class IncompleteLu final : public Inverse {
 public:
  /// False if a diagonal element is not stored or a factor is not finite.
  bool factor(const SparseRows& A);
  bool apply(const double* r, double* z) override;

 private:
  SparseRows factors_;
  Ints diagonal_;
  Doubles inverse_;
};

}  // namespace limber::detail
