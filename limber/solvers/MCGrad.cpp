#include "limber/solvers/MCGrad.h"

#include <algorithm>

#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/CGPass.h"
#include "limber/solvers/detail/CGTrace.h"
#include "limber/solvers/detail/WorkVectors.h"

using namespace limber::detail;

namespace {

// Reports how the last pass ended, on the console and in the trace file.
void reportEnd(const char* line, const SolveOutcome& outcome) {
  cgReport(line, line, outcome.iterations, cgiToString(outcome.last));
}

// A caller's operation may not set the size of its result, so each work vector starts as n zeros. The
// caller's operator may have another size than the matrix, so n also covers x and b.
void clearWork(CGWork& work, int n) {
  for (Vector* v : {&work.r, &work.p, &work.q, &work.best, &work.z}) {
    setLength(v, n);
    *v = 0.0;
  }
}

}  // namespace

SolveOutcome limber::detail::cgRestarted(const SolveOperator& M, Vector* x, Vector* b,
                                         Preconditioner* precond, CGIStatus last) {
  CGWork& work = cgWork();
  clearSpare(x);
  const int height = M.height();
  const int width = M.width();
  const int n = std::max(height, width);
  const int maxIters = cgIterationLimit(n);
  cgStagnationLimit = n * cg_goNoWhereSc;
  // Contract: all four come from the matrix, although x and b may have other lengths.
  cgTrace("MCGRADI x:%d b:%d a:(rows:%d cols:%d)\n", width, height, height, width);

  if (M.isCallers()) clearWork(work, std::max({n, x->count, b->count}));
  SolveWatch watch;
  SolveOutcome outcome = {CG_STOP, last, 0, 0.0};
  int bestIter = 1;
  for (int pass = 0; pass < cg_maxRestarts; ++pass) {
    cgTrace("  Restart : %d  (%d total Iterations)\n", pass, outcome.iterations);
    if (bestIter == 0) {
      *x *= 0.5;
      x->scaleAdd(0.5, b);
    }
    int iter = 0;
    outcome.last = cgPass(M, watch, x, b, {&work.r, &work.p, &work.q, &work.z, &work.best}, maxIters, iter,
                          bestIter, outcome.rsq, precond);
    outcome.iterations += iter;
    if (outcome.last == CGI_SOLVED) {
      reportEnd("  cg:ACCEPT  after (%3d) because %s\n", outcome);
      outcome.status = CG_ACCEPT;
      return outcome;
    }
    if (outcome.last == CGI_SINGULAR) {
      // Contract: without verbosity this line, unlike the others, is left out of the trace file too.
      if (cg_verbosity != 0) reportEnd("  cg:FAILED  after (%3d) because %s\n", outcome);
      outcome.status = CG_FAILED;
      return outcome;
    }
    if (watch.stopped()) break;
    reportEnd("  cg:Restart after (%3d) because %s\n", outcome);
  }
  reportEnd("  cg:FAILED  stop  (%3d) because %s\n", outcome);
  return outcome;
}

CGStatus mcgradI(SpMat* A, Vector* x, Vector* b, double& rsq, double& rsqOut, int& totalIters,
                 CGIStatus& status, CGMultFun mult, Preconditioner* precond) {
  const SolveOutcome outcome = cgRestarted(SolveOperator(A, mult), x, b, precond, status);
  rsq = rsqOut = outcome.rsq;
  totalIters = outcome.iterations;
  status = outcome.last;
  return outcome.status;
}
