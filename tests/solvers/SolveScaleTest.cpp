// Systems of any scale have the same solution bits, apart from the power of two.
#include <gtest/gtest.h>

#include <functional>

#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/Tolerance.h"

namespace {

Vector scaled(const Vector& v, int k) {
  Vector result(v);
  for (int i = 0; i < result.count; ++i) result[i] = std::ldexp(result[i], k);
  return result;
}

Entries scaled(const Entries& A, int k) {
  Entries result(A.matrix().numRows, A.width());
  for (int i = 0; i < A.matrix().numRows; ++i) {
    const SpVec& row = *A.matrix().rows[i];
    for (int e = 0; e < row.numEntries; ++e) result.add(i, row.indices[e], std::ldexp(row.values[e], k));
  }
  return result;
}

using Solve = std::function<SolveReport(const HSpMat&, const Vector&, Vector*)>;

// Checks that powers of two times A and b give the same counts, and the solution 2^(onB - degree onA) x with
// the same bits.
void expectInvariance(const Entries& A, const Vector& b, const Solve& solve, int degree) {
  Vector x;
  const SolveReport first = solve(A.matrix(), b, &x);
  ASSERT_EQ(SOLVE_CONVERGED, first.status) << first.message;
  for (const int k : {-900, -451, -43, -1, 1, 44, 333, 900}) {
    for (const int which : {1, 2, 3}) {
      const int onA = which & 1 ? k : 0, onB = which & 2 ? k : 0;
      const int onX = onB - degree * onA;
      if (degree == 2 && std::abs(onX) > 1000) continue;  // x would not fit
      Vector y;
      const SolveReport report = solve(scaled(A, onA).matrix(), scaled(b, onB), &y);
      EXPECT_EQ(first.status, report.status) << k << ' ' << which;
      EXPECT_EQ(first.iterations, report.iterations) << k << ' ' << which;
      EXPECT_EQ(first.products, report.products);
      EXPECT_EQ(first.relativeResidual, report.relativeResidual);
      ASSERT_EQ(x.count, y.count);
      EXPECT_TRUE(tolerance::sameBits(scaled(x, onX).data, y.data, x.count)) << k << ' ' << which;
    }
  }
}

SolveReport leastSquares(const HSpMat& A, const Vector& b, Vector* x) { return solveLeastSquares(A, b, x); }
SolveReport definite(const HSpMat& A, const Vector& b, Vector* x) { return solvePositiveDefinite(A, b, x); }
SolveReport square(const HSpMat& A, const Vector& b, Vector* x) { return solveSquare(A, b, x); }

TEST(SolveScale, LeastSquaresHasTheSameBits) {
  Random random(1);
  Entries A(80, 50);
  for (int i = 0; i < 80; ++i) {
    for (int k = 0; k < 4; ++k) A.add(i, (i * 7 + k * 11) % 50, random.value() * std::pow(10.0, k - 2));
  }
  expectInvariance(A, random.vector(80), leastSquares, 1);
}

TEST(SolveScale, AHardLeastSquaresProblemHasTheSameBits) {
  Random random(2);
  Entries A(60, 12);
  for (int i = 0; i < 60; ++i) {
    for (int j = 0; j < 12; ++j) A.add(i, j, std::pow(i / 59.0, j));
  }
  Vector b(60);
  for (int i = 0; i < 60; ++i) b[i] = std::sin(0.1 * i);
  expectInvariance(A, b, leastSquares, 1);
}

TEST(SolveScale, PositiveDefiniteHasTheSameBits) {
  expectInvariance(grid(13, 0.0, 0.0), Random(3).vector(169), definite, 1);
}

TEST(SolveScale, SquareHasTheSameBits) {
  expectInvariance(grid(13, 0.4, 0.0), Random(4).vector(169), square, 1);
  expectInvariance(grid(13, 0.4, 3.0), Random(4).vector(169), square, 1);
}

TEST(SolveScale, ConstraintsHaveTheSameBits) {
  Random random(5);
  Entries J(40, 60);
  for (int i = 0; i < 40; ++i) {
    for (int k = 0; k < 5; ++k) J.add(i, (i * 13 + k * 17) % 60, random.value());
  }
  Vector mass(60);
  mass = 2.0;
  for (const Vector* m : {static_cast<const Vector*>(nullptr), static_cast<const Vector*>(&mass)}) {
    const auto constraints = [m](const HSpMat& A, const Vector& b, Vector* x) {
      return solveConstraints(A, m, nullptr, b, x);
    };
    expectInvariance(J, random.vector(40), constraints, 2);
  }
}

// A zero has no exponent, so a damping of zeros must not set the scale.
TEST(SolveScale, ADampingOfZerosChangesNothing) {
  Random random(8);
  Entries J(40, 60);
  for (int i = 0; i < 40; ++i) {
    for (int k = 0; k < 5; ++k) J.add(i, (i * 13 + k * 17) % 60, random.value());
  }
  const Vector b = random.vector(40);
  Vector zeros(40), x;
  zeros = 0.0;
  for (const int k : {-900, -300, -10, 0, 10, 450}) {
    const Entries small = scaled(J, k);
    const Vector right = scaled(b, std::max(2 * k, -900));
    Vector y;
    x = Vector();
    EXPECT_EQ(SOLVE_CONVERGED, solveConstraints(small.matrix(), nullptr, nullptr, right, &x).status) << k;
    EXPECT_EQ(SOLVE_CONVERGED, solveConstraints(small.matrix(), nullptr, &zeros, right, &y).status) << k;
    EXPECT_TRUE(tolerance::sameBits(x.data, y.data, x.count)) << k;
  }
}

TEST(SolveScale, ResidualsAreInTheCallersUnits) {
  const Entries A = grid(9, 0.0, 0.0);
  const Vector b = Random(6).vector(81);
  Vector x, y;
  const SolveReport one = solvePositiveDefinite(A.matrix(), b, &x);
  const SolveReport two = solvePositiveDefinite(scaled(A, 100).matrix(), scaled(b, -300), &y);
  EXPECT_EQ(std::ldexp(one.residual, -300), two.residual);
  x = Vector();
  y = Vector();
  const SolveReport three = solveLeastSquares(A.matrix(), b, &x);
  const SolveReport four = solveLeastSquares(scaled(A, 100).matrix(), scaled(b, -300), &y);
  EXPECT_EQ(std::ldexp(three.residual, -200), four.residual);
}

TEST(SolveScale, AnyOtherScaleIsTheSameToRounding) {
  const Entries A = grid(12, 0.0, 0.0);
  const Vector b = Random(7).vector(144);
  for (const double s : {1e-200, 1e-13, 3.0, 1e200}) {
    Entries B(144, 144);
    for (int i = 0; i < 144; ++i) {
      const SpVec& row = *A.matrix().rows[i];
      for (int e = 0; e < row.numEntries; ++e) B.add(i, row.indices[e], s * row.values[e]);
    }
    Vector x, y;
    EXPECT_EQ(SOLVE_CONVERGED, solvePositiveDefinite(A.matrix(), b, &x).status);
    EXPECT_EQ(SOLVE_CONVERGED, solvePositiveDefinite(B.matrix(), b, &y).status);
    for (int i = 0; i < 144; ++i) EXPECT_TRUE(tolerance::close(x[i], s * y[i], 1e-8));
  }
}

// What is lost where the solution leaves the normal numbers is part of the reported residual.
TEST(SolveScale, SolutionsBelowTheNormalNumbersAreJudgedAsTheUserGetsThem) {
  Entries A(2, 2);
  A.add(0, 0, 4.5e15);
  A.add(1, 1, 3e15);
  for (const Solve& solve : {Solve(square), Solve(definite), Solve(leastSquares)}) {
    for (const double size : {5e-324, 1e-306, 1e-300}) {
      Vector b(2), x;
      b[0] = size;
      b[1] = -size;
      const SolveReport report = solve(A.matrix(), b, &x);
      EXPECT_EQ(SOLVE_STAGNATED, report.status) << size;
      EXPECT_STREQ("The solution is too small for doubles: numbers below 1e-307 lose digits.",
                   report.message);
      EXPECT_TRUE(report.relativeResidual > 1e-10 && report.relativeResidual <= 1.0)
          << report.relativeResidual;
    }
    Vector b(2), x;
    b[0] = b[1] = 1e-280;
    EXPECT_EQ(SOLVE_CONVERGED, solve(A.matrix(), b, &x).status);
  }
}

TEST(SolveScale, SolutionsOf600DecadesAreJudgedByTheirSmallestUnknowns) {
  Entries A(2, 3);  // its last column is empty, so the solution nearest to the start is looked for
  A.add(0, 0, 1e300);
  A.add(1, 1, -1.75);
  Vector b(2), x;
  b[0] = 4.0;
  b[1] = 1e300;
  const SolveReport report = solveLeastSquares(A.matrix(), b, &x);
  EXPECT_EQ(SOLVE_CONVERGED, report.status);
  EXPECT_TRUE(tolerance::close(x[0], 4e-300, 1e-315)) << x[0];
  EXPECT_TRUE(tolerance::close(x[1], 1e300 / -1.75, 1e285)) << x[1];
}

}  // namespace
