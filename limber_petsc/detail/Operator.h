#pragma once

/// @file
/// The operators of the three problems as PETSc shells that count their products.

#include "limber_petsc/detail/Engine.h"

namespace limber::petsc::detail {

/// y = A x, y = A^T x for a matrix, or y = (J W J^T + D) x when weights are given. It must outlive the shell.
struct Operator {
  Mat matrix = nullptr;   ///< A or J
  Vec weights = nullptr;  ///< W, spread like the columns; null for a plain matrix
  Vec damping = nullptr;  ///< D, spread like the rows; may be null
  Vec columns = nullptr;  ///< work space like the columns, with weights only
  int products = 0;       ///< with the matrix or its transpose

  /// y = the operator times x.
  PetscErrorCode apply(Vec x, Vec y);
  /// y = A^T x, of a plain matrix.
  PetscErrorCode applyTransposed(Vec x, Vec y);
  /// A shell that calls the two above.
  PetscErrorCode makeShell(MPI_Comm comm, Mat* shell);
};

}  // namespace limber::petsc::detail
