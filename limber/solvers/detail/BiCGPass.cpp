#include "limber/solvers/detail/BiCGPass.h"

#include <cmath>

#include "limber/foundation/Output.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/CGTrace.h"
#include "limber/solvers/detail/CGWork.h"

namespace limber::detail {

namespace {

/// More than half a percent between a value carried along and the one computed anew.
bool roundedOff(double carried, double anew) { return std::fabs(anew - carried) > 0.005 * carried; }

double percent(double carried, double anew) { return (anew - carried) * 100.0 / carried; }

constexpr int longSolve = 1000;
constexpr int longSolveLines = 50;

}  // namespace

void BiCGPass::makeShadow(bool asResidual) {
  if (asResidual)
    *rr = *r;
  else
    cgMult(A, r, rr);
}

/// Goes back to the best iterate when a number is not finite.
CGIStatus BiCGPass::singularAtBest() {
  *x = *best;
  rsq = bestRsq;
  return CGI_SINGULAR;
}

/// The start: false, with the status, when the pass ends there.
bool BiCGPass::start(CGIStatus& status) {
  iter = 0;
  residual(A, x, b, r);
  makeShadow(shadowIsResidual);
  rsq = r->magSq();
  rho = dot(r, rr);
  *best = *x;
  bestRsq = rsq;
  status = CGI_SINGULAR;
  if (!std::isfinite(rsq)) return false;
  status = CGI_SOLVED;
  if (rsq < cg_tol) return false;
  if (std::fabs(rho) < cg_epsilon) {
    cgConsole("  bi-cg: initial guess at breakdown point\n");
    // the start moves by its residual; the shadow is A r from here, whichever was asked for
    *x += *r;
    residual(A, x, b, r);
    makeShadow(false);
    rsq = r->magSq();
    rho = dot(r, rr);
    if (std::isfinite(rsq) && std::fabs(rho) < cg_epsilon) {
      cgConsole("  bi-cg: CANNOT GET STARTED!\n");
      status = CGI_BICG_CANT_START;
      return false;
    }
  }
  if (!std::isfinite(rsq) || !std::isfinite(rho)) {
    status = singularAtBest();
    return false;
  }
  *p = *r;
  *pp = *rr;
  *best = *x;
  bestRsq = rsq;
  if (cg_verbosity > 1) cgConsole("bi-cg(%d): r:%g rr:%g rrr:%g\n", iter, rsq, rr->magSq(), rho);
  return true;
}

/// Whether the step that brought |r|^2 from `old` to rsq is one of too many without improvement.
bool BiCGPass::getsNowhere(double old) {
  const double relative = (rsq - old) / old;
  if (!(relative > -bicg_zeroStep)) return false;
  if (cg_verbosity > 1) {
    cgConsole("  bi-cg(%d): things got worse %g (%g) went to %g (%d), %g%% improvement\n", iter, old, bestRsq,
              rsq, bestIter, -100.0 * relative);
  }
  if (iter - bestIter <= bicg_numZeroSteps) return false;
  *x = *best;
  rsq = bestRsq;
  return true;
}

/// The new residual is orthogonal to the old shadow residual but for rounding.
bool BiCGPass::losesConjugacy() {
  if (!(bicg_checkBiCG > 0.0)) return false;
  const double product = dot(r, rr);
  const double loss = std::fabs(product) / rsq;
  if (loss > 0.5 * bicg_checkBiCG && cg_verbosity > 1) {
    cgConsole("  bi-cg(%d): bi-conjugacy condition violated! %5.2f%% %g\n", iter, loss * 100.0, product);
  }
  if (!(loss > bicg_checkBiCG)) return false;
  *x = *best;
  return true;
}

/// Computes the residual from scratch now and then, and always before a solution is believed.
bool BiCGPass::acceptsAfterRecomputation() {
  recomputed = (cg_reset_resid != 0 && iter % cg_reset_resid == 0) || rsq < cg_tol;
  if (!recomputed) return false;
  residual(A, x, b, scratch);
  const double anew = scratch->magSq();
  if (cg_verbosity > 1 && roundedOff(rsq, anew)) {
    cgConsole("  bi-cg(%d): RSQ roundoff error (%g) should be (%g) = (%g %%)\n", iter, rsq, anew,
              percent(rsq, anew));
  }
  rsq = anew;
  *r = *scratch;
  if (bestIter == iter) bestRsq = rsq;
  return rsq < cg_tol;
}

/// Moves the shadow residual on; true when it, or its product with r, vanishes. After a recomputation it is
/// made from the new r instead, and the directions start again with it: rebuilding it alone would leave
/// directions that belong to another pair of sequences.
bool BiCGPass::breaksDown() {
  if (recomputed) {
    makeShadow(shadowIsResidual);
  } else {
    cgMultT(A, pp, scratch);
    rr->scaleAdd(-alpha, scratch);
  }
  if (rr->magSq() < cg_epsilon) {
    if (cg_verbosity > 1) cgConsole("  bi-cg(%d): rr vanishes (but not r?)\n", iter);
    return true;
  }
  const double newRho = dot(r, rr);
  beta = newRho / rho;
  rho = newRho;
  if (!(std::fabs(newRho) < cg_epsilon)) return false;
  if (cg_verbosity > 1) cgConsole("  bi-cg(%d): r . rr vanishes (%g) beta = %g\n", iter, newRho, beta);
  return true;
}

/// The directions of the next iteration; false when there is none.
bool BiCGPass::nextDirections() {
  if (recomputed) {
    *p = *r;
    *pp = *rr;
  } else {
    *p *= beta;
    *p += *r;
    *pp *= beta;
    *pp += *rr;
  }
  return !(p->magSq() < cg_epsilon);
}

void BiCGPass::traceProduct() {
  if (cg_verbosity > 1 && recomputed) {
    const double carried = q->magSq();
    cgMult(A, p, q);
    const double anew = q->magSq();
    if (roundedOff(carried, anew)) {
      cgConsole("bi-cg(%d): PP roundoff err (%g) should be (%g) = (%g %%)\n", iter, carried, anew,
                percent(carried, anew));
    }
  }
  if (cg_verbosity > 2) {
    cgConsole("bi-cg(%d): r:%g rr:%g rrr:%g alpha:%g beta:%g p:%g pp:%g\n", iter, rsq, rr->magSq(), rho,
              alpha, beta, p->magSq(), pp->magSq());
  }
}

/// One iteration; CGI_TOO_MANY_ITERS means that it takes another.
CGIStatus BiCGPass::iterate() {
  if (x->count > longSolve && iter % longSolveLines == 1) stdoutPrintf("\tBiCG %4d:%10.1f\n", iter, rsq);
  cgMult(A, p, q);
  const double d = dot(pp, q);
  if (std::fabs(d) < cg_epsilon) return CGI_SINGULAR;
  alpha = rho / d;
  const double old = rsq;
  r->scaleAdd(-alpha, q);
  rsq = r->magSq();
  if (!std::isfinite(alpha) || !std::isfinite(rsq)) {
    rsq = old;
    return CGI_SINGULAR;
  }
  if (getsNowhere(old)) return CGI_NO_IMPROVEMENT;
  x->scaleAdd(alpha, p);
  if (rsq < bestRsq) {
    *best = *x;
    bestRsq = rsq;
    bestIter = iter;
  }
  if (losesConjugacy()) return CGI_BICG_ROUNDOFF;
  if (acceptsAfterRecomputation()) return CGI_SOLVED;
  if (!std::isfinite(rsq)) return singularAtBest();
  if (breaksDown()) return CGI_BICG_BREAKDOWN;
  if (!std::isfinite(rho)) return CGI_SINGULAR;
  if (!nextDirections()) return CGI_NO_DIRECTION;
  traceProduct();
  return CGI_TOO_MANY_ITERS;
}

CGIStatus BiCGPass::run(int maxIters) {
  CGIStatus status;
  if (!start(status)) return status;
  for (iter = 1; iter < maxIters; ++iter) {
    status = iterate();
    if (status != CGI_TOO_MANY_ITERS) return status;
  }
  return CGI_TOO_MANY_ITERS;
}

}  // namespace limber::detail
