#include <cmath>
#include <cstdio>

#include "limber/linalg/HSpMat.h"
#include "limber_petsc/DistributedSolve.h"
#include "limber_petsc/detail/Assembly.h"
#include "limber_petsc/detail/Iteration.h"
#include "limber_petsc/detail/OwnPart.h"

namespace limber::petsc {

namespace {

using namespace detail;

// True if every element of `v` is acceptable on every process; otherwise reports the problem.
template <class Accept>
bool each(MPI_Comm comm, const Vector* v, const char* problem, Accept accept) {
  bool wrong = false;
  for (int i = 0; v && i < v->count; ++i) wrong = wrong || !accept(v->e(i));
  if (wrong) report(comm, problem, __LINE__);
  return agree(comm, wrong) == 0;
}

// True if all processes leave the vector out, or if all have it with `count` finite elements.
bool optionalFits(MPI_Comm comm, const Vector* v, int count, const char* name) {
  if (!agree(comm, v != nullptr)) return true;
  const bool missing = v == nullptr;
  if (missing) {
    char text[100];
    std::snprintf(text, sizeof text, "%s is missing here and given elsewhere", name);
    report(comm, text, __LINE__);
  }
  return agree(comm, missing) == 0 && vectorFits(comm, *v, count, name);
}

// 2^exponent / mass, distributed like the columns. Without masses, the elements are ones.
PetscErrorCode inverseMasses(MPI_Comm comm, const Vector* mass, int count, int exponent, Vec* weights) {
  Vector w(count);
  for (int i = 0; i < count; ++i) w[i] = mass ? std::ldexp(1.0, exponent) / mass->e(i) : 1.0;
  return assemble(comm, w, 0, weights);
}

PetscErrorCode solve(MPI_Comm comm, const Rows& part, const Vector* mass, const Vector* damp, const Vector& c,
                     Vector* lambda, const SolveOptions& options, SolveReport* report) {
  const Scale scale = scaleOf(comm, part, c);
  const int massExponent = mass ? exponentOf(comm, *mass) : 0;
  const int unit =
      2 * scale.matrix - massExponent;  // the operator in scaled units is 2^-unit times the user's
  const int own = part.rows->numRows, ownColumns = evenPart(comm, part.columns).count;
  Vector start(own), damping(own);
  if (lambda->count == own) start = *lambda;
  for (int i = 0; damp && i < own; ++i) damping[i] = std::ldexp(damp->e(i), -unit);

  Matrix J, shell;
  Array right, unknowns, weights, dampingArray, columns;
  PetscCall(assemble(comm, part, ownColumns, scale.matrix, &J));
  PetscCall(assemble(comm, c, scale.vector, &right));
  PetscCall(assemble(comm, start, scale.vector - unit, &unknowns));
  PetscCall(inverseMasses(comm, mass, ownColumns, massExponent, &weights));
  PetscCall(assemble(comm, damping, 0, &dampingArray));
  PetscCall(VecDuplicate(weights, &columns));

  Operator op;
  op.matrix = J;
  op.weights = weights;
  op.damping = damp ? static_cast<Vec>(dampingArray) : nullptr;
  op.columns = columns;
  PetscCall(op.makeShell(comm, &shell));
  Solver solver;
  OwnBand band;
  if (!options.preconditioner) PetscCall(band.build(part, scale.matrix, weights, damp ? &damping : nullptr));
  Preconditioner* const preconditioner =
      options.preconditioner ? options.preconditioner : band.preconditioner();
  PetscCall(makeSolver(comm, shell, shell, KSPCG, preconditioner, PCNONE, &solver));
  PetscCall(KSPSetNormType(solver, KSP_NORM_UNPRECONDITIONED));
  PetscCall(KSPSetFromOptions(solver));

  PetscCall(iterate({comm, solver, &op, right, unknowns, false, nullptr, scale.vector, &options}, report));
  PetscCall(extract(unknowns, scale.vector - unit, lambda));
  return 0;
}

}  // namespace

SolveReport solveConstraints(MPI_Comm comm, const Rows& J, const Vector* mass, const Vector* damp,
                             const Vector& c, Vector* lambda, const SolveOptions& options) {
  return collect(comm, [&](SolveReport* report) -> PetscErrorCode {
    *report = badInput();
    if (!partsFit(comm, J)) return 0;
    const int own = J.rows->numRows;
    if (!vectorFits(comm, c, own, "the right-hand side") || !startFits(comm, *lambda, own) ||
        !optionalFits(comm, mass, evenPart(comm, J.columns).count, "the vector of masses") ||
        !optionalFits(comm, damp, own, "the damping") ||
        !each(comm, mass, "a mass is not positive", [](double m) { return m > 0.0; }) ||
        !each(comm, damp, "a damping is negative", [](double d) { return d >= 0.0; }))
      return 0;
    return solve(comm, J, mass, damp, c, lambda, options, report);
  });
}

}  // namespace limber::petsc
