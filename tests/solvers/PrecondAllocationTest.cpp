// Allocations of the preconditioners: there are none during solve(), and a failed one leaves valid objects.
#include <gtest/gtest.h>

#include <memory>

#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/JJtBandedPrecond.h"
#include "limber/solvers/JJtCholeskyPrecond.h"
#include "limber/solvers/JJtPrecond.h"
#include "tests/solvers/RandomJacobian.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"
#include "tests/support/allocations/Allocations.h"

namespace {

// Constructs, uses, copies and destroys the object with each of its allocations failing in turn.
template <class Make>
void failEach(Make make) {
  Jacobian J(1);
  J.addFrames(5, 4, 6, 3);
  Vector r(J.matrix.height()), z(J.matrix.height());
  r = 1.0;
  for (int k = 0;; ++k) {
    CapturedOutput output;
    bool happened = false;
    {
      allocations::FailAt fail(k);
      make(J, r, z);
      happened = fail.happened();
    }
    if (!happened) {
      EXPECT_GT(k, 0);
      return;
    }
    for (int i = 0; i < z.size(); ++i) ASSERT_EQ(z[i], z[i]) << "a NaN after failed allocation " << k;
  }
}

template <class P>
void useCopies(P& precond, Vector& r, Vector& z) {
  precond.solve(&r, &z);
  P copy(precond);
  copy.solve(&r, &z);
  copy = precond;
}

}  // namespace

TEST(PrecondAllocation, EachFailedAllocationLeavesAUsableObject) {
  failEach([](Jacobian& J, Vector& r, Vector& z) {
    JJtPrecond precond(&J.matrix, nullptr, nullptr);
    useCopies(precond, r, z);
  });
  failEach([](Jacobian& J, Vector& r, Vector& z) {
    JJtBandedPrecond precond(&J.matrix, 1, nullptr, nullptr);
    useCopies(precond, r, z);
  });
  failEach([](Jacobian& J, Vector& r, Vector& z) {
    JJtCholeskyPrecond precond(&J.matrix, 7, nullptr, nullptr);
    useCopies(precond, r, z);
  });
}

TEST(PrecondAllocation, TheBandIsTheSameWithoutMemoryForItsScratch) {
  Jacobian J(2);
  J.addFrames(5, 4, 6, 3);
  const int n = J.matrix.height();
  ResizeMatrix expected(n, 8), band(n, 8);
  buildJJtBand(&J.matrix, 7, &expected, nullptr, nullptr, 0.0);
  for (int k = 0; k < 2; ++k) {
    {
      allocations::FailAt fail(k);
      buildJJtBand(&J.matrix, 7, &band, nullptr, nullptr, 0.0);
    }
    EXPECT_TRUE(tolerance::sameBits(band.data, expected.data, n * 8));
  }
}

TEST(PrecondAllocation, ABuilderWithoutMemoryReportsIt) {
  Jacobian J(3);
  J.addFrames(5, 4, 6, 3);
  CapturedOutput output;
  ResizeMatrix* made = nullptr;
  {
    allocations::FailAt fail(0, true);
    made = buildJJtBand(&J.matrix, 7, nullptr, nullptr, nullptr, 0.0);
  }
  EXPECT_EQ(made, nullptr);
  EXPECT_EQ(output.err(), "FATAL ERROR:NEW fails - memory problem\n");
  ResizeMatrix out(1);
  {
    allocations::FailAt fail(0, true);
    EXPECT_EQ(buildJJtBand(&J.matrix, 7, &out, nullptr, nullptr, 0.0), &out);
  }
  EXPECT_EQ(out.data, nullptr);
  delete made;
}

TEST(PrecondAllocation, SolvingAllocatesNothing) {
  Jacobian J(4);
  J.addFrames(5, 4, 6, 3);
  Vector r(J.matrix.height()), z(J.matrix.height());
  JJtPrecond diagonal(&J.matrix, nullptr, nullptr);
  JJtBandedPrecond banded(&J.matrix, 1, nullptr, nullptr);
  JJtCholeskyPrecond cholesky(&J.matrix, 7, nullptr, nullptr);
  const long before = allocations::count();
  diagonal.solve(&r, &z);
  banded.solve(&r, &z);
  cholesky.solve(&r, &z);
  EXPECT_EQ(allocations::count(), before);
}
