#include "limber/ode/RK2Solver.h"

#include "limber/ode/Integrand.h"
#include "limber/ode/detail/WorkVectors.h"

using namespace limber::detail;

RK2Solver::RK2Solver(Integrand* integrand) : RK2Solver(integrand, 100) {}

RK2Solver::RK2Solver(Integrand* integrand, int size) : OdeSolver(integrand, size), k1(nullptr), k2(nullptr) {
  init();
}

RK2Solver::RK2Solver(const RK2Solver& other) : OdeSolver(other), k1(nullptr), k2(nullptr) {
  WorkVectors<2>{&k1, &k2}.share({other.k1, other.k2});
}

RK2Solver& RK2Solver::operator=(const RK2Solver& other) {
  OdeSolver::operator=(other);
  WorkVectors<2>{&k1, &k2}.share({other.k1, other.k2});
  return *this;
}

RK2Solver::~RK2Solver() { WorkVectors<2>{&k1, &k2}.drop(); }

void RK2Solver::init() { WorkVectors<2>{&k1, &k2}.create(n, {"Vectors", 1008}); }

int RK2Solver::step(Vector* x, double t, double dt) {
  if (!f || !x) return 0;
  if (!k1) init();
  if (!WorkVectors<2>{&k1, &k2}.grow(x->size())) return 0;
  f->fprime(x, t, k1);
  *k1 *= 0.5 * dt;
  *k1 += *x;  // k1: the midpoint state
  f->fprime(k1, t + 0.5 * dt, k2);
  x->scaleAdd(dt, k2);
  return 0;
}
