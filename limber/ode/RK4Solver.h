#pragma once

#include "limber/ode/OdeSolver.h"

LIMBER_FIXED_TABLE_BEGIN

/// The classical Runge-Kutta method of fourth order (Kutta 1901):
///   k1 = dt f(x, t)                  k2 = dt f(x + k1/2, t + dt/2)
///   k3 = dt f(x + k2/2, t + dt/2)    k4 = dt f(x + k3, t + dt)
///   x += k1/6 + k2/3 + k3/3 + k4/6
class LIMBER_API RK4Solver : public OdeSolver {
 public:
  Vector *k1, *k2, *k3, *k4;
  Vector* stage;  ///< the state at which the next slope is taken

  /// Stores the size 100.
  explicit RK4Solver(Integrand* integrand);
  RK4Solver(Integrand* integrand, int size);
  RK4Solver(const RK4Solver&);
  RK4Solver& operator=(const RK4Solver&);
  ~RK4Solver();

  int step(Vector* x, double t, double dt) override;

 private:
  void init();
};

LIMBER_FIXED_TABLE_END
