#include "limber/solvers/BiCGrad.h"

#include <algorithm>
#include <cmath>

#include "limber/foundation/Output.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/BiCGPass.h"
#include "limber/solvers/detail/CGTrace.h"
#include "limber/solvers/detail/CGWork.h"
#include "limber/solvers/detail/SolveCopy.h"

double bicg_checkBiCG = 0.0;
int bicg_numZeroSteps = 5;
double bicg_zeroStep = 0.01;

namespace {

int room() { return std::max(cgradMAXX, 0); }

struct BiCGWork {
  Vector r{room()}, rr{room()}, p{room()}, pp{room()}, q{room()}, scratch{room()}, best{room()};
};

}  // namespace

Vector* residual(SpMat* A, Vector* x, Vector* b, Vector* r) {
  limber::detail::cgMult(A, x, r);
  *r *= -1.0;
  *r += b;
  return r;
}

CGIStatus biCGradI(SpMat* A, Vector* x, Vector* b, double& rsq, int& iter, Vector* r, Vector* rr, Vector* p,
                   Vector* pp, Vector* q, Vector* scratch, Vector* best, int maxIters, int shadowIsResidual) {
  const limber::detail::SolveCopy copy(A);
  limber::detail::BiCGPass pass{A, x, b, r, rr, p, pp, q, scratch, best, shadowIsResidual != 0, rsq, iter};
  return pass.run(maxIters);
}

CGIStatus biCGrad(SpMat* A, Vector* x, Vector* b, double& rsq, int& iterations, int shadowIsResidual) {
  BiCGWork& work = limber::detail::createdOnFirstUse<BiCGWork>();
  const limber::detail::SolveCopy copy(A);
  const int maxIters = limber::detail::cgIterationLimit(*A);
  iterations = 0;
  CGIStatus status = CGI_TOO_MANY_RESTARTS;
  for (int pass = 0; pass < cg_maxRestarts; ++pass) {
    int iter = 0;
    status = biCGradI(A, x, b, rsq, iter, &work.r, &work.rr, &work.p, &work.pp, &work.q, &work.scratch,
                      &work.best, maxIters, shadowIsResidual);
    iterations += iter;
    const char* const reason = cgiToString(status);
    if (status == CGI_SOLVED) {
      limber::detail::cgConsole("  cg:ACCEPT  after (%3d) because %s\n", iterations, reason);
      return status;
    }
    if (status == CGI_SINGULAR || status == CGI_BICG_CANT_START) {
      limber::detail::cgConsole("  cg:FAILED  after (%3d) because %s\n", iterations, reason);
      return status;
    }
    limber::detail::cgConsole("  cg:Restart after (%3d) because %s\n", iterations, reason);
  }
  limber::detail::cgConsole("  cg:FAILED  stop  (%3d) because %s\n", iterations, cgiToString(status));
  return CGI_TOO_MANY_RESTARTS;
}
