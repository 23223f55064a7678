#include "limber/solvers/Solve.h"

#include <gtest/gtest.h>

#include "limber/limber.h"
#include "tests/support/Tolerance.h"

namespace {

TEST(Solve, SolvesTwoByTwoSystemsOfEveryKind) {
  FullMatrix A(2, 2);
  A.e(0, 0) = 4.0;
  A.e(0, 1) = A.e(1, 0) = 1.0;
  A.e(1, 1) = 3.0;
  Vector b(2);
  b[0] = 1.0;
  b[1] = 2.0;
  for (const auto solve : {solveLeastSquares, solvePositiveDefinite, solveSquare}) {
    Vector x;
    const SolveReport report = solve(A, b, &x, SolveOptions());
    EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
    ASSERT_EQ(2, x.count);
    EXPECT_TRUE(tolerance::close(1.0 / 11.0, x[0], 1e-9));
    EXPECT_TRUE(tolerance::close(7.0 / 11.0, x[1], 1e-9));
  }
}

}  // namespace
