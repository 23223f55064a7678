#include "limber/solvers/PureCGrad.h"

#include <algorithm>
#include <cmath>

#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/Chains.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/detail/CGTrace.h"
#include "limber/solvers/detail/CGWork.h"
#include "limber/solvers/detail/SolveCopy.h"

using limber::detail::cgConsole;
using limber::detail::cgReport;
using limber::detail::cgTrace;

namespace {

/// One pass: the operator, the vectors and the numbers that its steps hand on.
struct Pass {
  SpMat* A;
  Vector *x, *b;
  CGMultFun mult;
  Vector *r, *p, *q, *bestX;
  Preconditioner* precond;
  Vector* z;
  int &iter, &bestIter;
  double& rsq;
  double bestRsq = 0.0, rsqPrev = 0.0, rz = 0.0, rzPrev = 0.0, alpha = 0.0, beta = 0.0;

  CGIStatus run(int maxIters);

 private:
  bool tracing() const { return cg_verbosity > 1 || cgradDribble; }
  void residual(Vector* out) const;
  double objectiveProduct() const;
  void traceStart() const;
  void traceStep(double lastR) const;
  void direct();
  bool step();
  bool solved();
  void resetResidual();
  bool stagnates();
  CGIStatus limitReached();
};

/// out = b - M x.
void Pass::residual(Vector* out) const {
  mult(A, x, out);
  limber::detail::cgNegativeDifference(out, b);
}

/// x^T M x / 2. The product goes to the best-solution store, deliberately: there is no vector of its own.
double Pass::objectiveProduct() const {
  Vector& t = limber::detail::cgWork().best;
  mult(A, x, &t);
  return 0.5 * dot(x, &t);
}

/// The objective has + x^T b here and - x^T b in each iteration, and the trace file's labels are swapped:
/// both deliberate, logs are compared with older ones.
void Pass::traceStart() const {
  if (!tracing()) return;
  const double objective = objectiveProduct() + dot(x, b);
  if (cg_verbosity > 1) cgConsole("cg:iter (0)  - rsq(%g) rp:(%g)\n", rsq, objective);
  cgTrace("  cg:iter (  0)  - obj (%g) rsq(%g)\n", rsq, objective);
}

void Pass::traceStep(double lastR) const {
  if (!tracing()) return;
  const double objective = objectiveProduct() - dot(x, b);
  if (cg_verbosity > 1) {
    cgConsole("cg:iter (%d)  - obj(%g) rsq(%g) lastR(%g) alpha(%g) beta(%g)\n", iter, objective, rsq, lastR,
              alpha, beta);
  }
  // with a preconditioner both are the new value already, so the ratio is always 1: kept for the logs
  const double nextBeta = precond ? rz / rzPrev : rsq / rsqPrev;
  cgTrace("    cg:iter (%3d) - obj (%g) rsq(%g) lastR(%g) alpha(%g) beta(%g) nextBeta(%g)\n", iter, objective,
          rsq, lastR, alpha, beta, nextBeta);
}

/// p = z + beta p, where z is r itself without a preconditioner.
void Pass::direct() {
  const Vector& from = precond ? *z : *r;
  if (iter == 1) {
    *p = from;
    return;
  }
  beta = precond ? rz / rzPrev : rsq / rsqPrev;
  const int n = std::min(p->count, from.count);
  double* const to = p->data;
  const double* const add = from.data;
  for (int i = 0; i < n; ++i) to[i] = add[i] + to[i] * beta;
  for (int i = n; i < p->count; ++i) to[i] *= beta;
}

/// x += alpha p, r -= alpha M p, rsq = |r|^2; false when the curvature along p vanishes.
bool Pass::step() {
  mult(A, p, q);
  const double curvature = dot(p, q);
  if (std::fabs(curvature) < cg_epsilon) return false;
  alpha = (precond ? rz : rsq) / curvature;
  rsqPrev = rsq;
  rzPrev = rz;
  const int n = x->count;
  if (n == p->count && n == q->count && n == r->count) {
    rsq = limber::detail::stepMagSq(n, alpha, p->data, q->data, x->data, r->data);
    return true;
  }
  x->scaleAdd(alpha, p);
  r->scaleAdd(-alpha, q);
  rsq = r->magSq();
  return true;
}

/// A small residual counts only when the one computed from scratch is small too.
bool Pass::solved() {
  if (!(rsq < cg_tol)) return false;
  const double was = rsq;
  residual(r);
  rsq = r->magSq();
  if (rsq < cg_tol) return true;
  cgReport("  cg:false solution @ %d (was:%g now:%g). keep going....\n",
           "    cg:false solution @ %d (was:%g now:%g). keep going....\n", iter, was, rsq);
  return false;
}

/// The difference is that of the new value from itself, deliberately: always zero, so that the console line
/// never appears and the trace file gets the new value twice.
void Pass::resetResidual() {
  if (cg_reset_resid == 0 || iter % cg_reset_resid != 0) return;
  residual(q);
  rsq = q->magSq();
  *r = *q;
  const double difference = 0.0 / rsq;
  const char* const line = "roundoff error (%d), rmag %g, should be %g, %g%% difference\n";
  if (std::fabs(difference) > 0.01) cgConsole(line, iter, rsq, rsq, difference * 100.0);
  cgTrace(line, iter, rsq, rsq, difference * 100.0);
}

/// Keeps the best iterate; true when there has been none for too long.
bool Pass::stagnates() {
  if (rsq < bestRsq) {
    bestRsq = rsq;
    bestIter = iter;
    if (bestX) *bestX = *x;
    return false;
  }
  if (!(iter - bestIter > limber::detail::cgStagnationLimit)) return false;
  if (bestX) {
    cgReport("backing up to better time (%d:%g->%d:%g)\n", "    backing up to better time (%d:%g->%d:%g)\n",
             bestIter, bestRsq, iter, rsq);
    *x = *bestX;
    rsq = bestRsq;
  } else {
    stdoutPrintf("warning - cg not backing up to better time (%d:%g->%d:%g)\n", bestIter, bestRsq, iter, rsq);
  }
  cgReport("  no improvement from iter %d to iter %d, giving up\n",
           "    no improvement from iter %d to iter %d, giving up\n", bestIter, iter);
  return true;
}

CGIStatus Pass::limitReached() {
  if (!(bestRsq < rsq)) return CGI_TOO_MANY_ITERS;
  if (bestX) {
    cgReport("  cg:backing up to better time (%d:%g->%d:%g)\n",
             "    cg:backing up to better time (%d:%g->%d:%g)\n", bestIter, bestRsq, iter, rsq);
    *x = *bestX;
    rsq = bestRsq;
  } else {
    const char* const line = "warning - cg not backing up to better time (%d) (%g->%g)\n";
    stdoutPrintf(line, bestIter, bestRsq, rsq);
    cgTrace(line, bestIter, bestRsq, rsq);
  }
  return CGI_TOO_MANY_ITERS;
}

CGIStatus Pass::run(int maxIters) {
  residual(r);
  if (z) z->grow(r->count);
  rsq = r->magSq();
  if (rsq < cg_tol) return CGI_SOLVED;
  bestIter = 0;
  bestRsq = rsq;
  if (bestX) *bestX = *x;
  traceStart();
  for (iter = 1; iter < maxIters; ++iter) {
    const double lastR = rsq;
    if (precond) {
      precond->solve(r, z);
      rz = dot(r, z);
    }
    direct();
    if (!step()) return CGI_SINGULAR;
    traceStep(lastR);
    if (solved()) return CGI_SOLVED;
    resetResidual();
    if (stagnates()) return CGI_NO_IMPROVEMENT;
  }
  return limitReached();
}

}  // namespace

CGIStatus pureCGrad(SpMat* A, Vector* x, Vector* b, CGMultFun mult, Vector* r, Vector* p, Vector* q,
                    int maxIters, int& iter, int& bestIter, double& rsq, Vector* bestX,
                    Preconditioner* precond, Vector* z) {
  const limber::detail::SolveCopy copy(A, mult);
  Pass pass{A, x, b, mult, r, p, q, bestX, precond, z, iter, bestIter, rsq};
  return pass.run(maxIters);
}
