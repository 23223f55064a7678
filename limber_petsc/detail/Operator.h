#pragma once

/// @file
/// The operators of the three problems as PETSc shells that count their products.

#include "limber_petsc/detail/Engine.h"

namespace limber::petsc::detail {

/// y = A x and y = A^T x for a matrix, or y = (J W J^T + D) x if weights are given. This object must outlive
/// the shell.
struct Operator {
  Mat matrix = nullptr;   ///< A or J
  Vec weights = nullptr;  ///< W, distributed like the columns; null for a plain matrix
  Vec damping = nullptr;  ///< D, distributed like the rows; may be null
  Vec columns = nullptr;  ///< work space, distributed like the columns; only with weights
  int products = 0;       ///< the number of products with the matrix or its transpose

  /// y = the operator times x.
  PetscErrorCode apply(Vec x, Vec y);
  /// y = A^T x for a plain matrix.
  PetscErrorCode applyTransposed(Vec x, Vec y);
  /// Creates a shell that calls the two functions above.
  PetscErrorCode makeShell(MPI_Comm comm, Mat* shell);
};

}  // namespace limber::petsc::detail
