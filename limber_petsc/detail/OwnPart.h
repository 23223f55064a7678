#pragma once

/// @file
/// Preconditioners of Limber, applied by each process to its own part of the residual.

#include <memory>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber_petsc/Rows.h"
#include "limber_petsc/detail/Engine.h"

class Preconditioner;

namespace limber::petsc::detail {

/// A Krylov solver for the operator `shell` that takes PETSc's options with the prefix limber_. Its
/// preconditioner is `own`, applied by each process to its own part, or else PETSc's `standard` one of
/// `matrix`.
PetscErrorCode makeSolver(MPI_Comm comm, Mat shell, Mat matrix, KSPType method, Preconditioner* own,
                          PCType standard, KSP* solver);

/// The preconditioner of J W J^T + D from this process's own rows: the Cholesky factor of their band where it
/// takes at most twenty times the memory of the rows, else their diagonal. The columns that no own row
/// touches are left out, so that the memory is that of the own rows.
class OwnBand {
 public:
  /// `weights` is spread like the columns, `damping` belongs to the own rows and may be null. Collective.
  PetscErrorCode build(const Rows& part, int exponent, Vec weights, const Vector* damping);
  Preconditioner* preconditioner() const { return preconditioner_.get(); }

 private:
  std::shared_ptr<Preconditioner> preconditioner_;
};

}  // namespace limber::petsc::detail
