#include "limber/solvers/PureCGrad.h"

#include <algorithm>
#include <cmath>

#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/OrderedSums.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/detail/CGPass.h"
#include "limber/solvers/detail/CGTrace.h"
#include "limber/solvers/detail/WorkVectors.h"

using namespace limber::detail;

namespace {

// One pass: the operator, the vectors, and the numbers that one step passes to the next.
struct Pass {
  const SolveOperator& M;
  SolveWatch& watch;
  Vector *x, *b, *r, *p, *q, *z, *bestX;
  Preconditioner* precond;
  int &iter, &bestIter;
  double& rsq;
  double bestRsq = 0.0, rsqPrev = 0.0, rz = 0.0, rzPrev = 0.0, alpha = 0.0, beta = 0.0;

  CGIStatus run(int maxIters) {
    residual(r);
    if (z) setLength(z, r->count);
    rsq = r->magSq();
    if (rsq < cg_tol) return CGI_SOLVED;
    bestIter = 0;
    bestRsq = rsq;
    if (bestX) *bestX = *x;
    watch.start(*x, rsq);
    traceStart();
    for (iter = 1; iter < maxIters; ++iter) {
      const double lastR = rsq;
      applyPreconditioner();
      updateDirection();
      if (!step()) return CGI_SINGULAR;
      traceStep(lastR);
      const bool solved = confirmSolved();
      if (!solved) resetResidual();
      const bool asked = watch.observe(*x, rsq);
      if (solved) return CGI_SOLVED;
      const bool better = keepBest();
      if (asked) {
        watch.stop(x, rsq);
        return CGI_NO_IMPROVEMENT;
      }
      if (!better && giveUpWithoutProgress()) return CGI_NO_IMPROVEMENT;
    }
    return endAtLimit();
  }

 private:
  bool tracing() const { return cg_verbosity > 1 || cgradDribble; }

  // out = b - M x.
  void residual(Vector* out) const {
    M.apply(x, out);
    cgNegativeDifference(out, b);
  }

  // x^T M x / 2.
  double objectiveProduct() const {
    Vector& t = cgWork().best;  // Contract: the trace overwrites the vector of the best solution.
    M.apply(x, &t);
    return 0.5 * dot(x, &t);
  }

  // Contract: the objective has + x^T b here and - x^T b in each iteration. The labels of the trace file are
  // swapped.
  void traceStart() const {
    if (!tracing()) return;
    const double objective = objectiveProduct() + dot(x, b);
    if (cg_verbosity > 1) cgConsole("cg:iter (0)  - rsq(%g) rp:(%g)\n", rsq, objective);
    cgTrace("  cg:iter (  0)  - obj (%g) rsq(%g)\n", rsq, objective);
  }

  void traceStep(double lastR) const {
    if (!tracing()) return;
    const double objective = objectiveProduct() - dot(x, b);
    if (cg_verbosity > 1) {
      cgConsole("cg:iter (%d)  - obj(%g) rsq(%g) lastR(%g) alpha(%g) beta(%g)\n", iter, objective, rsq, lastR,
                alpha, beta);
    }
    // Contract: with a preconditioner both are already the new value, so the ratio is always 1.
    const double nextBeta = precond ? rz / rzPrev : rsq / rsqPrev;
    cgTrace("    cg:iter (%3d) - obj (%g) rsq(%g) lastR(%g) alpha(%g) beta(%g) nextBeta(%g)\n", iter,
            objective, rsq, lastR, alpha, beta, nextBeta);
  }

  // z = the preconditioned residual.
  void applyPreconditioner() {
    if (!precond) return;
    precond->solve(r, z);
    rz = dot(r, z);
  }

  // p = z + beta p. Without a preconditioner, z is r.
  void updateDirection() {
    const Vector& from = precond ? *z : *r;
    if (iter == 1) {
      assign(p, from);
      return;
    }
    beta = precond ? rz / rzPrev : rsq / rsqPrev;
    const int n = std::min(p->count, from.count);
    double* const to = p->data;
    const double* const add = from.data;
    for (int i = 0; i < n; ++i) to[i] = add[i] + to[i] * beta;
    for (int i = n; i < p->count; ++i) to[i] *= beta;
  }

  // x += alpha p, r -= alpha M p, rsq = |r|^2. False, and x unchanged, if the curvature along p vanishes.
  bool step() {
    M.apply(p, q);
    const double curvature = dot(p, q);
    if (std::fabs(curvature) < cg_epsilon) return false;
    alpha = (precond ? rz : rsq) / curvature;
    rsqPrev = rsq;
    rzPrev = rz;
    const int n = x->count;
    if (n == p->count && n == q->count && n == r->count) {
      rsq = stepMagSq(n, alpha, p->data, q->data, x->data, r->data);
      return true;
    }
    x->scaleAdd(alpha, p);
    r->scaleAdd(-alpha, q);
    rsq = r->magSq();
    return true;
  }

  // Recomputes a small residual from x. True if the new one is small too; otherwise the pass continues with
  // it.
  bool confirmSolved() {
    if (!(rsq < cg_tol)) return false;
    const double was = rsq;
    residual(r);
    rsq = r->magSq();
    if (rsq < cg_tol) return true;
    cgReport("  cg:false solution @ %d (was:%g now:%g). keep going....\n",
             "    cg:false solution @ %d (was:%g now:%g). keep going....\n", iter, was, rsq);
    return false;
  }

  // Recomputes the residual from x every cg_reset_resid iterations.
  void resetResidual() {
    if (cg_reset_resid == 0 || iter % cg_reset_resid != 0) return;
    residual(q);
    rsq = q->magSq();
    assign(r, *q);
    // Contract: the new value is compared with itself. So the console line never appears, and the trace file
    // gets the new value twice.
    const double difference = 0.0 / rsq;
    const char* const line = "roundoff error (%d), rmag %g, should be %g, %g%% difference\n";
    if (std::fabs(difference) > 0.01) cgConsole(line, iter, rsq, rsq, difference * 100.0);
    cgTrace(line, iter, rsq, rsq, difference * 100.0);
  }

  // Stores x if it is the best iterate of the pass.
  bool keepBest() {
    if (!(rsq < bestRsq)) return false;
    bestRsq = rsq;
    bestIter = iter;
    if (bestX) *bestX = *x;
    return true;
  }

  // After too many iterations without a new best, restores the best iterate and returns true.
  bool giveUpWithoutProgress() {
    if (!(iter - bestIter > cgStagnationLimit)) return false;
    if (bestX) {
      cgReport("backing up to better time (%d:%g->%d:%g)\n", "    backing up to better time (%d:%g->%d:%g)\n",
               bestIter, bestRsq, iter, rsq);
      assign(x, *bestX);
      rsq = bestRsq;
    } else {
      stdoutPrintf("warning - cg not backing up to better time (%d:%g->%d:%g)\n", bestIter, bestRsq, iter,
                   rsq);
    }
    cgReport("  no improvement from iter %d to iter %d, giving up\n",
             "    no improvement from iter %d to iter %d, giving up\n", bestIter, iter);
    return true;
  }

  // Restores the best iterate if x is another one.
  CGIStatus endAtLimit() {
    if (!(bestRsq < rsq)) return CGI_TOO_MANY_ITERS;
    if (bestX) {
      cgReport("  cg:backing up to better time (%d:%g->%d:%g)\n",
               "    cg:backing up to better time (%d:%g->%d:%g)\n", bestIter, bestRsq, iter, rsq);
      assign(x, *bestX);
      rsq = bestRsq;
    } else {
      const char* const line = "warning - cg not backing up to better time (%d) (%g->%g)\n";
      stdoutPrintf(line, bestIter, bestRsq, rsq);
      cgTrace(line, bestIter, bestRsq, rsq);
    }
    return CGI_TOO_MANY_ITERS;
  }
};

}  // namespace

CGIStatus limber::detail::cgPass(const SolveOperator& M, SolveWatch& watch, Vector* x, Vector* b,
                                 const PassVectors& work, int maxIters, int& iter, int& bestIter, double& rsq,
                                 Preconditioner* precond) {
  Pass pass{M, watch, x, b, work.r, work.p, work.q, work.z, work.best, precond, iter, bestIter, rsq};
  return pass.run(maxIters);
}

CGIStatus pureCGrad(SpMat* A, Vector* x, Vector* b, CGMultFun mult, Vector* r, Vector* p, Vector* q,
                    int maxIters, int& iter, int& bestIter, double& rsq, Vector* bestX,
                    Preconditioner* precond, Vector* z) {
  for (Vector* v : {x, r, p, q, z}) {
    if (v) clearSpare(v);
  }
  const SolveOperator M(A, mult);
  SolveWatch watch;
  return cgPass(M, watch, x, b, {r, p, q, z, bestX}, maxIters, iter, bestIter, rsq, precond);
}
