#include "limber/ode/EulerSolver.h"

#include <climits>

#include "limber/ode/Integrand.h"
#include "limber/ode/detail/WorkVectors.h"

using namespace limber::detail;

EulerSolver::EulerSolver(Integrand* integrand) : OdeSolver(integrand, 100), work(nullptr) { init(); }

EulerSolver::EulerSolver(Integrand* integrand, int size)
    : OdeSolver(integrand, size < INT_MAX ? size + 1 : size), work(nullptr) {
  init();
}

EulerSolver::EulerSolver(const EulerSolver& other) : OdeSolver(other), work(nullptr) {
  WorkVectors<1>{&work}.share({other.work});
}

EulerSolver& EulerSolver::operator=(const EulerSolver& other) {
  OdeSolver::operator=(other);
  WorkVectors<1>{&work}.share({other.work});
  return *this;
}

EulerSolver::~EulerSolver() { WorkVectors<1>{&work}.drop(); }

void EulerSolver::init() { WorkVectors<1>{&work}.create(n, {"Vectors", 979}); }

int EulerSolver::step(Vector* x, double t, double dt) {
  if (!f || !x) return 0;
  if (!work) init();
  if (!WorkVectors<1>{&work}.grow(x->size())) return 0;
  f->fprime(x, t, work);
  x->scaleAdd(dt, work);
  return 0;
}
