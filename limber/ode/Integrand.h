#pragma once

#include "limber/Api.h"

class Vector;

LIMBER_FIXED_TABLE_BEGIN

/// The right-hand side of a system of ordinary differential equations, x' = f(x, t). Callers derive from it.
class LIMBER_API Integrand {
 public:
  LIMBER_INLINE Integrand() {}
  Integrand(const Integrand&);
  Integrand& operator=(const Integrand&);

  /// dxdt = f(x, t), overwriting. The solvers pass a `dxdt` with the size of `x` and ignore the return value.
  /// This base version reports "Evaluate generic Integrand" and returns 0.
  virtual int fprime(Vector* x, double t, Vector* dxdt);
};

LIMBER_FIXED_TABLE_END
