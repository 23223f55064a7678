#pragma once

#include <cmath>
#include <vector>

#include "limber/linalg/Vector.h"
#include "limber/ode/Integrand.h"

/// x' = -x.
class Decay : public Integrand {
 public:
  int fprime(Vector* x, double, Vector* dxdt) override {
    for (int i = 0; i < x->size(); ++i) (*dxdt)[i] = -(*x)[i];
    return 1;  // the solvers ignore it
  }
};

/// x' = y, y' = -x for every pair of elements.
class Oscillators : public Integrand {
 public:
  int fprime(Vector* x, double, Vector* dxdt) override {
    for (int i = 0; i + 1 < x->size(); i += 2) {
      (*dxdt)[i] = (*x)[i + 1];
      (*dxdt)[i + 1] = -(*x)[i];
    }
    return 0;
  }
};

/// x' = x cos t + sin(x y), y' = x - t y: it has no symmetry that could hide errors.
class Coupled : public Integrand {
 public:
  int fprime(Vector* x, double t, Vector* dxdt) override {
    const double a = (*x)[0], b = (*x)[1];
    (*dxdt)[0] = a * std::cos(t) + std::sin(a * b);
    (*dxdt)[1] = a - t * b;
    return 0;
  }
};

/// x' = t^power for every x, so a solver's step is a quadrature rule.
class Power : public Integrand {
 public:
  explicit Power(int power) : power_(power) {}
  int fprime(Vector*, double t, Vector* dxdt) override {
    (*dxdt)[0] = std::pow(t, power_);
    return 0;
  }

 private:
  int power_;
};

/// x' = 3x. Records every call.
class Recorder : public Integrand {
 public:
  struct Call {
    Vector* x;
    double value, t;
    Vector* dxdt;
    int dxdtSize;
  };
  std::vector<Call> calls;

  int fprime(Vector* x, double t, Vector* dxdt) override {
    calls.push_back({x, (*x)[0], t, dxdt, dxdt->size()});
    for (int i = 0; i < x->size(); ++i) (*dxdt)[i] = 3 * (*x)[i];
    return 0;
  }
};
