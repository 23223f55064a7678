#include <cmath>

#include "limber_petsc/DistributedSolve.h"
#include "limber_petsc/detail/Assembly.h"
#include "limber_petsc/detail/Iteration.h"
#include "limber_petsc/detail/OwnPart.h"

namespace limber::petsc {

namespace {

using namespace detail;

// scales = powers of two near 1 / |column|, or 1 for an empty column; inverse = 1 / scales, which is exact.
PetscErrorCode columnScales(Mat A, Vec scales, Vec inverse) {
  PetscInt rows = 0, first = 0, last = 0;
  PetscCall(MatGetOwnershipRange(A, &first, &last));
  PetscCall(VecSet(scales, 0.0));
  for (rows = first; rows < last; ++rows) {
    PetscInt count = 0;
    const PetscInt* columns = nullptr;
    const PetscScalar* values = nullptr;
    PetscCall(MatGetRow(A, rows, &count, &columns, &values));
    for (PetscInt k = 0; k < count; ++k)
      PetscCall(VecSetValue(scales, columns[k], values[k] * values[k], ADD_VALUES));
    PetscCall(MatRestoreRow(A, rows, &count, &columns, &values));
  }
  PetscCall(VecAssemblyBegin(scales));
  PetscCall(VecAssemblyEnd(scales));
  PetscInt own = 0;
  PetscScalar *s = nullptr, *i = nullptr;
  PetscCall(VecGetLocalSize(scales, &own));
  PetscCall(VecGetArray(scales, &s));
  PetscCall(VecGetArrayWrite(inverse, &i));
  for (PetscInt k = 0; k < own; ++k) {
    int exponent = 0;
    if (s[k] > 0.0) std::frexp(std::sqrt(s[k]), &exponent);
    s[k] = std::ldexp(1.0, -exponent);
    i[k] = std::ldexp(1.0, exponent);
  }
  PetscCall(VecRestoreArrayWrite(inverse, &i));
  PetscCall(VecRestoreArray(scales, &s));
  return 0;
}

PetscErrorCode solve(MPI_Comm comm, const Rows& part, const Vector& b, Vector* x, const SolveOptions& options,
                     SolveReport* report) {
  const Scale scale = scaleOf(comm, part, b);
  const Part unknowns = evenPart(comm, part.columns);
  Vector start(unknowns.count);
  if (x->count == unknowns.count) start = *x;

  // A D y = b with x = D y; in scaled units x is 2^(matrix - vector) times the user's.
  Matrix A, shell;
  Array right, y, scales, inverse;
  PetscCall(assemble(comm, part, unknowns.count, scale.matrix, &A));
  PetscCall(assemble(comm, b, scale.vector, &right));
  PetscCall(assemble(comm, start, scale.vector - scale.matrix, &y));
  PetscCall(VecDuplicate(y, &scales));
  PetscCall(VecDuplicate(y, &inverse));
  PetscCall(columnScales(A, scales, inverse));
  PetscCall(MatDiagonalScale(A, nullptr, scales));
  PetscCall(VecPointwiseMult(y, y, inverse));

  Operator op;
  op.matrix = A;
  PetscCall(op.makeShell(comm, &shell));
  Solver solver;
  PetscCall(makeSolver(comm, shell, A, KSPLSQR, options.preconditioner, PCNONE, &solver));
  PetscCall(KSPSetFromOptions(solver));

  PetscCall(
      iterate({comm, solver, &op, right, y, true, inverse, scale.matrix + scale.vector, &options}, report));
  PetscCall(VecPointwiseMult(y, y, scales));
  PetscCall(extract(y, scale.vector - scale.matrix, x));
  return 0;
}

}  // namespace

SolveReport solveLeastSquares(MPI_Comm comm, const Rows& A, const Vector& b, Vector* x,
                              const SolveOptions& options) {
  return collect(comm, [&](SolveReport* report) -> PetscErrorCode {
    *report = badInput();
    if (!partsFit(comm, A) || !vectorFits(comm, b, A.rows->numRows, "the right-hand side") ||
        !startFits(comm, *x, evenPart(comm, A.columns).count))
      return 0;
    return solve(comm, A, b, x, options, report);
  });
}

}  // namespace limber::petsc
