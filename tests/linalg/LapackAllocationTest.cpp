// Allocations of the dense routines: there are none below the fixed limits, and a failed one leaves valid
// objects.
#include <gtest/gtest.h>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/GaussJordan.h"
#include "limber/linalg/STMLapack.h"
#include "limber/linalg/Vector.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/OwnProcess.h"
#include "tests/support/allocations/Allocations.h"

namespace {

void scaledIdentity(FullMatrix& a, double s) {
  a.identity();
  a.scale(s);
}

}  // namespace

// The first successful call allocates the bookkeeping.
TEST(GaussJordanAllocation, FailedFirstCallIsFatalAtItsLineAndLeavesAllAlone) {
  if (!inOwnProcess()) return;
  FullMatrix a(2, 2);
  scaledIdentity(a, 2.0);
  Vector b(2);
  b = 3.0;
  for (int k : {0, 1}) {
    CapturedOutput output;
    {
      allocations::FailAt fail(k);
      gaussj(a, nullptr, &b);
    }
    EXPECT_EQ(output.err(), "FATAL ERROR@(Vectors:1326):new fails - memory problem\n");
    EXPECT_EQ(a.e(0, 0), 2.0);
    EXPECT_EQ(b[0], 3.0);
  }
  gaussj(a, nullptr, nullptr);
  EXPECT_EQ(a.e(0, 0), 0.5);
  const long before = allocations::count();
  gaussj(a, nullptr, nullptr);
  EXPECT_EQ(allocations::count(), before) << "kept";
}

TEST(LapackAllocation, NothingIsAllocatedBelowTheFixedLimits) {
  FullMatrix a(150, 150), band(300, 5), c(150, 150), u(150, 150), s(1, 150), vt(150, 150);
  Vector b(300), tau(150);
  long pivots[150];
  for (int j = 0; j < 300; ++j) band.e(j, 4) = 4.0;
  CapturedOutput output;
  const long before = allocations::count();
  scaledIdentity(a, 2.0);
  luFactor(&a, pivots);
  luSolve(&a, pivots, &b);
  luInvert(&a, pivots);
  matrixMultiply(&a, &a, &a);
  qtransTimes(&a, &tau, &b);
  qtransTimes(&a, &tau, &c);
  solveUTri(&a, &b);
  solveUTri(&a, &c, 0);
  cholFactorBanded(&band);
  cholSolveBanded(&band, &b);
  cholCondEst(&band);
  a.invert();
  svdDecomp(&a, &u, &s, &vt);
  EXPECT_EQ(allocations::count(), before);
}

TEST(LapackAllocation, FailedPivotsReturnTheirArgument) {
  FullMatrix a(3, 3);
  scaledIdentity(a, 2.0);
  CapturedOutput output;
  {
    allocations::FailAt fail(0);
    EXPECT_EQ(luInvert(&a), -4);
  }
  EXPECT_EQ(output.err(), "FATAL ERROR:NEW fails - memory problem\n");
  EXPECT_EQ(a.e(0, 0), 2.0);
  EXPECT_EQ(luInvert(&a), 0);
}

TEST(LapackAllocation, FailedTranspositionsLeaveWholeOrEmptyMatrices) {
  CapturedOutput restored;
  for (int k = 0; k < 4; ++k) {
    FullMatrix a(3, 2);
    a.identity();
    Vector tau(2);
    {
      allocations::FailAt fail(k);
      qrFactor(&a, &tau);
      EXPECT_TRUE(a.data || a.rows() * a.columns() == 0);
      qObtain(&a, &tau);
      EXPECT_TRUE(fail.happened()) << k;
    }
    EXPECT_TRUE(a.data || a.rows() * a.columns() == 0);
  }
  FullMatrix lu(3, 3);
  scaledIdentity(lu, 2.0);
  long pivots[3];
  luFactor(&lu, pivots);
  for (int k = 0; k < 2; ++k) {
    FullMatrix b(3, 2);
    CapturedOutput output;
    {
      allocations::FailAt fail(k);
      luSolve(&lu, pivots, &b);
    }
    EXPECT_NE(output.err().find("memory problem"), std::string::npos);
    EXPECT_TRUE(b.data || b.rows() * b.columns() == 0);
  }
}

TEST(LapackAllocation, LargerWorkspacesThatCannotBeHadWriteNothing) {
  if (!inOwnProcess()) return;  // the shared workspaces only grow
  const int n = 650;
  FullMatrix a(n, n);
  scaledIdentity(a, 2.0);
  CapturedOutput output;
  {
    allocations::FailAt fail(0, true);
    EXPECT_EQ(a.invert(), 0);
  }
  EXPECT_EQ(output.err(), "FATAL ERROR:NEW fails - memory problem\n");
  output.clear();
  {
    allocations::FailAt fail(0, true);
    matrixMultiply(&a, &a, &a);
  }
  EXPECT_EQ(output.err(), "FATAL ERROR:NEW fails - memory problem\n");
  EXPECT_EQ(a.kind, 0);
  EXPECT_EQ(a.e(n - 1, n - 1), 2.0);
}
