#include "limber/solvers/CGradI.h"

#include <algorithm>
#include <cmath>

#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/CGTrace.h"
#include "limber/solvers/detail/SolveWatch.h"
#include "limber/solvers/detail/WorkVectors.h"

using namespace limber::detail;

namespace {

// cgradI returns this at the iteration limit, and if the observer ends the solve.
constexpr int limitReached = -9;

// The work vectors of the older family, shared by all its solves.
struct OldWork {
  WorkVector gradient, direction;
  // The negated gradient of the previous step, as the ratio below needs it.
  WorkVector old;
};

// Raises an initial length that is too small to at least `count`, and at least twofold. Returns true if it
// did.
bool raise(int& limit, int count, const char* message, int line) {
  if (count <= limit) return false;
  ReportSite{"OldCGrad", line}.error(message);
  limit = static_cast<int>(std::max<long long>(count, std::min(2LL * limit, 2147483647LL)));
  return true;
}

OldWork& workFor(const Vector& x, const Vector& b) {
  const bool longerX =
      raise(cgradMAXX, x.count, "Matrix X too big in cgrad solver - attempting to grow!", __LINE__);
  raise(cgradMAXB, b.count, "Matrix B too big in cgrad solver - attempting to grow!", __LINE__);
  OldWork& work = createdOnFirstUse<OldWork>();
  if (longerX) {
    for (Vector* v : {&work.gradient, &work.direction, &work.old}) v->resize(cgradMAXX);
  }
  return work;
}

// The ratio of Polak and Ribiere: r . (r - old) / |old|^2.
double ratio(const Vector& r, const Vector& old, double oldSq) {
  double sum = 0.0;
  for (int i = 0; i < r.count; ++i) sum += r[i] * (r[i] - old[i]);
  return sum / oldSq;
}

bool converged(double rsq, double previous) {
  const double change = std::fabs(rsq - previous);
  return change < cgradEps || change < (std::fabs(previous) + std::fabs(rsq) + cgradEps) * cgradTol;
}

}  // namespace

int cgradI(SpMat* A, Vector* x, Vector* b, double* rsqOut,
           double (*residual)(SpMat* A, Vector* x, Vector* b, Vector* r),
           double (*curvature)(SpMat* A, Vector* d), int earlyExit) {
  double none = 0.0;
  double& rsq = rsqOut ? *rsqOut : none;
  if (cgradDribble) {
    cgTrace("\nEnter cgradI - b:%d x:%d mat:(rows:%d cols:%d)\n", b->count, x->count, A->height(),
            A->width());
  }
  SolveWatch watch;
  rsq = 0.0;
  if (x->count <= 0 || b->count <= 0) return 0;

  OldWork& work = workFor(*x, *b);
  Vector &r = work.gradient, &d = work.direction, &old = work.old;
  clearSpare(x);
  // the caller's function may shorten r
  const auto newResidual = [=, &r] {
    const int before = r.count;
    const double square = residual(A, x, b, &r);
    clearBehind(&r, before);
    return square;
  };
  rsq = newResidual();
  cgTrace(" IRST:%d  rp:%g\n", 1, rsq);
  const double tiny = cgradEps * cgradEps;
  if (earlyExit && rsq < tiny) return 0;

  watch.start(*x, rsq);
  assign(&d, r);
  assign(&old, r);
  const long long limit = static_cast<long long>(maxCGradPasses) * x->count;
  for (int iteration = 1; iteration <= limit; ++iteration) {
    const double curved = curvature(A, &d);
    const double step = rsq / curved;
    if (std::fabs(curved) < tiny || step > cgradNeptune) {
      if (earlyExit) ReportSite{"OldCGrad", __LINE__}.error("Equations too singular for cgrad");
      return -1;
    }
    x->scaleAdd(step, &d);
    const double previous = rsq;
    rsq = newResidual();
    cgTrace("%4d: rsq = %g (%4.1f%%)\n", iteration, rsq, (rsq - previous) * 100.0 / rsq);
    const bool asked = watch.observe(*x, rsq);
    if (converged(rsq, previous)) return iteration;
    if (asked) {
      watch.stop(x, rsq);
      return limitReached;
    }
    if (rsq > previous) {
      assign(&d, r);
    } else {
      d *= ratio(r, old, previous);
      d += r;
    }
    assign(&old, r);
  }
  ReportSite{"OldCGrad", __LINE__}.error("Too many iterations");
  return limitReached;
}
