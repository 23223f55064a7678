#pragma once

#include "limber/ode/OdeSolver.h"

LIMBER_FIXED_TABLE_BEGIN

/// The midpoint rule, a Runge-Kutta method of second order: x += dt f(x + dt/2 f(x, t), t + dt/2).
class LIMBER_API RK2Solver : public OdeSolver {
 public:
  Vector* k1;  ///< the slope at the start, then the midpoint state
  Vector* k2;  ///< the slope at the midpoint

  /// Stores the size 100.
  explicit RK2Solver(Integrand* integrand);
  RK2Solver(Integrand* integrand, int size);
  RK2Solver(const RK2Solver&);
  RK2Solver& operator=(const RK2Solver&);
  ~RK2Solver();

  int step(Vector* x, double t, double dt) override;

 private:
  void init();
};

LIMBER_FIXED_TABLE_END
