#include "limber/solvers/NCGrad.h"

#include <cstdio>

#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/CGPass.h"
#include "limber/solvers/detail/SizeWarning.h"
#include "limber/solvers/detail/WorkVectors.h"

using namespace limber::detail;

namespace {

SolveOutcome solve(const SolveOperator& M, Vector* x, Vector* b, double* rsqOut, Preconditioner* pre) {
  const SolveOutcome outcome = cgRestarted(M, x, b, pre, CGI_TOO_MANY_ITERS);
  if (rsqOut) *rsqOut = outcome.rsq;
  return outcome;
}

int result(const SolveOutcome& outcome) {
  if (outcome.status == CG_ACCEPT) return outcome.iterations;
  return outcome.status == CG_FAILED ? -1 : -outcome.iterations;
}

// If |b|^2 is below cg_epsilon, sets x to zero without a message and without a call of the matrix, and
// returns true.
bool solveByZero(Vector* x, Vector* b, double* rsqOut) {
  clearStopped();
  const double bsq = b->magSq();
  if (!(bsq < cg_epsilon)) return false;
  *x = 0.0;
  if (rsqOut) *rsqOut = bsq;
  return true;
}

void warnIfShort(const char* solver, const Vector* x, int unknowns, const Vector* b, int equations) {
  warnOfShortVectors("NewCGrad", solver, x->count, unknowns, b->count, equations);
}

struct RightHandSide : WorkVector {};

void checkSizes(const SolveOperator& M, const Vector* mass, const Vector* dampV) {
  const int height = M.height();
  const int width = M.width();
  if (mass && mass->count < width) {
    static char message[200];
    std::snprintf(message, sizeof message, "CGRAD warning: massvec wrong size! massVec(%d) matrix(%d x %d)",
                  mass->count, width, height);
    ReportSite{"NewCGrad", __LINE__}.warn(message, "");
  }
  if (dampV && dampV->count != height) {
    ReportSite{"NewCGrad", __LINE__}.warn("damping vector is not the same as the height of matrix!",
                                          "Cgrad mult may fail!");
  }
}

}  // namespace

int ncgradA(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  if (solveByZero(x, b, rsqOut)) return 0;
  const SolveOperator M(A, applyA);
  warnIfShort("ncgradA", x, M.width(), b, M.height());
  const SolveOutcome outcome = solve(M, x, b, rsqOut, nullptr);
  // Contract: a singular system gives minus the iterations here, not -1.
  return outcome.status == CG_ACCEPT ? outcome.iterations : -outcome.iterations;
}

int ncgradAtA(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  if (solveByZero(x, b, rsqOut)) return 0;
  const SolveOperator M(A, applyAtA);
  const int width = M.width();
  warnIfShort("ncgradAtA", x, width, b, width);
  return result(solve(M, x, b, rsqOut, nullptr));
}

int ncgrad(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  Vector& t = createdOnFirstUse<RightHandSide>();
  const SolveOperator M(A, applyAtA);
  M.matrix().multT(b, &t);
  if (solveByZero(x, &t, rsqOut)) return 0;
  warnIfShort("ncgrad", x, M.width(), b, M.height());
  return result(solve(M, x, &t, rsqOut, nullptr));
}

int ncgradDamp(SpMat* A, Vector* x, Vector* b, double* rsqOut, double d) {
  cgNormalDamping = d;
  const int iterations = ncgrad(A, x, b, rsqOut);
  cgNormalDamping = 0.0;
  return iterations;
}

int ncgradJJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* dampV, Preconditioner* pre) {
  cgradDampV = dampV;
  // Contract: this return leaves cgradDampV set.
  if (solveByZero(x, b, rsqOut)) return 0;
  const SolveOperator M(A, applyJJt);
  warnIfShort("ncgradJJt", x, M.height(), b, M.height());
  const SolveOutcome outcome = solve(M, x, b, rsqOut, pre);
  cgradDampV = nullptr;
  return result(outcome);
}

int ncgradJVJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* mass, Vector* dampV,
               Preconditioner* pre) {
  cgradDampV = dampV;
  cgradMassVec = mass;
  const SolveOperator M(A, applyJJt);
  checkSizes(M, mass, dampV);
  // Contract: this return leaves cgradDampV and cgradMassVec set.
  if (solveByZero(x, b, rsqOut)) return 0;
  warnIfShort("ncgradJVJt", x, M.height(), b, M.height());
  const SolveOutcome outcome = solve(M, x, b, rsqOut, pre);
  cgradDampV = nullptr;
  cgradMassVec = nullptr;
  return result(outcome);
}

int ncgradAAt(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  const SolveOperator M(A, applyAAt);
  warnIfShort("ncgradAAt", x, M.height(), b, M.height());
  return result(solve(M, x, b, rsqOut, nullptr));
}
