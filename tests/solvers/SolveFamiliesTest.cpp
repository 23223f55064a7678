// Families of systems at the limit of double precision. Each is compared with a dense LAPACK factorization:
// what LAPACK solves must be solved, and what is reported as solved must be true.
#include <gtest/gtest.h>

#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

enum Kind { definite, leastSquares, square };

// The solution by LU, or by QR for least squares; empty if a pivot is zero.
Vector byLapack(const FullMatrix& A, const Vector& b, Kind kind) {
  FullMatrix copy(A);
  Vector x(b);
  if (kind == leastSquares) {
    const CapturedOutput quiet;
    Vector tau;
    qrFactor(&copy, &tau);
    qtransTimes(&copy, &tau, &x);
    x.grow(A.numColumns);
    FullMatrix R(A.numColumns, A.numColumns);
    for (int i = 0; i < A.numColumns; ++i) {
      for (int j = i; j < A.numColumns; ++j) R.e(i, j) = copy.e(i, j);
    }
    solveUTri(&R, &x);
    return x;
  }
  std::vector<long> pivots(static_cast<std::size_t>(A.numRows));
  if (luFactor(&copy, pivots.data()) != 0) return Vector();
  luSolve(&copy, pivots.data(), &x);
  return x;
}

void expectTruth(const char* family, double parameter, const FullMatrix& A, const Vector& b, Kind kind) {
  SCOPED_TRACE(testing::Message() << family << ' ' << parameter);
  const Entries sparse(A);
  const int width = A.numColumns;
  Vector x;
  const SolveReport report = kind == definite       ? solvePositiveDefinite(sparse.matrix(), b, &x)
                             : kind == leastSquares ? solveLeastSquares(sparse.matrix(), b, &x)
                                                    : solveSquare(sparse.matrix(), b, &x);
  ASSERT_EQ(width, x.count) << report.message;
  const double truth = relativeResidual(sparse.matrix(), width, b, x, kind == leastSquares);
  EXPECT_EQ(report.status == SOLVE_CONVERGED, truth <= 1.0001e-10) << truth << ' ' << report.message;
  const Vector peer = byLapack(A, b, kind);
  if (peer.count < width) return;
  const double theirs = relativeResidual(sparse.matrix(), width, b, peer, kind == leastSquares);
  if (!(theirs <= 1e-9)) return;  // closer to the bound, rounding inside LAPACK decides
  EXPECT_LE(truth, 1e-8) << report.message << "; LAPACK " << theirs;
}

Vector timesOnes(const FullMatrix& A) {
  Vector ones(A.numColumns), b(A.numRows);
  ones = 1.0;
  A.mult(&ones, &b);
  return b;
}

FullMatrix dense(const Entries& A) {
  FullMatrix full(A.matrix().numRows, A.width());
  for (int i = 0; i < A.matrix().numRows; ++i) {
    const SpVec& row = *A.matrix().rows[i];
    for (int k = 0; k < row.numEntries; ++k) full.e(i, row.indices[k]) += row.values[k];
  }
  return full;
}

TEST(SolveFamilies, GradedDefiniteMatrices) {
  const FullMatrix grid8 = dense(grid(8, 0.0, 0.0));
  for (const double decades : {1.0, 4.0, 8.0, 16.0, 60.0, 150.0}) {
    FullMatrix A(grid8);
    for (int i = 0; i < 64; ++i) {
      for (int j = 0; j < 64; ++j) A.e(i, j) *= std::pow(10.0, -decades * (i + j) / 63.0);
    }
    expectTruth("graded, b = A 1", decades, A, timesOnes(A), definite);
    expectTruth("graded, any b", decades, A, Random(1).vector(64), definite);
    expectTruth("graded, as square", decades, A, timesOnes(A), square);
  }
}

TEST(SolveFamilies, GradedDefiniteSolutionsAreAccurateInEveryElement) {
  FullMatrix A = dense(grid(6, 0.0, 0.0));
  for (int i = 0; i < 36; ++i) {
    for (int j = 0; j < 36; ++j) A.e(i, j) = std::ldexp(A.e(i, j), -(i + j));
  }
  Vector x;
  EXPECT_EQ(SOLVE_CONVERGED, solvePositiveDefinite(A, timesOnes(A), &x).status);
  // because b is rounded, an error of 2^35 (the grading) times 2^-53 remains
  for (int i = 0; i < 36; ++i) EXPECT_TRUE(tolerance::close(1.0, x[i], 1e-6)) << i;
}

TEST(SolveFamilies, HilbertMatrices) {
  LIMBER_NEEDS_WIDE_LONG_DOUBLE();
  for (int n = 2; n <= 14; ++n) {
    FullMatrix A(n, n);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) A.e(i, j) = 1.0 / (i + j + 1);
    }
    for (const Kind kind : {definite, leastSquares, square}) {
      expectTruth("Hilbert, b = A 1", n, A, timesOnes(A), kind);
      expectTruth("Hilbert, any b", n, A, Random(2).vector(n), kind);
    }
  }
}

TEST(SolveFamilies, VandermondeLikeLeastSquares) {
  for (const int degree : {3, 6, 9, 12}) {
    for (const double range : {1.0, 10.0}) {
      FullMatrix A(60, degree);
      Vector b(60);
      for (int i = 0; i < 60; ++i) {
        for (int j = 0; j < degree; ++j) A.e(i, j) = std::pow(range * i / 59.0, j);
        b[i] = std::sin(0.2 * i);
      }
      expectTruth("Vandermonde, b = A 1", degree, A, timesOnes(A), leastSquares);
      expectTruth("Vandermonde, a sine", degree, A, b, leastSquares);
    }
  }
}

TEST(SolveFamilies, ConvectionDiffusionAndShiftedLaplacians) {
  for (const double convection : {0.0, 0.3, 1.0, 5.0, 50.0}) {
    const FullMatrix A = dense(grid(12, convection, 0.0));
    expectTruth("convection", convection, A, Random(3).vector(144), square);
  }
  for (const double shift : {0.5, 1.0, 2.5, 3.999, 4.0, 5.0, 8.0}) {
    for (const double convection : {0.0, 0.2}) {
      const FullMatrix A = dense(grid(12, convection, shift));
      expectTruth("shift, b = A 1", shift, A, timesOnes(A), square);
      expectTruth("shift, any b", shift, A, Random(4).vector(144), square);
    }
  }
}

TEST(SolveFamilies, PermutedAndBadlyScaledMatrices) {
  Random random(5);
  const FullMatrix from = dense(grid(10, 0.3, 1.0));
  FullMatrix A(100, 100);
  for (int i = 0; i < 100; ++i) {
    for (int j = 0; j < 100; ++j) A.e((i * 37) % 100, (j * 61 + 5) % 100) = from.e(i, j);
  }
  expectTruth("permuted", 0, A, random.vector(100), square);
  for (const double spread : {1.0, 4.0, 8.0}) {
    FullMatrix B(A);
    for (int i = 0; i < 100; ++i) {
      const double onRow = std::pow(10.0, spread * random.value()),
                   onColumn = std::pow(10.0, spread * random.value());
      for (int j = 0; j < 100; ++j) {
        B.e(i, j) *= onRow;
        B.e(j, i) *= onColumn;
      }
    }
    expectTruth("rows and columns scaled, b = A 1", spread, B, timesOnes(B), square);
    expectTruth("rows and columns scaled, as least squares", spread, B, timesOnes(B), leastSquares);
  }
}

TEST(SolveFamilies, ZeroDiagonalsSaddlePointsAndGrowth) {
  Random random(6);
  FullMatrix cyclic(30, 30), saddle(40, 40), growth(40, 40), skew(20, 20);
  for (int i = 0; i < 30; ++i) cyclic.e(i, (i + 1) % 30) = 1.0 + i;
  for (int i = 0; i < 25; ++i) {
    saddle.e(i, i) = 2.0;
    for (int k = 25; k < 40; ++k) saddle.e(i, k) = saddle.e(k, i) = random.value();
  }
  for (int i = 0; i < 40; ++i) {
    growth.e(i, i) = growth.e(i, 39) = 1.0;
    for (int j = 0; j < i; ++j) growth.e(i, j) = -1.0;
  }
  for (int i = 0; i < 20; ++i) {
    for (int j = 0; j < i; ++j) skew.e(j, i) = -(skew.e(i, j) = random.value());
  }
  expectTruth("cyclic", 0, cyclic, random.vector(30), square);
  expectTruth("saddle", 0, saddle, random.vector(40), square);
  expectTruth("growth", 0, growth, random.vector(40), square);
  expectTruth("skew", 0, skew, random.vector(20), square);
}

TEST(SolveFamilies, SingularConsistentAndInconsistentSystems) {
  Random random(7);
  FullMatrix left(40, 12), right(12, 40), A(40, 40);
  for (int i = 0; i < 40; ++i) {
    for (int k = 0; k < 12; ++k) {
      left.e(i, k) = random.value();
      right.e(k, i) = random.value();
    }
  }
  matrixMultiply(&left, &right, &A);
  Vector x;
  EXPECT_EQ(SOLVE_CONVERGED, solveSquare(A, timesOnes(A), &x).status);
  x = Vector();
  EXPECT_EQ(SOLVE_STAGNATED, solveSquare(A, random.vector(40), &x).status);
  x = Vector();
  EXPECT_EQ(SOLVE_CONVERGED, solveLeastSquares(A, random.vector(40), &x).status);

  // only Neumann boundaries, so constants are in the null space
  FullMatrix N = dense(grid(7, 0.0, 0.0));
  for (int i = 0; i < 49; ++i) {
    N.e(i, i) = 0.0;
    double sum = 0.0;
    for (int j = 0; j < 49; ++j) sum += N.e(i, j);
    N.e(i, i) = -sum;
  }
  Vector any = random.vector(49), consistent(49);
  N.mult(&any, &consistent);
  for (const auto solve : {solvePositiveDefinite, solveSquare, solveLeastSquares}) {
    x = Vector();
    EXPECT_EQ(SOLVE_CONVERGED, solve(N, consistent, &x, SolveOptions()).status);
  }
  for (const auto solve : {solvePositiveDefinite, solveSquare}) {
    x = Vector();
    const SolveReport report = solve(N, any, &x, SolveOptions());
    EXPECT_NE(SOLVE_CONVERGED, report.status);
    EXPECT_GT(report.relativeResidual, 1e-3);
  }
}

// Rounded to doubles, these matrices have eigenvalues of about -1e-17, and Cholesky factors do not exist.
TEST(SolveFamilies, KernelMatricesAreNotCalledIndefinite) {
  for (const double width : {1.5, 2.0, 3.0, 4.0, 5.0}) {
    FullMatrix A(60, 60);
    for (int i = 0; i < 60; ++i) {
      for (int j = 0; j < 60; ++j) A.e(i, j) = std::exp(-(i - j) * (i - j) / (width * width));
    }
    expectTruth("kernel, b = A 1", width, A, timesOnes(A), definite);
    Vector b(60), x;
    for (int i = 0; i < 60; ++i) b[i] = std::sin(i + 1.0);
    expectTruth("kernel, a sine", width, A, b, definite);
    EXPECT_NE(SOLVE_BREAKDOWN, solvePositiveDefinite(A, b, &x).status) << width;
  }
}

// Where rounding of x limits the residual, a residual that is computed in plain doubles would be off by half.
TEST(SolveFamilies, TheReportedResidualIsTrueAtTheLimitOfPrecision) {
  LIMBER_NEEDS_WIDE_LONG_DOUBLE();
  int limited = 0;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const FullMatrix from = dense(grid(12, seed % 2 ? 0.3 : 0.0, 0.0));
    FullMatrix A(from);
    for (int i = 0; i < 144; ++i) {
      const double factor = std::pow(10.0, 6.0 * random.value());
      for (int j = 0; j < 144; ++j) {
        A.e(i, j) *= factor;
        A.e(j, i) *= factor;
      }
    }
    const Entries sparse(A);
    const Vector b = random.vector(144);
    Vector x;
    const SolveReport report =
        seed % 2 ? solveSquare(sparse.matrix(), b, &x) : solvePositiveDefinite(sparse.matrix(), b, &x);
    const double truth = relativeResidual(sparse.matrix(), 144, b, x, false);
    limited += report.status == SOLVE_STAGNATED;
    EXPECT_TRUE(tolerance::relative(truth, report.relativeResidual, 0.02)) << truth;
  }
  EXPECT_GE(limited, 6);
}

TEST(SolveFamilies, WideSystemsGetTheShortestSolution) {
  Random random(8);
  FullMatrix A(10, 25);
  for (int i = 0; i < 10; ++i) {
    for (int j = 0; j < 25; ++j) A.e(i, j) = random.value() * std::pow(10.0, i % 4);
  }
  const Vector b = random.vector(10);
  Vector x;
  ASSERT_EQ(SOLVE_CONVERGED, solveLeastSquares(A, b, &x).status);
  // the shortest solution is A^T y, which has no part in the null space
  Vector y, image(25);
  FullMatrix T = A.transpose();
  ASSERT_EQ(SOLVE_CONVERGED, solveLeastSquares(T, x, &y).status);
  T.mult(&y, &image);
  for (int j = 0; j < 25; ++j) EXPECT_TRUE(tolerance::close(image[j], x[j], 1e-8));
}

}  // namespace
