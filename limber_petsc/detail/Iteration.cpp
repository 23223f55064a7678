#include "limber_petsc/detail/Iteration.h"

#include <cmath>
#include <limits>

namespace limber::petsc::detail {

namespace {

// The data of the convergence test of one run.
struct Watch {
  const Iteration* problem;
  double goal;   // the run ends when its own residual is this small
  int before;    // iterations of earlier runs
  bool lsqr;     // true if LSQR computes the residual
  bool watched;  // true if some process has an observer
  bool stopped = false, flat = false;
};

// The residual that the method updates, converted to the norm of the problem as far as possible.
PetscErrorCode updatedResidual(KSP solver, const Watch& watch, double norm, double* residual) {
  *residual = norm;
  if (!watch.lsqr) return 0;
  PetscReal transposed = -1.0, matrixNorm = 0.0;
  PetscCall(KSPLSQRGetNorms(solver, &transposed, &matrixNorm));
  *residual = transposed >= 0.0 ? transposed : std::numeric_limits<double>::max();
  return 0;
}

PetscErrorCode test(KSP solver, PetscInt iteration, PetscReal norm, KSPConvergedReason* reason,
                    void* context) {
  Watch& watch = *static_cast<Watch*>(context);
  const SolveOptions& options = *watch.problem->options;
  double residual = 0.0;
  PetscCall(updatedResidual(solver, watch, norm, &residual));
  *reason = KSP_CONVERGED_ITERATING;
  if (!std::isfinite(norm))
    *reason = KSP_DIVERGED_NANORINF;
  else if (residual <= watch.goal)
    *reason = KSP_CONVERGED_RTOL;

  if (watch.watched && iteration > 0) {
    const double users = std::ldexp(residual, watch.problem->unit);
    const int stop = options.observer
                         ? options.observer(watch.before + iteration, users * users, options.observerData)
                         : 0;
    if (agree(watch.problem->comm, stop != 0)) {
      watch.stopped = true;
      *reason = KSP_CONVERGED_ITS;
    }
  }
  return 0;
}

// Recomputes the residual of x.
PetscErrorCode residualOf(const Iteration& problem, Vec x, double* norm) {
  Array r;
  PetscCall(VecDuplicate(problem.b, &r));
  PetscCall(problem.op->apply(x, r));
  PetscCall(VecAYPX(r, -1.0, problem.b));
  if (!problem.leastSquares) {
    PetscCall(VecNorm(r, NORM_2, norm));
    return 0;
  }
  Array transposed;
  PetscCall(VecDuplicate(x, &transposed));
  PetscCall(problem.op->applyTransposed(r, transposed));
  PetscCall(VecPointwiseMult(transposed, transposed, problem.inverseColumnScales));
  PetscCall(VecNorm(transposed, NORM_2, norm));
  return 0;
}

void finish(SolveStatus status, const char* message, SolveReport* report) {
  report->status = status;
  report->message = message;
}

void explain(bool solved, bool stopped, bool indefinite, bool limit, SolveReport* report) {
  if (solved)
    finish(SOLVE_CONVERGED, "The residual is as small as asked for.", report);
  else if (stopped)
    finish(SOLVE_STOPPED, "The observer ended the solve.", report);
  else if (indefinite)
    finish(SOLVE_BREAKDOWN, "The matrix or the preconditioner is not positive definite.", report);
  else if (limit)
    finish(SOLVE_LIMIT, "The iterations are used up.", report);
  else
    finish(SOLVE_STAGNATED, "More iterations do not make the residual smaller.", report);
}

}  // namespace

PetscErrorCode iterate(const Iteration& problem, SolveReport* report) {
  const SolveOptions& options = *problem.options;
  Array zero, best;
  PetscCall(VecDuplicate(problem.x, &zero));
  PetscCall(VecSet(zero, 0.0));
  PetscCall(VecDuplicate(problem.x, &best));
  PetscCall(VecCopy(problem.x, best));
  double rightHandSide = 0.0, smallest = 0.0;
  PetscCall(residualOf(problem, zero, &rightHandSide));
  PetscCall(residualOf(problem, problem.x, &smallest));
  const double goal = options.relative * rightHandSide;

  PetscInt unknowns = 0;
  PetscCall(VecGetSize(problem.x, &unknowns));
  const double generous = 20.0 * unknowns + 1000.0;
  const int limit =
      options.maxIterations > 0 ? options.maxIterations : static_cast<int>(std::fmin(generous, 2e9));

  PetscBool lsqr = PETSC_FALSE;
  PetscCall(PetscObjectTypeCompare(reinterpret_cast<PetscObject>(problem.solver), KSPLSQR, &lsqr));
  Watch watch{&problem, goal, 0, lsqr == PETSC_TRUE, agree(problem.comm, options.observer != nullptr) != 0};
  PetscCall(KSPSetConvergenceTest(problem.solver, test, &watch, nullptr));
  PetscCall(KSPSetInitialGuessNonzero(problem.solver, PETSC_TRUE));

  // A run ends according to the residual that the method updates. That may differ from the true one because
  // of rounding or another norm. So a run that ends too early is followed by another one from its result, as
  // long as that halves the residual.
  bool indefinite = false, progress = true;
  while (!(smallest <= goal) && progress && !watch.stopped && !indefinite && watch.before < limit) {
    PetscCall(KSPSetTolerances(problem.solver, 0.0, 0.0, 1e300, limit - watch.before));
    PetscCall(KSPSolve(problem.solver, problem.b, problem.x));
    KSPConvergedReason reason = KSP_CONVERGED_ITERATING;
    PetscInt iterations = 0;
    PetscCall(KSPGetConvergedReason(problem.solver, &reason));
    PetscCall(KSPGetIterationNumber(problem.solver, &iterations));
    watch.before += iterations;
    indefinite = reason == KSP_DIVERGED_INDEFINITE_MAT || reason == KSP_DIVERGED_INDEFINITE_PC;

    double now = 0.0;
    PetscCall(residualOf(problem, problem.x, &now));
    progress = now <= 0.5 * smallest;
    if (now < smallest) {
      smallest = now;
      PetscCall(VecCopy(problem.x, best));
    } else {
      PetscCall(VecCopy(best, problem.x));
    }
    watch.goal *= 0.1;
  }

  report->iterations = watch.before;
  report->products = problem.op->products;
  report->residual = std::ldexp(smallest, problem.unit);
  report->relativeResidual = rightHandSide > 0.0 ? smallest / rightHandSide : smallest > 0.0 ? 1.0 : 0.0;
  explain(smallest <= goal, watch.stopped, indefinite, watch.before >= limit, report);
  return 0;
}

SolveReport badInput() {
  return {SOLVE_BAD_INPUT, 0, 0, 0.0, 0.0, 0.0, "The input is not usable; the process concerned said why."};
}

SolveReport engineError() {
  const double unknown = std::numeric_limits<double>::quiet_NaN();
  return {SOLVE_BREAKDOWN, 0, 0, unknown, unknown, 0.0, "PETSc reported an error; its text was printed."};
}

}  // namespace limber::petsc::detail
