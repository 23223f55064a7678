#include "limber/solvers/CGMultiply.h"

#include <algorithm>

#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/CGWork.h"

using limber::detail::cgMult;
using limber::detail::cgMultT;
using limber::detail::cgWork;

namespace {

void addDefinizer(const Vector* v, Vector* w) {
  if (cgradDefinizer > 0.0) w->scaleAdd(cgradDefinizer, const_cast<Vector*>(v));
}

/// w[i] += damp[i] v[i] for i < n, as far as all three have storage.
void addDamping(const Vector* damp, const Vector* v, Vector* w, int n) {
  n = std::min({n, damp->capacity, v->capacity, w->capacity});
  for (int i = 0; i < n; ++i) w->data[i] += damp->data[i] * v->data[i];
}

}  // namespace

void multFunA(SpMat* A, const Vector* v, Vector* w) {
  cgMult(A, v, w);
  addDefinizer(v, w);
  if (cgradDampV) addDamping(cgradDampV, v, w, cgradDampV->count);
}

void multFunJJt(SpMat* A, const Vector* v, Vector* w) {
  Vector& t = cgWork().product;
  cgMultT(A, v, &t);
  if (cgradMassVec) t /= *cgradMassVec;
  cgMult(A, &t, w);
  addDefinizer(v, w);
  if (cgradDampV) addDamping(cgradDampV, v, w, w->count);
}

void multFunAtA(SpMat* A, const Vector* v, Vector* w) {
  limber::detail::cgNormalMult(A, v, limber::detail::cgNormalDamping, &cgWork().product, w);
}
