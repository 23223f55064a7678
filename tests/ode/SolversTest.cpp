// Checks the step of each solver with examples, by its calls of the integrand, and bit for bit with the same
// sums in Vector operations.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "limber/limber.h"
#include "tests/ode/Systems.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

double afterOneStep(OdeSolver& solver) {
  Vector x(1);
  x[0] = 1.0;
  EXPECT_EQ(solver.step(&x, 0.0, 0.1), 0);
  EXPECT_EQ(x.size(), 1);
  return x[0];
}

TEST(Integrand, CanBeCopied) {
  Decay decay;
  Decay copy(decay);
  copy = decay;
  Integrand& base = copy;
  Vector x(1), k(1);
  x[0] = 2.0;
  base.fprime(&x, 0.0, &k);
  EXPECT_EQ(k[0], -2.0);
}

TEST(Integrand, BaseReportsAndReturnsZero) {
  CapturedOutput captured;
  Integrand generic;
  Vector x(2), dxdt(2);
  dxdt = 7.0;
  EXPECT_EQ(generic.fprime(&x, 0.0, &dxdt), 0);
  EXPECT_EQ(captured.errCalls(),
            std::vector<std::string>{"ERR: Evaluate generic Integrand @ (Vectors:1098)\n"});
  EXPECT_EQ(dxdt[0], 7.0);
}

TEST(OdeSolver, BaseReportsAndLeavesTheState) {
  CapturedOutput captured;
  Decay decay;
  OdeSolver generic(&decay, 12);
  EXPECT_EQ(generic.f, &decay);
  EXPECT_EQ(generic.n, 12);
  EXPECT_EQ(afterOneStep(generic), 1.0);
  EXPECT_EQ(captured.errCalls(),
            std::vector<std::string>{"ERR: Generic solver can't solve @ (Vectors:971)\n"});
}

TEST(EulerSolver, OneStepOfDecay) {
  Decay decay;
  EulerSolver solver(&decay);
  EXPECT_TRUE(tolerance::sameBits(afterOneStep(solver), 0.1 * -1.0 + 1.0));
  EXPECT_TRUE(tolerance::close(afterOneStep(solver), 0.9, tolerance::epsilon));
}

TEST(RK2Solver, OneStepOfDecay) {
  Decay decay;
  RK2Solver solver(&decay);
  EXPECT_TRUE(tolerance::close(afterOneStep(solver), 0.905, 2 * tolerance::epsilon));
}

TEST(RK4Solver, OneStepOfDecay) {
  Decay decay;
  RK4Solver solver(&decay);
  EXPECT_TRUE(tolerance::close(afterOneStep(solver), 0.9048375, 4 * tolerance::epsilon));
}

TEST(EulerSolver, AsksOnceAtTheStart) {
  Recorder recorder;
  EulerSolver solver(&recorder);
  Vector x(1);
  x[0] = 2.0;
  solver.step(&x, 5.0, 0.25);
  ASSERT_EQ(recorder.calls.size(), 1u);
  EXPECT_EQ(recorder.calls[0].x, &x);
  EXPECT_EQ(recorder.calls[0].t, 5.0);
  EXPECT_EQ(recorder.calls[0].dxdt, solver.work);
  EXPECT_EQ(recorder.calls[0].dxdtSize, 1);
  EXPECT_EQ(x[0], 2.0 + 0.25 * 6.0);
}

TEST(RK2Solver, AsksAtTheStartAndTheMidpoint) {
  Recorder recorder;
  RK2Solver solver(&recorder);
  Vector x(1);
  x[0] = 2.0;
  solver.step(&x, 5.0, 0.5);
  ASSERT_EQ(recorder.calls.size(), 2u);
  EXPECT_EQ(recorder.calls[0].x, &x);
  EXPECT_EQ(recorder.calls[0].t, 5.0);
  EXPECT_EQ(recorder.calls[0].dxdt, solver.k1);
  EXPECT_EQ(recorder.calls[1].x, solver.k1);  // at that time it holds the midpoint state
  EXPECT_EQ(recorder.calls[1].value, 2.0 + 0.25 * 6.0);
  EXPECT_EQ(recorder.calls[1].t, 5.25);
  EXPECT_EQ(recorder.calls[1].dxdt, solver.k2);
  EXPECT_EQ(x[0], 2.0 + 0.5 * 10.5);
}

TEST(RK4Solver, AsksAtTheClassicalFourPlaces) {
  Recorder recorder;
  RK4Solver solver(&recorder);
  Vector x(1);
  x[0] = 2.0;
  solver.step(&x, 5.0, 0.5);
  ASSERT_EQ(recorder.calls.size(), 4u);
  const double k1 = 3.0, k2 = 0.5 * 3 * 3.5, k3 = 0.5 * 3 * (2 + k2 / 2), k4 = 0.5 * 3 * (2 + k3);
  const double states[] = {2.0, 2.0 + k1 / 2, 2.0 + k2 / 2, 2.0 + k3};
  const double times[] = {5.0, 5.25, 5.25, 5.5};
  Vector* const slopes[] = {solver.k1, solver.k2, solver.k3, solver.k4};
  const double scaled[] = {k1, k2, k3, k4};
  for (int i = 0; i < 4; ++i) {
    const Recorder::Call& call = recorder.calls[static_cast<std::size_t>(i)];
    EXPECT_EQ(call.x, i == 0 ? &x : solver.stage);
    EXPECT_EQ(call.value, states[i]);
    EXPECT_EQ(call.t, times[i]);
    EXPECT_EQ(call.dxdt, slopes[i]);
    EXPECT_EQ((*slopes[i])[0], scaled[i]);  // each slope is scaled by dt as soon as it is computed
  }
}

// A step over x' = t^p is a quadrature rule: left rectangles, midpoints, Simpson's.
TEST(Solvers, StepsOverPowersOfTimeAreQuadratures) {
  const double exact[] = {1.0, 1.5, 7.0 / 3.0, 15.0 / 4.0};
  for (int power = 0; power < 4; ++power) {
    Power right(power);
    EulerSolver euler(&right);
    RK2Solver rk2(&right);
    RK4Solver rk4(&right);
    const auto integral = [](OdeSolver& solver) {
      Vector x(1);
      solver.step(&x, 1.0, 1.0);
      return x[0];
    };
    EXPECT_TRUE(tolerance::close(integral(euler), 1.0, 0.0)) << power;
    EXPECT_TRUE(tolerance::close(integral(rk2), std::pow(1.5, power), 4 * tolerance::epsilon)) << power;
    EXPECT_TRUE(tolerance::close(integral(rk4), exact[power], 8 * tolerance::epsilon)) << power;
  }
}

TEST(RK2Solver, BitsAreThoseOfTheVectorOperations) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> uniform(-2, 2);
  Coupled right;
  RK2Solver solver(&right);
  for (int trial = 0; trial < 500; ++trial) {
    Vector x(2), expected(2), k1(2), k2(2);
    x[0] = uniform(random);
    x[1] = uniform(random);
    expected = x;
    const double t = uniform(random), dt = uniform(random);
    right.fprime(&expected, t, &k1);
    k1 *= 0.5 * dt;
    k1 += expected;
    right.fprime(&k1, t + 0.5 * dt, &k2);
    expected.scaleAdd(dt, &k2);
    solver.step(&x, t, dt);
    ASSERT_TRUE(tolerance::sameBits(x.data, expected.data, 2));
  }
}

// x += k1/6 + k2/3 + k3/3 + k4/6, added one after the other. Long states use wider registers if the machine
// has them. The sizes are below and above that length, with all remainders.
TEST(RK4Solver, BitsAreThoseOfTheVectorOperations) {
  std::mt19937 random(4);
  std::uniform_real_distribution<double> uniform(-2, 2);
  for (const int size : {2, 3, 4, 6, 13, 14, 15, 16, 17, 18, 19, 50, 1000, 1001, 1002, 1003}) {
    Oscillators oscillators;
    Coupled coupled;
    Decay decay;
    Integrand* const right = size == 2       ? static_cast<Integrand*>(&coupled)
                             : size % 2 == 0 ? static_cast<Integrand*>(&oscillators)
                                             : &decay;
    RK4Solver solver(right);
    for (int trial = 0; trial < 50; ++trial) {
      Vector x(size), expected(size), stage(size),
          k[4] = {Vector(size), Vector(size), Vector(size), Vector(size)};
      for (int i = 0; i < size; ++i) x[i] = uniform(random);
      expected = x;
      const double t = uniform(random), dt = uniform(random);
      const double at[] = {t, t + 0.5 * dt, t + 0.5 * dt, t + dt}, weights[] = {0.0, 0.5, 0.5, 1.0};
      for (int j = 0; j < 4; ++j) {
        stage = x;
        if (j > 0) stage.scaleAdd(weights[j], &k[j - 1]);
        right->fprime(&stage, at[j], &k[j]);
        k[j] *= dt;
      }
      expected.scaleAdd(1.0 / 6.0, &k[0]);
      expected.scaleAdd(1.0 / 3.0, &k[1]);
      expected.scaleAdd(1.0 / 3.0, &k[2]);
      expected.scaleAdd(1.0 / 6.0, &k[3]);
      solver.step(&x, t, dt);
      ASSERT_TRUE(tolerance::sameBits(x.data, expected.data, size)) << size;
    }
  }
}

}  // namespace
