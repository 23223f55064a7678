#include "limber_petsc/detail/OwnPart.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/JJtCholeskyPrecond.h"
#include "limber/solvers/JJtPrecond.h"
#include "limber/solvers/Preconditioner.h"
#include "limber_petsc/detail/Assembly.h"

namespace limber::petsc::detail {

namespace {

PetscErrorCode applyOwnPart(PC pc, Vec r, Vec z) {
  Preconditioner* preconditioner = nullptr;
  PetscCall(PCShellGetContext(pc, &preconditioner));
  Vector from, to;
  PetscCall(extract(r, 0, &from));
  if (from.count > 0) preconditioner->solve(&from, &to);
  PetscScalar* out = nullptr;
  PetscCall(VecGetArrayWrite(z, &out));
  for (int i = 0; i < from.count; ++i) out[i] = i < to.count ? to[i] : 0.0;
  PetscCall(VecRestoreArrayWrite(z, &out));
  return 0;
}

// The ascending column indices that occur in the rows.
std::vector<int> touchedColumns(const HSpMat& J) {
  std::vector<int> columns;
  for (int i = 0; i < J.numRows; ++i)
    if (const SpVec* row = J.rows[i])
      columns.insert(columns.end(), row->indices.data, row->indices.data + row->numEntries);
  std::sort(columns.begin(), columns.end());
  columns.erase(std::unique(columns.begin(), columns.end()), columns.end());
  return columns;
}

// The elements of the distributed vector `spread` at the given columns, on this process. Collective.
PetscErrorCode fetch(Vec spread, const std::vector<int>& columns, Vec* here) {
  const PetscInt count = static_cast<PetscInt>(columns.size());
  Indices from;
  Scatter scatter;
  PetscCall(ISCreateGeneral(PETSC_COMM_SELF, count, columns.data(), PETSC_COPY_VALUES, &from));
  PetscCall(VecCreateSeq(PETSC_COMM_SELF, count, here));
  PetscCall(VecScatterCreate(spread, from, *here, nullptr, &scatter));
  PetscCall(VecScatterBegin(scatter, spread, *here, INSERT_VALUES, SCATTER_FORWARD));
  PetscCall(VecScatterEnd(scatter, spread, *here, INSERT_VALUES, SCATTER_FORWARD));
  return 0;
}

}  // namespace

PetscErrorCode makeSolver(MPI_Comm comm, Mat shell, Mat matrix, KSPType method, Preconditioner* own,
                          PCType standard, KSP* solver) {
  PC pc = nullptr;
  PetscCall(KSPCreate(comm, solver));
  PetscCall(KSPSetOptionsPrefix(*solver, "limber_"));
  PetscCall(KSPSetOperators(*solver, shell, matrix));
  PetscCall(KSPSetType(*solver, method));
  PetscCall(KSPGetPC(*solver, &pc));
  if (own) {
    PetscCall(PCSetType(pc, PCSHELL));
    PetscCall(PCShellSetContext(pc, own));
    PetscCall(PCShellSetApply(pc, applyOwnPart));
  } else {
    PetscCall(PCSetType(pc, standard));
  }
  return 0;
}

PetscErrorCode OwnBand::build(const Rows& part, int exponent, Vec weights, const Vector* damping) {
  const std::vector<int> columns = touchedColumns(*part.rows);
  Array here;
  PetscCall(fetch(weights, columns, &here));
  Vector ownWeights, ownDamping;
  PetscCall(extract(here, 0, &ownWeights));
  if (damping) ownDamping = *damping;

  // The rows with renumbered columns, whose order does not change.
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat J(0);
  long long entries = 0;
  for (int i = 0; i < part.rows->numRows; ++i) {
    rows.push_back(std::make_unique<SpVec>());
    const SpVec* row = part.rows->rows[i];
    for (int k = 0; row && k < row->numEntries; ++k) {
      const auto at = std::lower_bound(columns.begin(), columns.end(), row->indices.data[k]);
      rows.back()->insEnd(std::ldexp(row->values.data[k], -exponent), static_cast<int>(at - columns.begin()));
    }
    if (row) entries += row->numEntries;
    J.add(rows.back().get());
  }
  const long long band = halfBandwidth(&J);
  Vector* damp = damping ? &ownDamping : nullptr;
  if ((band + 1) * part.rows->numRows <= 20 * (entries + 1))
    preconditioner_ = std::make_shared<JJtCholeskyPrecond>(&J, static_cast<int>(band), &ownWeights, damp);
  else
    preconditioner_ = std::make_shared<JJtPrecond>(&J, &ownWeights, damp);
  return 0;
}

}  // namespace limber::petsc::detail
