#include "limber/solvers/detail/SolveOperator.h"

#include "limber/solvers/detail/WorkVectors.h"

namespace limber::detail {
namespace {

SolveOperator::Own ownOperator(CGMultFun mult) {
  if (mult == multFunA) return applyA;
  if (mult == multFunJJt) return applyJJt;
  if (mult == multFunAtA) return applyAtA;
  return nullptr;
}

}  // namespace

SolveOperator::SolveOperator(SpMat* A, CGMultFun mult)
    : A_(A),
      callers_(mult),
      own_(ownOperator(mult)),
      matrix_(A, own_ ? SolveMatrix::Products::many : SolveMatrix::Products::few) {}

SolveOperator::SolveOperator(SpMat* A, Own own) : A_(A), callers_(nullptr), own_(own), matrix_(A) {}

void SolveOperator::apply(const Vector* v, Vector* out) const {
  if (own_) {
    own_(matrix_, v, out);
    return;
  }
  const int before = out->count;
  callers_(A_, v, out);
  clearBehind(out, before);
}

}  // namespace limber::detail
