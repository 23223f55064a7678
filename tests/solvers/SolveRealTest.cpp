// Real systems with default options. The data are beside some checkouts only.
#include <gtest/gtest.h>

#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/MatrixMarket.h"
#include "tests/support/TemporaryFile.h"

namespace {

enum Kind { definite, leastSquares, square };

// Solves with the right-hand side A times ones, and with one in all directions. The status must agree with
// the residual.
void expectSolved(const std::string& path, Kind kind) {
  MatrixMarket file(path);
  ASSERT_TRUE(file.error.empty()) << file.error;
  HSpMat& A = file.matrix();
  const int width = kind == leastSquares ? A.width() : A.height();
  for (const bool ones : {true, false}) {
    Vector b(A.height()), x, all(width);
    all = 1.0;
    if (ones) {
      A.mult(&all, &b);
    } else {
      for (int i = 0; i < b.count; ++i) b[i] = std::sin(i + 1.0);
    }
    const SolveReport report = kind == definite       ? solvePositiveDefinite(A, b, &x)
                               : kind == leastSquares ? solveLeastSquares(A, b, &x)
                                                      : solveSquare(A, b, &x);
    ASSERT_EQ(width, x.count);
    const double truth = relativeResidual(A, width, b, x, kind == leastSquares);
    EXPECT_LE(truth, 1e-8) << report.message;
    EXPECT_EQ(report.status == SOLVE_CONVERGED, truth <= 1.01e-10) << truth << ' ' << report.message;
  }
}

#define SOLVES(name, file, kind)   \
  TEST(SolveReal, name) {          \
    LIMBER_NEEDS_DATA(path, file); \
    expectSolved(path, kind);      \
  }

SOLVES(Solves494Bus, "494_bus.mtx", definite)
SOLVES(SolvesGr3030, "gr_30_30.mtx", definite)
SOLVES(SolvesNos3, "nos3.mtx", definite)
SOLVES(SolvesNos7, "nos7.mtx", definite)
SOLVES(SolvesBcsstk01, "bcsstk01.mtx", definite)
SOLVES(SolvesAsh219, "ash219.mtx", leastSquares)
SOLVES(SolvesWell1033, "well1033.mtx.gz", leastSquares)
SOLVES(SolvesIllc1033, "illc1033.mtx.gz", leastSquares)
SOLVES(SolvesJpwh991, "jpwh_991.mtx", square)
SOLVES(SolvesWest0067, "west0067.mtx", square)
SOLVES(SolvesOrsirr1, "orsirr_1.mtx", square)

}  // namespace
