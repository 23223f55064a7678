#pragma once

#include "limber/Api.h"

class Integrand;
class Vector;

LIMBER_FIXED_TABLE_BEGIN

/// An explicit one-step integrator of x' = f(x, t). Nothing is checked, not even the step size or the values
/// that the integrand returns. Each solver has work vectors. Copies of it share them, so copies must not step
/// at the same time, and the last copy releases them. There is no virtual destructor, because the virtual
/// table has no place for one: delete a solver through a pointer to its own class, never through a pointer to
/// OdeSolver.
class LIMBER_API OdeSolver {
 public:
  Integrand* f;  ///< not owned
  int n;         ///< the initial size of the work vectors; each step gives them the size of the state

  LIMBER_INLINE OdeSolver(Integrand* integrand, int size) : f(integrand), n(size) {}
  OdeSolver(const OdeSolver&);
  OdeSolver& operator=(const OdeSolver&);

  /// Advances `x` in place from time t to t + dt; without an integrand, x does not change. Overrides return
  /// 0. This base version reports "Generic solver can't solve", does not change x and returns 0.
  virtual int step(Vector* x, double t, double dt);
};

LIMBER_FIXED_TABLE_END
