#include "limber/solvers/NCGrad.h"

#include <cstdio>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/MCGrad.h"
#include "limber/solvers/detail/CGWork.h"
#include "limber/solvers/detail/SolveCopy.h"

using limber::detail::cgWork;

namespace {

struct Outcome {
  CGStatus status;
  int iterations;
};

Outcome solve(SpMat* A, Vector* x, Vector* b, double* rsqOut, CGMultFun mult, Preconditioner* pre) {
  double rsq = 0.0, last = 0.0;
  int iterations = 0;
  CGIStatus inner = CGI_TOO_MANY_ITERS;
  const CGStatus status = mcgradI(A, x, b, rsq, last, iterations, inner, mult, pre);
  if (rsqOut) *rsqOut = last;
  return {status, iterations};
}

int result(Outcome outcome) {
  if (outcome.status == CG_ACCEPT) return outcome.iterations;
  return outcome.status == CG_FAILED ? -1 : -outcome.iterations;
}

/// The answer to a right-hand side that is as good as zero.
bool solvedByZero(Vector* x, Vector* b, double* rsqOut) {
  const double bsq = b->magSq();
  if (!(bsq < cg_epsilon)) return false;
  *x = 0.0;
  if (rsqOut) *rsqOut = bsq;
  return true;
}

struct RightHandSide {
  Vector v{cgradMAXX > 0 ? cgradMAXX : 0};
};

void multFunAAt(SpMat* A, const Vector* v, Vector* w) {
  Vector& t = cgWork().product;
  limber::detail::cgMultT(A, v, &t);
  limber::detail::cgMult(A, &t, w);
}

void checkSizes(const SpMat& A, const Vector* mass, const Vector* dampV) {
  const int height = A.height();
  const int width = A.width();
  if (mass && mass->count < width) {
    static char message[200];
    std::snprintf(message, sizeof message, "CGRAD warning: massvec wrong size! massVec(%d) matrix(%d x %d)",
                  mass->count, width, height);
    limber::detail::ReportSite{"NewCGrad", __LINE__}.warn(message, "");
  }
  if (dampV && dampV->count != height) {
    limber::detail::ReportSite{"NewCGrad", __LINE__}.warn(
        "damping vector is not the same as the height of matrix!", "Cgrad mult may fail!");
  }
}

}  // namespace

int ncgradA(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  if (solvedByZero(x, b, rsqOut)) return 0;
  const Outcome outcome = solve(A, x, b, rsqOut, multFunA, nullptr);
  return outcome.status == CG_ACCEPT ? outcome.iterations : -outcome.iterations;
}

int ncgradAtA(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  if (solvedByZero(x, b, rsqOut)) return 0;
  return result(solve(A, x, b, rsqOut, multFunAtA, nullptr));
}

int ncgrad(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  Vector& t = limber::detail::createdOnFirstUse<RightHandSide>().v;
  limber::detail::cgMultT(A, b, &t);
  return ncgradAtA(A, x, &t, rsqOut);
}

int ncgradDamp(SpMat* A, Vector* x, Vector* b, double* rsqOut, double d) {
  limber::detail::cgNormalDamping = d;
  const int iterations = ncgrad(A, x, b, rsqOut);
  limber::detail::cgNormalDamping = 0.0;
  return iterations;
}

int ncgradJJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* dampV, Preconditioner* pre) {
  cgradDampV = dampV;
  // leaves cgradDampV set, deliberately
  if (solvedByZero(x, b, rsqOut)) return 0;
  const Outcome outcome = solve(A, x, b, rsqOut, multFunJJt, pre);
  cgradDampV = nullptr;
  return result(outcome);
}

int ncgradJVJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* mass, Vector* dampV,
               Preconditioner* pre) {
  cgradDampV = dampV;
  cgradMassVec = mass;
  checkSizes(*A, mass, dampV);
  // leaves both set, deliberately
  if (solvedByZero(x, b, rsqOut)) return 0;
  const Outcome outcome = solve(A, x, b, rsqOut, multFunJJt, pre);
  cgradDampV = nullptr;
  cgradMassVec = nullptr;
  return result(outcome);
}

int ncgradAAt(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  const limber::detail::SolveCopy copy(A);
  return result(solve(A, x, b, rsqOut, multFunAAt, nullptr));
}
