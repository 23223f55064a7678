#include "limber/linalg/HSpMat.h"
#include "limber_petsc/DistributedSolve.h"
#include "limber_petsc/detail/Assembly.h"
#include "limber_petsc/detail/Iteration.h"
#include "limber_petsc/detail/OwnPart.h"

namespace limber::petsc {

namespace {

using namespace detail;

PetscErrorCode solve(MPI_Comm comm, const Rows& part, const Vector& b, Vector* x, const SolveOptions& options,
                     SolveReport* report) {
  const Scale scale = scaleOf(comm, part, b);
  const int own = part.rows->numRows;
  Vector start(own);
  if (x->count == own) start = *x;

  Matrix A, shell;
  Array right, unknowns;
  PetscCall(assemble(comm, part, own, scale.matrix, &A));
  PetscCall(assemble(comm, b, scale.vector, &right));
  PetscCall(assemble(comm, start, scale.vector - scale.matrix, &unknowns));

  Operator op;
  op.matrix = A;
  PetscCall(op.makeShell(comm, &shell));
  Solver solver;
  PetscCall(makeSolver(comm, shell, A, KSPCG, options.preconditioner, PCJACOBI, &solver));
  PetscCall(KSPSetNormType(solver, KSP_NORM_UNPRECONDITIONED));
  PetscCall(KSPSetFromOptions(solver));

  PetscCall(iterate({comm, solver, &op, right, unknowns, false, nullptr, scale.vector, &options}, report));
  PetscCall(extract(unknowns, scale.vector - scale.matrix, x));
  return 0;
}

// True on every process if the matrix is as wide as it is high.
bool square(MPI_Comm comm, const Rows& A) {
  int total = 0;
  const int own = A.rows->numRows;
  MPI_Allreduce(&own, &total, 1, MPI_INT, MPI_SUM, comm);
  if (total == A.columns) return true;
  int rank = 0;
  MPI_Comm_rank(comm, &rank);
  if (rank == 0) report(comm, "the matrix is not square", __LINE__);
  return false;
}

}  // namespace

SolveReport solvePositiveDefinite(MPI_Comm comm, const Rows& A, const Vector& b, Vector* x,
                                  const SolveOptions& options) {
  return collect(comm, [&](SolveReport* report) -> PetscErrorCode {
    *report = badInput();
    if (!partsFit(comm, A) || !square(comm, A) ||
        !vectorFits(comm, b, A.rows->numRows, "the right-hand side") || !startFits(comm, *x, A.rows->numRows))
      return 0;
    return solve(comm, A, b, x, options, report);
  });
}

}  // namespace limber::petsc
