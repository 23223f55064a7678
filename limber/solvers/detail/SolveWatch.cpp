#include "limber/solvers/detail/SolveWatch.h"

#include "limber/solvers/detail/WorkVectors.h"

namespace limber::detail {

void SolveWatch::keepBest(const Vector& x, double rsq) {
  if (any_ && !(rsq < bestRsq_)) return;
  best_ = x;
  bestRsq_ = rsq;
  any_ = rsq == rsq;
}

void SolveWatch::stop(Vector* x, double& rsq) {
  assign(x, best_);
  rsq = bestRsq_;
  stopped_ = true;
  cg_stopped = 1;
}

}  // namespace limber::detail
