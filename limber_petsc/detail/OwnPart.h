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

/// A Krylov solver for the operator `shell` that reads PETSc's options with the prefix limber_. Its
/// preconditioner is `own`, which each process applies to its own part; if that is null, it is PETSc's
/// preconditioner `standard` of `matrix`.
PetscErrorCode makeSolver(MPI_Comm comm, Mat shell, Mat matrix, KSPType method, Preconditioner* own,
                          PCType standard, KSP* solver);

/// The preconditioner of J W J^T + D from this process's own rows: the Cholesky factor of their band if that
/// needs at most twenty times the memory of the rows, otherwise their diagonal. Columns without an entry in
/// the own rows are left out, so the memory is proportional to the own rows.
class OwnBand {
 public:
  /// `weights` is distributed like the columns. `damping` belongs to the own rows and may be null.
  /// Collective.
  PetscErrorCode build(const Rows& part, int exponent, Vec weights, const Vector* damping);
  Preconditioner* preconditioner() const { return preconditioner_.get(); }

 private:
  std::shared_ptr<Preconditioner> preconditioner_;
};

}  // namespace limber::petsc::detail
