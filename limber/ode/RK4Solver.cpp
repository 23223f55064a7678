#include "limber/ode/RK4Solver.h"

#include "limber/ode/Integrand.h"
#include "limber/ode/detail/WorkVectors.h"

using limber::detail::WorkVectors;

namespace {

// k *= dt; stage = x + weight k. In one pass; the bits are those of the Vector operations.
void nextStage(const Vector* x, double dt, Vector* k, double weight, Vector* stage) {
  const int size = x->size();
  if (k->size() != size || stage->size() != size) {  // the integrand changed a size: the common part counts
    *k *= dt;
    *stage = *x;
    stage->scaleAdd(weight, k);
    return;
  }
  const double* const xs = x->data;
  double* __restrict__ const ks = k->data;
  double* __restrict__ const stages = stage->data;
  for (int i = 0; i < size; i++) {
    ks[i] *= dt;
    stages[i] = weight * ks[i] + xs[i];
  }
}

// k4 *= dt; x += k1/6 + k2/3 + k3/3 + k4/6, added one after the other.
void advance(Vector* x, double dt, Vector* k1, Vector* k2, Vector* k3, Vector* k4) {
  const int size = x->size();
  const double sixth = 1.0 / 6.0, third = 1.0 / 3.0;
  if (k1->size() != size || k2->size() != size || k3->size() != size || k4->size() != size) {
    *k4 *= dt;
    x->scaleAdd(sixth, k1);
    x->scaleAdd(third, k2);
    x->scaleAdd(third, k3);
    x->scaleAdd(sixth, k4);
    return;
  }
  double* __restrict__ const xs = x->data;
  const double *const k1s = k1->data, *const k2s = k2->data, *const k3s = k3->data;
  double* __restrict__ const k4s = k4->data;
  for (int i = 0; i < size; i++) {
    k4s[i] *= dt;
    double sum = sixth * k1s[i] + xs[i];
    sum = third * k2s[i] + sum;
    sum = third * k3s[i] + sum;
    xs[i] = sixth * k4s[i] + sum;
  }
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
  if (!k1) init();
  if (!WorkVectors<5>{&k1, &k2, &k3, &k4, &stage}.grow(x->size())) return 0;
  f->fprime(x, t, k1);
  nextStage(x, dt, k1, 0.5, stage);
  f->fprime(stage, t + 0.5 * dt, k2);
  nextStage(x, dt, k2, 0.5, stage);
  f->fprime(stage, t + 0.5 * dt, k3);
  nextStage(x, dt, k3, 1.0, stage);
  f->fprime(stage, t + dt, k4);
  advance(x, dt, k1, k2, k3, k4);
  return 0;
}
