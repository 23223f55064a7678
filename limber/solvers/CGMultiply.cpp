#include "limber/solvers/CGMultiply.h"

#include <algorithm>

#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/SolveMatrix.h"
#include "limber/solvers/detail/SolveOperator.h"
#include "limber/solvers/detail/WorkVectors.h"

using namespace limber::detail;

namespace {

void addDefinizer(const Vector* v, Vector* w) {
  if (cgradDefinizer > 0.0) w->scaleAdd(cgradDefinizer, const_cast<Vector*>(v));
}

// w[i] += damp[i] v[i] for i < n inside the storage of all three.
void addDamping(const Vector* damp, const Vector* v, Vector* w, int n) {
  n = std::min({n, damp->capacity, v->capacity, w->capacity});
  for (int i = 0; i < n; ++i) w->data[i] += damp->data[i] * v->data[i];
}

constexpr SolveMatrix::Products few = SolveMatrix::Products::few;

}  // namespace

namespace limber::detail {

void applyA(const SolveMatrix& A, const Vector* v, Vector* w) {
  A.mult(v, w);
  addDefinizer(v, w);
  if (cgradDampV) addDamping(cgradDampV, v, w, cgradDampV->count);
}

void applyJJt(const SolveMatrix& A, const Vector* v, Vector* w) {
  Vector& t = cgWork().product;
  A.multT(v, &t);
  if (cgradMassVec) t /= *cgradMassVec;
  A.mult(&t, w);
  addDefinizer(v, w);
  if (cgradDampV) addDamping(cgradDampV, v, w, w->count);
}

void applyAtA(const SolveMatrix& A, const Vector* v, Vector* w) {
  A.normalMult(v, cgNormalDamping, &cgWork().product, w);
}

void applyAAt(const SolveMatrix& A, const Vector* v, Vector* w) {
  Vector& t = cgWork().product;
  A.multT(v, &t);
  A.mult(&t, w);
}

}  // namespace limber::detail

void multFunA(SpMat* A, const Vector* v, Vector* w) { applyA(SolveMatrix(A, few), v, w); }

void multFunJJt(SpMat* A, const Vector* v, Vector* w) { applyJJt(SolveMatrix(A, few), v, w); }

void multFunAtA(SpMat* A, const Vector* v, Vector* w) { applyAtA(SolveMatrix(A, few), v, w); }
