#include "limber/solvers/MCGrad.h"

#include <algorithm>

#include "limber/linalg/SpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/PureCGrad.h"
#include "limber/solvers/detail/CGTrace.h"
#include "limber/solvers/detail/CGWork.h"
#include "limber/solvers/detail/SolveCopy.h"

using limber::detail::cgReport;
using limber::detail::cgTrace;

CGStatus mcgradI(SpMat* A, Vector* x, Vector* b, double& rsq, double& rsqOut, int& totalIters,
                 CGIStatus& status, CGMultFun mult, Preconditioner* precond) {
  limber::detail::CGWork& work = limber::detail::cgWork();
  const int height = A->height();
  const int width = A->width();
  const int n = std::max(height, width);
  const int maxIters = limber::detail::cgIterationLimit(*A);
  limber::detail::cgStagnationLimit = n * cg_goNoWhereSc;
  // all four from the matrix, deliberately: x and b may have other lengths
  cgTrace("MCGRADI x:%d b:%d a:(rows:%d cols:%d)\n", width, height, height, width);

  const limber::detail::SolveCopy copy(A, mult);
  rsq = rsqOut = 0.0;
  totalIters = 0;
  int bestIter = 1;
  for (int pass = 0; pass < cg_maxRestarts; ++pass) {
    cgTrace("  Restart : %d  (%d total Iterations)\n", pass, totalIters);
    if (bestIter == 0) {
      *x *= 0.5;
      x->scaleAdd(0.5, b);
    }
    int iter = 0;
    status = pureCGrad(A, x, b, mult, &work.r, &work.p, &work.q, maxIters, iter, bestIter, rsq, &work.best,
                       precond, &work.z);
    rsqOut = rsq;
    totalIters += iter;
    const char* const reason = cgiToString(status);
    if (status == CGI_SOLVED) {
      const char* const line = "  cg:ACCEPT  after (%3d) because %s\n";
      cgReport(line, line, totalIters, reason);
      return CG_ACCEPT;
    }
    if (status == CGI_SINGULAR) {
      // silent means silent in the trace file too, deliberately, for this line only
      const char* const line = "  cg:FAILED  after (%3d) because %s\n";
      if (cg_verbosity != 0) cgReport(line, line, totalIters, reason);
      return CG_FAILED;
    }
    const char* const line = "  cg:Restart after (%3d) because %s\n";
    cgReport(line, line, totalIters, reason);
  }
  const char* const line = "  cg:FAILED  stop  (%3d) because %s\n";
  cgReport(line, line, totalIters, cgiToString(status));
  return CG_STOP;
}
