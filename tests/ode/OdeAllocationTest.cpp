#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "limber/limber.h"
#include "tests/ode/Systems.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/allocations/Allocations.h"

namespace {

template <class Solver>
struct Facts;
template <>
struct Facts<EulerSolver> {
  static constexpr int vectors = 1;
  static constexpr const char* report = "FATAL ERROR@(Vectors:979):NEW fails - memory problem\n";
};
template <>
struct Facts<RK2Solver> {
  static constexpr int vectors = 2;
  static constexpr const char* report = "FATAL ERROR@(Vectors:1008):NEW fails - memory problem\n";
};
template <>
struct Facts<RK4Solver> {
  static constexpr int vectors = 5;
  static constexpr const char* report = "FATAL ERROR@(Vectors:1040):NEW fails - memory problem\n";
};

template <class Solver>
class OdeAllocation : public ::testing::Test {};
using Solvers = ::testing::Types<EulerSolver, RK2Solver, RK4Solver>;
TYPED_TEST_SUITE(OdeAllocation, Solvers);

double stepped(OdeSolver& solver) {
  Vector x(1);
  x = 1.0;
  EXPECT_EQ(solver.step(&x, 0.0, 0.1), 0);
  return x[0];
}

template <class Solver>
double good() {
  Decay decay;
  Solver solver(&decay);
  return stepped(solver);
}

// Work vectors of up to three elements need one allocation each, so every failure is reported by the solver,
// which tries again at its next step.
TYPED_TEST(OdeAllocation, EachMissingVectorIsReportedOnce) {
  Decay decay;
  const double expected = good<TypeParam>();
  for (long k = 0; k <= Facts<TypeParam>::vectors; ++k) {
    CapturedOutput captured;
    allocations::FailAt* trap = new allocations::FailAt(k);
    TypeParam solver(&decay, 2);
    const bool happened = trap->happened();
    delete trap;
    EXPECT_EQ(happened, k < Facts<TypeParam>::vectors);
    EXPECT_EQ(captured.err(), happened ? Facts<TypeParam>::report : "");
    EXPECT_EQ(stepped(solver), expected);
  }
}

TYPED_TEST(OdeAllocation, StepWithoutWorkLeavesTheState) {
  Decay decay;
  CapturedOutput captured;
  Vector x(1);
  x = 1.0;
  {
    allocations::FailAt trap(0, true);
    TypeParam solver(&decay, 2);
    EXPECT_EQ(solver.step(&x, 0.0, 0.1), 0);
  }
  EXPECT_EQ(x[0], 1.0);
  EXPECT_EQ(captured.err(), std::string(Facts<TypeParam>::report) + Facts<TypeParam>::report);
}

// Larger vectors allocate twice, and grow. Whichever allocation fails, the state either advances or does not
// change.
TYPED_TEST(OdeAllocation, EveryFailureLeavesAValidSolver) {
  Decay decay;
  const double expected = good<TypeParam>();
  for (long k = 0;; ++k) {
    CapturedOutput captured;
    Vector x(500);
    x = 1.0;
    bool happened;
    {
      allocations::FailAt trap(k);
      TypeParam solver(&decay, 20);
      TypeParam copy(solver), assigned(&decay, 2);
      assigned = solver;
      assigned.step(&x, 0.0, 0.1);
      happened = trap.happened();
      for (int i = 0; i < 500; ++i) ASSERT_EQ(x[i], x[0]);
      EXPECT_TRUE(x[0] == expected || (happened && x[0] == 1.0)) << k;
      EXPECT_EQ(stepped(copy), expected);
      EXPECT_EQ(stepped(solver), expected);
    }
    EXPECT_EQ(captured.err().empty(), !happened) << k;
    if (!happened) break;
    ASSERT_LT(k, 1000);
  }
}

// Euler's solver stores the size plus one, which does not fit an int here. Allocations fail, so that the test
// does not fill gigabytes with zeros.
TYPED_TEST(OdeAllocation, TheLargestSizeIsKept) {
  Decay decay;
  CapturedOutput captured;
  allocations::FailAt trap(0, true);
  TypeParam solver(&decay, std::numeric_limits<int>::max());
  EXPECT_EQ(solver.n, std::numeric_limits<int>::max());
}

TYPED_TEST(OdeAllocation, StepsDoNotAllocate) {
  Decay decay;
  TypeParam solver(&decay);
  Vector x(100);
  x = 1.0;
  const long before = allocations::count();
  for (int i = 0; i < 10; ++i) solver.step(&x, 0.1 * i, 0.1);
  EXPECT_EQ(allocations::count(), before);
}

}  // namespace
