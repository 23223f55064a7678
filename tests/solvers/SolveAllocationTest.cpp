#include <gtest/gtest.h>

#include <functional>

#include "limber/foundation/Output.h"
#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/allocations/Allocations.h"

namespace {

int silent(const char*) { return 0; }

using Call = std::function<SolveReport(Vector*)>;

// Fails the k-th allocation, for k = 0, 1, ... The solve must then either report it and leave x unchanged, or
// succeed without that memory (for example with more iterations instead of a factor).
void expectHonesty(const Call& solve, const HSpMat& A, const Vector& b, bool leastSquares) {
  const OutputFunction before = stderrF;
  stderrF = silent;
  bool refused = false;
  for (const bool andAllAfter : {false, true}) {
    for (long k = 0;; ++k) {
      ASSERT_LT(k, 20000);
      Vector x(b.count);
      x[0] = 0.25;
      SolveReport report{};
      bool happened;
      {
        const allocations::FailAt fail(k, andAllAfter);
        report = solve(&x);
        happened = fail.happened();
      }
      ASSERT_EQ(b.count, x.count);
      if (report.status == SOLVE_BAD_INPUT) {
        refused = true;
        EXPECT_STREQ("There is not enough memory.", report.message);
        EXPECT_EQ(0.25, x[0]);
        for (int j = 1; j < x.count; ++j) EXPECT_EQ(0.0, x[j]);
      } else {
        const double truth = relativeResidual(A, b.count, b, x, leastSquares);
        if (report.status == SOLVE_CONVERGED) {
          EXPECT_LE(truth, 1.001e-10);
        }
      }
      if (!happened) {
        EXPECT_EQ(SOLVE_CONVERGED, report.status);
        break;
      }
    }
  }
  EXPECT_TRUE(refused);
  stderrF = before;
}

TEST(SolveAllocation, NoMemoryIsReportedAndLeavesXUntouched) {
  const Entries A = grid(7, 0.0, 0.0), B = grid(7, 0.2, 1.0);
  const Vector b = Random(1).vector(49);
  expectHonesty([&](Vector* x) { return solveLeastSquares(A.matrix(), b, x); }, A.matrix(), b, true);
  expectHonesty([&](Vector* x) { return solvePositiveDefinite(A.matrix(), b, x); }, A.matrix(), b, false);
  expectHonesty([&](Vector* x) { return solveSquare(B.matrix(), b, x); }, B.matrix(), b, false);
}

}  // namespace
