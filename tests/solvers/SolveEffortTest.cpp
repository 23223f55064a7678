// The front door tries several methods, and a later one may solve what an earlier one did not. So a correct
// solution does not show that a method works, but the number of iterations does. The bounds leave room for
// improvements and are far below what other methods need.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"

namespace {

using Function = SolveReport (*)(const SpMat& A, const Vector& b, Vector* x, const SolveOptions& options);

// `near` is the distance of the start from the solution; 0 starts without one.
int iterations(Function solve, const Entries& A, double near = 0.0) {
  Random random(1);
  Vector x(A.width()), b, start;
  for (int j = 0; j < A.width(); ++j) x[j] = random.value();
  A.matrix().mult(&x, &b);
  if (near > 0.0) {
    start = x;
    for (int j = 0; j < A.width(); ++j) start[j] += near * random.value();
  }
  const SolveReport report = solve(A.matrix(), b, &start, SolveOptions());
  EXPECT_EQ(report.status, SOLVE_CONVERGED) << report.message;
  return report.iterations;
}

// m x n with three entries in each row, of which the diagonal one is the largest.
Entries tall(int m, int n, double diagonal, double spread) {
  Random random(9);
  Entries A(m, n);
  for (int i = 0; i < m; ++i) {
    const int j = i % n;
    A.add(i, j, diagonal * std::pow(10.0, spread * j / n));
    for (int k = 0; k < 2; ++k) {
      const int other = (j + 1 + random.below(n - 1)) % n;
      A.add(i, other, random.value() * std::pow(10.0, spread * other / n));
    }
  }
  return A;
}

TEST(SolveEffort, OfAWellConditionedSystemIsLittle) {
  EXPECT_LE(iterations(solveLeastSquares, tall(600, 300, 4.0, 0.0)), 22);
  EXPECT_LE(iterations(solveLeastSquares, tall(600, 300, 4.0, 12.0)), 22)
      << "columns of very different sizes";
  EXPECT_LE(iterations(solveSquare, tall(300, 300, 4.0, 0.0)), 7);
  EXPECT_LE(iterations(solveSquare, grid(30, 0.3, 0.0)), 26);
  EXPECT_LE(iterations(solvePositiveDefinite, grid(30, 0.0, -1.0)), 44);
}

// The largest entry of a row is far from the diagonal here, because its column is scaled by more.
TEST(SolveEffort, OfAMatrixScaledFromBothSidesIsAsLittle) {
  Random random(5);
  constexpr int n = 300;
  std::vector<int> powers(n);
  for (int& power : powers) power = static_cast<int>(200.0 * random.value());
  Entries A(n, n);
  for (int i = 0; i < n; ++i) {
    A.add(i, i, std::ldexp(2.0, 2 * powers[static_cast<std::size_t>(i)]));
    for (int k = 0; k < 2; ++k) {
      const int j = (i + 1 + random.below(n - 1)) % n;
      const int power = powers[static_cast<std::size_t>(i)] + powers[static_cast<std::size_t>(j)];
      A.add(i, j, std::ldexp(random.value(), power));
    }
  }
  EXPECT_LE(iterations(solveSquare, A), 12);
}

TEST(SolveEffort, OfAStartNearTheSolutionIsLess) {
  EXPECT_LE(iterations(solveLeastSquares, tall(600, 300, 4.0, 0.0), 1e-5), 12);
  EXPECT_LE(iterations(solveLeastSquares, tall(600, 300, 4.0, 6.0), 1e-5), 12);
  EXPECT_LE(iterations(solveSquare, grid(30, 0.3, 0.0), 1e-7), 7);
  EXPECT_LE(iterations(solvePositiveDefinite, grid(30, 0.0, -1.0), 1e-5), 21);
}

// These need no iteration to be recognised.
TEST(SolveEffort, MatricesThatAreSeenNotToBePositiveDefinite) {
  struct Case {
    double a, b, c, d;
  };
  for (const Case& m : {Case{1, 2, 2, 1}, Case{-1, 0, 0, 2}, Case{2, 1, 0.5, 2}, Case{2, 1, 0, 2}}) {
    Entries A(2, 2);
    A.add(0, 0, m.a), A.add(0, 1, m.b), A.add(1, 0, m.c), A.add(1, 1, m.d);
    Vector x, b(2);
    b[0] = 1.0;
    const SolveReport report = solvePositiveDefinite(A.matrix(), b, &x);
    EXPECT_EQ(report.status, SOLVE_BREAKDOWN);
    EXPECT_EQ(report.iterations, 0) << m.a << " " << m.b << " " << m.c << " " << m.d;
  }
}

// A graded block that no method solves to 1e-10, and a chain of differences, in which LSMR needs an iteration
// for each unknown.
TEST(SolveEffort, OfTheLastAttemptAtLeastSquaresMayBeAnIterationForEachOfThousandsOfUnknowns) {
  constexpr int block = 8, chain = 5200, n = block + chain;
  Random random(4);
  Entries A(n, n);
  Vector b(n), x;
  fillGraded(block, &random, &A, &b);
  for (int i = block; i < n; ++i) {
    if (i > block) A.add(i, i - 1, -0x1p27);
    A.add(i, i, 0x1p27);
  }
  b[block] = 1.0;
  const SolveReport report = solveLeastSquares(A.matrix(), b, &x);
  EXPECT_EQ(SOLVE_STAGNATED, report.status);
  EXPECT_LE(report.relativeResidual, 1e-8);
  EXPECT_GE(report.iterations, 2000 + chain) << "those of the first attempt and of the last one";
}

}  // namespace
