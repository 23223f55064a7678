#pragma once

#include "limber/ode/OdeSolver.h"

LIMBER_FIXED_TABLE_BEGIN

/// The explicit Euler method, of first order: x += dt f(x, t).
class LIMBER_API EulerSolver : public OdeSolver {
 public:
  Vector* work;

  /// Stores the size 100.
  explicit EulerSolver(Integrand* integrand);
  /// Contract: stores size + 1.
  EulerSolver(Integrand* integrand, int size);
  EulerSolver(const EulerSolver&);
  EulerSolver& operator=(const EulerSolver&);
  ~EulerSolver();

  int step(Vector* x, double t, double dt) override;

 private:
  void init();
};

LIMBER_FIXED_TABLE_END
