// Checks the order of each method: halving the step divides the error by 2, 4 or 16.
#include <gtest/gtest.h>

#include <cmath>

#include "limber/limber.h"
#include "tests/ode/Systems.h"
#include "tests/support/Tolerance.h"

namespace {

void integrate(OdeSolver& solver, Vector* x, double from, double to, int steps) {
  const double dt = (to - from) / steps;
  for (int i = 0; i < steps; ++i) solver.step(x, from + i * dt, dt);
}

// The distance between `exact` and the result of `solver` after this many steps.
double error(OdeSolver& solver, const Vector& start, double to, int steps, const Vector& exact) {
  Vector x(start);
  integrate(solver, &x, 0.0, to, steps);
  x -= exact;
  return x.mag();
}

// e(h) = C h^p (1 + O(h)): the observed order log2 e(h) / e(h/2) differs from p by O(h). The steps are small
// enough for 0.1 and large enough for the error to stay far above rounding.
void expectOrder(OdeSolver& solver, int order, const Vector& start, double to, int steps,
                 const Vector& exact) {
  const double coarse = error(solver, start, to, steps, exact);
  const double middle = error(solver, start, to, 2 * steps, exact);
  const double fine = error(solver, start, to, 4 * steps, exact);
  EXPECT_GT(fine, 1e-13);
  EXPECT_TRUE(tolerance::close(std::log2(coarse / middle), order, 0.1)) << coarse << " " << middle;
  EXPECT_TRUE(tolerance::close(std::log2(middle / fine), order, 0.05)) << middle << " " << fine;
}

TEST(Order, OfDecay) {
  Decay decay;
  EulerSolver euler(&decay);
  RK2Solver rk2(&decay);
  RK4Solver rk4(&decay);
  Vector start(1), exact(1);
  start = 1.0;
  exact = std::exp(-2.0);
  expectOrder(euler, 1, start, 2.0, 64, exact);
  expectOrder(rk2, 2, start, 2.0, 64, exact);
  expectOrder(rk4, 4, start, 2.0, 32, exact);
}

TEST(Order, OfOscillators) {
  Oscillators oscillators;
  EulerSolver euler(&oscillators);
  RK2Solver rk2(&oscillators);
  RK4Solver rk4(&oscillators);
  const int pairs = 5;
  Vector start(2 * pairs), exact(2 * pairs);
  const double to = 3.0;
  for (int i = 0; i < pairs; ++i) {
    start[2 * i] = i + 1.0;
    start[2 * i + 1] = 0.5 * i - 1.0;
    exact[2 * i] = start[2 * i] * std::cos(to) + start[2 * i + 1] * std::sin(to);
    exact[2 * i + 1] = start[2 * i + 1] * std::cos(to) - start[2 * i] * std::sin(to);
  }
  expectOrder(euler, 1, start, to, 256, exact);
  expectOrder(rk2, 2, start, to, 128, exact);
  expectOrder(rk4, 4, start, to, 64, exact);
}

// The right-hand side depends on time, and no closed solution is known. The reference takes 4096 steps of
// fourth order.
TEST(Order, OfACoupledSystemThatDependsOnTime) {
  Coupled coupled;
  EulerSolver euler(&coupled);
  RK2Solver rk2(&coupled);
  RK4Solver rk4(&coupled);
  Vector start(2), exact(2);
  start[0] = exact[0] = 0.7;
  start[1] = exact[1] = -0.3;
  integrate(rk4, &exact, 0.0, 2.0, 4096);
  expectOrder(euler, 1, start, 2.0, 512, exact);
  expectOrder(rk2, 2, start, 2.0, 128, exact);
  expectOrder(rk4, 4, start, 2.0, 64, exact);
}

TEST(Order, StepsBackReturnToTheStart) {
  Coupled coupled;
  RK4Solver rk4(&coupled);
  Vector x(2);
  x[0] = 0.7;
  x[1] = -0.3;
  integrate(rk4, &x, 0.0, 2.0, 512);
  integrate(rk4, &x, 2.0, 0.0, 512);
  EXPECT_TRUE(tolerance::close(x[0], 0.7, 1e-9));
  EXPECT_TRUE(tolerance::close(x[1], -0.3, 1e-9));
}

}  // namespace
