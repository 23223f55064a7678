#include "limber/ode/RK4Solver.h"

#include "limber/foundation/detail/WideVectors.h"
#include "limber/ode/Integrand.h"
#include "limber/ode/detail/WorkVectors.h"

using namespace limber::detail;

namespace {

// The passes over the elements. No two arrays overlap. They are compiled a second time for wider registers,
// which are used for long states if the machine has them (measured: a step of 1000 elements takes a fifth
// less time). The operations on each element are the same in both forms, and so are the bits. Short states do
// not use them, because their wide loads would wait for the narrow stores of the integrand.

constexpr int wideFrom = 16;

// k *= dt; stage = x + k, or x + k/2 if `halved`.
template <bool halved>
inline __attribute__((always_inline)) void stagePass(int size, const double* __restrict__ x, double dt,
                                                     double* __restrict__ k, double* __restrict__ stage) {
  for (int i = 0; i < size; ++i) {
    const double scaled = k[i] * dt;
    k[i] = scaled;
    stage[i] = (halved ? 0.5 * scaled : scaled) + x[i];
  }
}

// k4 *= dt; x += k1/6 + k2/3 + k3/3 + k4/6, added one after the other.
inline __attribute__((always_inline)) void sumPass(int size, double* __restrict__ x, double dt,
                                                   const double* __restrict__ k1,
                                                   const double* __restrict__ k2,
                                                   const double* __restrict__ k3, double* __restrict__ k4) {
  const double sixth = 1.0 / 6.0, third = 1.0 / 3.0;
  for (int i = 0; i < size; ++i) {
    const double scaled = k4[i] * dt;
    k4[i] = scaled;
    double sum = sixth * k1[i] + x[i];
    sum = third * k2[i] + sum;
    sum = third * k3[i] + sum;
    x[i] = sixth * scaled + sum;
  }
}

template <bool halved>
LIMBER_WIDE void wideStagePass(int size, const double* x, double dt, double* k, double* stage) {
  stagePass<halved>(size, x, dt, k, stage);
}

LIMBER_WIDE void wideSumPass(int size, double* x, double dt, const double* k1, const double* k2,
                             const double* k3, double* k4) {
  sumPass(size, x, dt, k1, k2, k3, k4);
}

// The same on vectors. If an integrand has changed a size, the operations of Vector work on the common part,
// with the same bits as the passes above.

template <bool halved>
void nextStage(const Vector* x, double dt, Vector* k, Vector* stage) {
  const int size = x->size();
  if (k->size() == size && stage->size() == size) {
    if (size >= wideFrom && useWideVectors()) {
      wideStagePass<halved>(size, x->data, dt, k->data, stage->data);
    } else {
      stagePass<halved>(size, x->data, dt, k->data, stage->data);
    }
    return;
  }
  *k *= dt;
  *stage = *x;
  stage->scaleAdd(halved ? 0.5 : 1.0, k);
}

void advance(Vector* x, double dt, Vector* k1, Vector* k2, Vector* k3, Vector* k4) {
  const int size = x->size();
  if (k1->size() == size && k2->size() == size && k3->size() == size && k4->size() == size) {
    if (size >= wideFrom && useWideVectors()) {
      wideSumPass(size, x->data, dt, k1->data, k2->data, k3->data, k4->data);
    } else {
      sumPass(size, x->data, dt, k1->data, k2->data, k3->data, k4->data);
    }
    return;
  }
  *k4 *= dt;
  x->scaleAdd(1.0 / 6.0, k1);
  x->scaleAdd(1.0 / 3.0, k2);
  x->scaleAdd(1.0 / 3.0, k3);
  x->scaleAdd(1.0 / 6.0, k4);
}

}  // namespace

RK4Solver::RK4Solver(Integrand* integrand) : RK4Solver(integrand, 100) {}

RK4Solver::RK4Solver(Integrand* integrand, int size)
    : OdeSolver(integrand, size), k1(nullptr), k2(nullptr), k3(nullptr), k4(nullptr), stage(nullptr) {
  init();
}

RK4Solver::RK4Solver(const RK4Solver& other)
    : OdeSolver(other), k1(nullptr), k2(nullptr), k3(nullptr), k4(nullptr), stage(nullptr) {
  WorkVectors<5>{&k1, &k2, &k3, &k4, &stage}.share({other.k1, other.k2, other.k3, other.k4, other.stage});
}

RK4Solver& RK4Solver::operator=(const RK4Solver& other) {
  OdeSolver::operator=(other);
  WorkVectors<5>{&k1, &k2, &k3, &k4, &stage}.share({other.k1, other.k2, other.k3, other.k4, other.stage});
  return *this;
}

RK4Solver::~RK4Solver() { WorkVectors<5>{&k1, &k2, &k3, &k4, &stage}.drop(); }

void RK4Solver::init() { WorkVectors<5>{&k1, &k2, &k3, &k4, &stage}.create(n, {"Vectors", 1040}); }

int RK4Solver::step(Vector* x, double t, double dt) {
  if (!f || !x) return 0;
  if (!k1) init();
  if (!WorkVectors<5>{&k1, &k2, &k3, &k4, &stage}.grow(x->size())) return 0;
  f->fprime(x, t, k1);
  nextStage<true>(x, dt, k1, stage);
  f->fprime(stage, t + 0.5 * dt, k2);
  nextStage<true>(x, dt, k2, stage);
  f->fprime(stage, t + 0.5 * dt, k3);
  nextStage<false>(x, dt, k3, stage);
  f->fprime(stage, t + dt, k4);
  advance(x, dt, k1, k2, k3, k4);
  return 0;
}
