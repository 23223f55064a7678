#include "limber/solvers/BiCGrad.h"

#include <algorithm>
#include <cmath>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/CGTrace.h"
#include "limber/solvers/detail/SizeWarning.h"
#include "limber/solvers/detail/SolveMatrix.h"
#include "limber/solvers/detail/SolveWatch.h"
#include "limber/solvers/detail/WorkVectors.h"

using namespace limber::detail;

double bicg_checkBiCG = 0.0;
int bicg_numZeroSteps = 5;
double bicg_zeroStep = 0.01;

namespace {

// True if an updated value and the newly computed one differ by more than half a percent.
bool roundedOff(double updated, double computed) { return std::fabs(computed - updated) > 0.005 * updated; }

double percent(double updated, double computed) { return (computed - updated) * 100.0 / updated; }

constexpr int longSolve = 1000;
constexpr int longSolveLines = 50;

struct BiCGVectors {
  Vector *x, *b;
  Vector *r, *rr;  // residual and shadow residual
  Vector *p, *pp;  // direction and shadow direction
  Vector *q, *scratch, *best;
};

// One pass, and the numbers that one step passes to the next.
struct Pass : BiCGVectors {
  const SolveMatrix& A;
  SolveWatch& watch;
  bool shadowIsResidual;
  double& rsq;
  int& iter;
  double rho = 0.0, alpha = 0.0, beta = 0.0, bestRsq = 0.0;
  int bestIter = 0;
  bool recomputed = false;

  CGIStatus run(int maxIters) {
    CGIStatus status;
    if (!start(status)) return status;
    for (iter = 1; iter < maxIters; ++iter) {
      status = step();
      if (status != CGI_TOO_MANY_ITERS) return status;
      status = check();
      const bool asked = watch.observe(*x, rsq);
      if (status == CGI_SOLVED) return status;
      if (asked) {
        watch.stop(x, rsq);
        return CGI_NO_IMPROVEMENT;
      }
      if (status == CGI_TOO_MANY_ITERS) status = advance();
      if (status != CGI_TOO_MANY_ITERS) return status;
    }
    return CGI_TOO_MANY_ITERS;
  }

 private:
  // out = b - A x.
  void computeResidual(Vector* out) const {
    A.mult(x, out);
    *out *= -1.0;
    *out += b;
  }

  void makeShadow(bool asResidual) {
    if (asResidual)
      assign(rr, *r);
    else
      A.mult(r, rr);
  }

  // Prepares the first iteration. False, with the status, if the pass ends there.
  bool start(CGIStatus& status) {
    iter = 0;
    computeResidual(r);
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
      // the start moves by its residual; from here on the shadow residual is A r, even if shadowIsResidual is
      // set
      *x += *r;
      computeResidual(r);
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
    assign(p, *r);
    assign(pp, *rr);
    *best = *x;
    bestRsq = rsq;
    watch.start(*x, rsq);
    if (cg_verbosity > 1) cgConsole("bi-cg(%d): r:%g rr:%g rrr:%g\n", iter, rsq, rr->magSq(), rho);
    return true;
  }

  // One step along p. Any status but CGI_TOO_MANY_ITERS means that x has not moved.
  CGIStatus step() {
    if (x->count > longSolve && iter % longSolveLines == 1) stdoutPrintf("\tBiCG %4d:%10.1f\n", iter, rsq);
    A.mult(p, q);
    const double d = dot(pp, q);
    if (std::fabs(d) < cg_epsilon) return CGI_SINGULAR;
    alpha = rho / d;
    const double old = rsq;
    r->scaleAdd(-alpha, q);
    rsq = r->magSq();
    if (!std::isfinite(rsq)) {  // also true if alpha is not finite
      rsq = old;
      return CGI_SINGULAR;
    }
    if (giveUpWithoutProgress(old)) return CGI_NO_IMPROVEMENT;
    x->scaleAdd(alpha, p);
    if (rsq < bestRsq) {
      *best = *x;
      bestRsq = rsq;
      bestIter = iter;
    }
    return CGI_TOO_MANY_ITERS;
  }

  // Decides whether the pass ends with this iterate; CGI_TOO_MANY_ITERS means that it continues.
  CGIStatus check() {
    if (goBackWithoutConjugacy()) return CGI_BICG_ROUNDOFF;
    if (confirmSolved()) return CGI_SOLVED;
    return std::isfinite(rsq) ? CGI_TOO_MANY_ITERS : singularAtBest();
  }

  // Prepares the next iteration; CGI_TOO_MANY_ITERS means that there is one.
  CGIStatus advance() {
    if (!advanceShadow()) return CGI_BICG_BREAKDOWN;
    if (!std::isfinite(rho)) return CGI_SINGULAR;
    if (!updateDirections()) return CGI_NO_DIRECTION;
    traceProduct();
    return CGI_TOO_MANY_ITERS;
  }

  // `old` is |r|^2 before the last step. After too many steps without improvement, restores the best iterate
  // and returns true.
  bool giveUpWithoutProgress(double old) {
    const double relative = (rsq - old) / old;
    if (!(relative > -bicg_zeroStep)) return false;
    if (cg_verbosity > 1) {
      cgConsole("  bi-cg(%d): things got worse %g (%g) went to %g (%d), %g%% improvement\n", iter, old,
                bestRsq, rsq, bestIter, -100.0 * relative);
    }
    if (iter - bestIter <= bicg_numZeroSteps) return false;
    assign(x, *best);
    rsq = bestRsq;
    return true;
  }

  // Except for rounding, the new residual is orthogonal to the old shadow residual. If it is not, restores
  // the best iterate and returns true.
  bool goBackWithoutConjugacy() {
    if (!(bicg_checkBiCG > 0.0)) return false;
    const double product = dot(r, rr);
    const double loss = std::fabs(product) / rsq;
    if (loss > 0.5 * bicg_checkBiCG && cg_verbosity > 1) {
      cgConsole("  bi-cg(%d): bi-conjugacy condition violated! %5.2f%% %g\n", iter, loss * 100.0, product);
    }
    if (!(loss > bicg_checkBiCG)) return false;
    assign(x, *best);
    return true;
  }

  // Recomputes the residual from x every cg_reset_resid iterations, and always before a solution is accepted.
  // True if it is accepted.
  bool confirmSolved() {
    recomputed = (cg_reset_resid != 0 && iter % cg_reset_resid == 0) || rsq < cg_tol;
    if (!recomputed) return false;
    computeResidual(scratch);
    const double computed = scratch->magSq();
    if (cg_verbosity > 1 && roundedOff(rsq, computed)) {
      cgConsole("  bi-cg(%d): RSQ roundoff error (%g) should be (%g) = (%g %%)\n", iter, rsq, computed,
                percent(rsq, computed));
    }
    rsq = computed;
    assign(r, *scratch);
    if (bestIter == iter) bestRsq = rsq;
    return rsq < cg_tol;
  }

  // Computes the next shadow residual, rho and beta. False if the shadow residual or its product with r
  // vanishes. After the residual has been recomputed, the shadow residual is derived from it, and the
  // directions start again as well, because the old ones belong to another pair of sequences.
  bool advanceShadow() {
    if (recomputed) {
      makeShadow(shadowIsResidual);
    } else {
      A.multT(pp, scratch);
      rr->scaleAdd(-alpha, scratch);
    }
    if (rr->magSq() < cg_epsilon) {
      if (cg_verbosity > 1) cgConsole("  bi-cg(%d): rr vanishes (but not r?)\n", iter);
      return false;
    }
    const double newRho = dot(r, rr);
    beta = newRho / rho;
    rho = newRho;
    if (!(std::fabs(newRho) < cg_epsilon)) return true;
    if (cg_verbosity > 1) cgConsole("  bi-cg(%d): r . rr vanishes (%g) beta = %g\n", iter, newRho, beta);
    return false;
  }

  // Computes the directions of the next iteration. False if they vanish.
  bool updateDirections() {
    if (recomputed) {
      assign(p, *r);
      assign(pp, *rr);
    } else {
      *p *= beta;
      *p += *r;
      *pp *= beta;
      *pp += *rr;
    }
    return !(p->magSq() < cg_epsilon);
  }

  void traceProduct() {
    if (cg_verbosity > 1 && recomputed) {
      const double updated = q->magSq();
      A.mult(p, q);
      const double computed = q->magSq();
      if (roundedOff(updated, computed)) {
        cgConsole("bi-cg(%d): PP roundoff err (%g) should be (%g) = (%g %%)\n", iter, updated, computed,
                  percent(updated, computed));
      }
    }
    if (cg_verbosity > 2) {
      cgConsole("bi-cg(%d): r:%g rr:%g rrr:%g alpha:%g beta:%g p:%g pp:%g\n", iter, rsq, rr->magSq(), rho,
                alpha, beta, p->magSq(), pp->magSq());
    }
  }

  // Restores the best iterate, because a number is not finite.
  CGIStatus singularAtBest() {
    assign(x, *best);
    rsq = bestRsq;
    return CGI_SINGULAR;
  }
};

struct BiCGWork {
  WorkVector r, rr, p, pp, q, scratch, best;
};

// Reports that a solve continues or how it ends, like mcgradI, but only on the console.
void report(const char* line, int iterations, CGIStatus status) {
  cgConsole(line, iterations, cgiToString(status));
}

}  // namespace

Vector* residual(SpMat* A, Vector* x, Vector* b, Vector* r) {
  SolveMatrix(A, SolveMatrix::Products::few).mult(x, r);
  *r *= -1.0;
  *r += b;
  return r;
}

CGIStatus biCGradI(SpMat* A, Vector* x, Vector* b, double& rsq, int& iter, Vector* r, Vector* rr, Vector* p,
                   Vector* pp, Vector* q, Vector* scratch, Vector* best, int maxIters, int shadowIsResidual) {
  for (Vector* v : {x, r, rr, p, pp, q, scratch}) {
    if (v) clearSpare(v);
  }
  const SolveMatrix matrix(A);
  SolveWatch watch;
  Pass pass{{x, b, r, rr, p, pp, q, scratch, best}, matrix, watch, shadowIsResidual != 0, rsq, iter};
  return pass.run(maxIters);
}

CGIStatus biCGrad(SpMat* A, Vector* x, Vector* b, double& rsq, int& iterations, int shadowIsResidual) {
  BiCGWork& work = createdOnFirstUse<BiCGWork>();
  clearSpare(x);
  const SolveMatrix matrix(A);
  SolveWatch watch;
  const int height = matrix.height();
  const int width = matrix.width();
  warnOfShortVectors("OldCGrad", "biCGrad", x->count, width, b->count, height);
  const int maxIters = cgIterationLimit(std::max(height, width));
  const BiCGVectors vectors{x, b, &work.r, &work.rr, &work.p, &work.pp, &work.q, &work.scratch, &work.best};
  iterations = 0;
  CGIStatus status = CGI_TOO_MANY_RESTARTS;
  for (int restart = 0; restart < cg_maxRestarts; ++restart) {
    int iter = 0;
    Pass pass{vectors, matrix, watch, shadowIsResidual != 0, rsq, iter};
    status = pass.run(maxIters);
    iterations += iter;
    if (status == CGI_SOLVED) {
      report("  cg:ACCEPT  after (%3d) because %s\n", iterations, status);
      return status;
    }
    if (status == CGI_SINGULAR || status == CGI_BICG_CANT_START) {
      report("  cg:FAILED  after (%3d) because %s\n", iterations, status);
      return status;
    }
    if (watch.stopped()) break;
    report("  cg:Restart after (%3d) because %s\n", iterations, status);
  }
  report("  cg:FAILED  stop  (%3d) because %s\n", iterations, status);
  return CGI_TOO_MANY_RESTARTS;
}
