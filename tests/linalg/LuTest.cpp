#include "limber/linalg/Lu.h"

#include <gtest/gtest.h>

#include "limber/linalg/STMLapack.h"
#include "tests/linalg/RandomMatrices.h"
#include "tests/support/Tolerance.h"

using namespace random_matrices;
using tolerance::small;

namespace {

struct Problem {
  explicit Problem(int n, int trial) : a(n, n), b(n), pivots(static_cast<std::size_t>(n + 1), -77) {
    Engine engine(static_cast<unsigned>(1000 * n + trial));
    fillConditioned(engine, a, conditionOf(trial));
    fill(engine, b);
  }
  FullMatrix a;
  Vector b;
  std::vector<long> pivots;
};

}  // namespace

TEST(Lu, SolvesEverySizeAndConditionToItsScaledResidual) {
  for (int n = 1; n <= 60; ++n) {
    for (int trial = 0; trial < 6; ++trial) {
      Problem p(n, trial);
      FullMatrix lu(p.a);
      Vector x(p.b);
      ASSERT_EQ(luFactor(&lu, p.pivots.data()), 0) << n;
      EXPECT_EQ(p.pivots[static_cast<std::size_t>(n)], -77) << "a pivot too many";
      ASSERT_EQ(luSolve(&lu, p.pivots.data(), &x), 0) << n;
      EXPECT_TRUE(small(scaledResidual(p.a, x, p.b), residualBound(n))) << n << " " << trial;
    }
  }
}

TEST(Lu, FactorsTheTransposeThatLapackSees) {
  // Read by columns the storage is [1 3; 2 4]: its first column is (1, 2), so row 2 is the first pivot.
  FullMatrix a(2, 2);
  a.e(0, 0) = 1, a.e(0, 1) = 2, a.e(1, 0) = 3, a.e(1, 1) = 4;
  long pivots[2] = {};
  EXPECT_EQ(luFactor(&a, pivots), 0);
  EXPECT_EQ(pivots[0], 2);
  EXPECT_EQ(pivots[1], 2);
  EXPECT_DOUBLE_EQ(a.e(0, 0), 2.0);
  EXPECT_DOUBLE_EQ(a.e(0, 1), 0.5);
  EXPECT_DOUBLE_EQ(a.e(1, 0), 4.0);
  EXPECT_DOUBLE_EQ(a.e(1, 1), 1.0);
}

TEST(Lu, SolvesTheRowMajorMatrixNotItsTranspose) {
  FullMatrix a(2, 2);
  a.e(0, 0) = 1, a.e(0, 1) = 2, a.e(1, 1) = 1;
  long pivots[2];
  Vector b(2);
  b[0] = 5, b[1] = 2;
  ASSERT_EQ(luFactor(&a, pivots), 0);
  ASSERT_EQ(luSolve(&a, pivots, &b), 0);
  EXPECT_DOUBLE_EQ(b[0], 1.0);
  EXPECT_DOUBLE_EQ(b[1], 2.0);
}

TEST(Lu, SolvesForEveryColumnOfAMatrix) {
  for (int n : {1, 2, 7, 40}) {
    for (int columns : {1, 3, n}) {
      Problem p(n, 2);
      Engine engine(5);
      FullMatrix b(n, columns);
      fill(engine, b);
      FullMatrix x(b), lu(p.a);
      ASSERT_EQ(luFactor(&lu, p.pivots.data()), 0);
      ASSERT_EQ(luSolve(&lu, p.pivots.data(), &x), 0);
      ASSERT_EQ(x.rows(), n);
      ASSERT_EQ(x.columns(), columns);
      EXPECT_TRUE(small(distance(product(p.a, x), b) / (norm(p.a) * norm(x) + norm(b)), residualBound(n)));
    }
  }
}

TEST(Lu, LeavesRowsOfALongerMatrixAlone) {
  Problem p(3, 1);
  Engine engine(5);
  FullMatrix b(5, 2);
  fill(engine, b);
  FullMatrix x(b), lu(p.a);
  ASSERT_EQ(luFactor(&lu, p.pivots.data()), 0);
  ASSERT_EQ(luSolve(&lu, p.pivots.data(), &x), 0);
  FullMatrix top(3, 2), topB(3, 2);
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 2; ++j) top.e(i, j) = x.e(i, j), topB.e(i, j) = b.e(i, j);
  }
  EXPECT_TRUE(
      small(distance(product(p.a, top), topB) / (norm(p.a) * norm(top) + norm(topB)), residualBound(3)));
  for (int i = 3; i < 5; ++i) {
    for (int j = 0; j < 2; ++j) EXPECT_EQ(x.e(i, j), b.e(i, j));
  }
}

TEST(Lu, InvertsWithAndWithoutPivotsOfTheCaller) {
  for (int n = 1; n <= 60; n += 7) {
    Problem p(n, 1);
    FullMatrix one(p.a), two(p.a);
    ASSERT_EQ(luFactor(&one, p.pivots.data()), 0);
    ASSERT_EQ(luInvert(&one, p.pivots.data()), 0);
    ASSERT_EQ(luInvert(&two), 0);
    EXPECT_TRUE(
        small(distance(product(p.a, one), identity(n)), 100 * residualBound(n) * norm(one) * norm(p.a)));
    EXPECT_TRUE(tolerance::sameBits(one.data, two.data, n * n));
  }
}

TEST(Lu, SingularMatrixGivesThePivotThatIsZero) {
  FullMatrix a(3, 3);
  a.e(0, 0) = 1.0, a.e(1, 1) = 2.0;
  FullMatrix again(a);
  long pivots[3];
  EXPECT_EQ(luFactor(&a, pivots), 3);
  EXPECT_EQ(luInvert(&a, pivots), 3);
  // The form with one argument returns the INFO of the inversion, which finds the same zero.
  EXPECT_EQ(luInvert(&again), 3);
  EXPECT_TRUE(tolerance::sameBits(a.data, again.data, 9));
}

TEST(Lu, WideAndTallMatricesFactorWithTheSmallerNumberOfPivots) {
  for (auto [rows, columns] : {std::pair{2, 4}, std::pair{4, 2}}) {
    Engine engine(3);
    FullMatrix a(rows, columns);
    fill(engine, a);
    FullMatrix lu(a);
    long pivots[3] = {-1, -1, -77};
    ASSERT_EQ(luFactor(&lu, pivots), 0);
    EXPECT_EQ(pivots[2], -77);
    // Multiplies P L U of the transpose.
    FullMatrix l(columns, 2), u(2, rows);
    for (int i = 0; i < columns; ++i) {
      for (int k = 0; k < 2; ++k) l.e(i, k) = i == k ? 1.0 : i > k ? lu.e(k, i) : 0.0;
    }
    for (int k = 0; k < 2; ++k) {
      for (int j = k; j < rows; ++j) u.e(k, j) = lu.e(j, k);
    }
    FullMatrix p = product(l, u);
    for (int k = 1; k >= 0; --k) {
      for (int j = 0; j < rows; ++j) std::swap(p.e(k, j), p.e(static_cast<int>(pivots[k]) - 1, j));
    }
    EXPECT_TRUE(small(distance(p, transposed(a)), 1e-14));
  }
}

TEST(Lu, InversionOfARectangleStaysInsideItsStorage) {
  FullMatrix a(2, 3);
  for (int k = 0; k < 6; ++k) a.data[k] = k + 1.0;
  long pivots[2] = {1, 2};
  EXPECT_EQ(luInvert(&a, pivots), 0);
  // The order and the leading dimension are both 2: the factors were [1 3; 2 4] by columns, and the rest does
  // not change.
  EXPECT_EQ(a.data[4], 5.0);
  EXPECT_EQ(a.data[5], 6.0);
}

TEST(Lu, NothingToDoIsNoError) {
  FullMatrix none(0, 0), noRows(0, 3), noColumns(3, 0);
  Vector empty(0);
  long pivots[3] = {};
  for (FullMatrix* m : {&none, &noRows}) {
    EXPECT_EQ(luFactor(m, pivots), 0);
    EXPECT_EQ(luInvert(m, pivots), 0);
    EXPECT_EQ(luInvert(m), 0);
    EXPECT_EQ(luSolve(m, pivots, &empty), 0);
    EXPECT_EQ(luSolve(m, pivots, &none), 0);
  }
  EXPECT_EQ(luFactor(&noColumns, pivots), 0);
  EXPECT_EQ(luInvert(&noColumns, pivots), 0);
}

TEST(Lu, IllegalOperandsReturnTheirArgumentAndWriteNothing) {
  Problem p(3, 0);
  FullMatrix lu(p.a);
  ASSERT_EQ(luFactor(&lu, p.pivots.data()), 0);
  const FullMatrix factors(lu);
  Vector shortB(2), b(3);
  shortB = 4.0;
  FullMatrix shortM(2, 3), tall(3, 2);
  shortM.identity();
  long bad[3] = {1, 4, 3}, zero[3] = {0, 2, 3};

  EXPECT_EQ(luFactor(&lu, nullptr), -5);
  EXPECT_EQ(luSolve(&lu, p.pivots.data(), &shortB), -7);
  EXPECT_EQ(luSolve(&lu, p.pivots.data(), static_cast<Vector*>(nullptr)), -7);
  EXPECT_EQ(luSolve(&lu, p.pivots.data(), &shortM), -7);
  EXPECT_EQ(luSolve(&lu, p.pivots.data(), static_cast<FullMatrix*>(nullptr)), -7);
  EXPECT_EQ(luSolve(&tall, p.pivots.data(), &b), -4);
  EXPECT_EQ(luSolve(&tall, p.pivots.data(), &shortM), -4);
  EXPECT_EQ(luSolve(&lu, nullptr, &b), -6);
  EXPECT_EQ(luSolve(&lu, bad, &b), -6);
  EXPECT_EQ(luInvert(&lu, bad), -4);
  EXPECT_EQ(luInvert(&lu, zero), -4);
  EXPECT_EQ(luInvert(&lu, nullptr), -4);

  EXPECT_TRUE(tolerance::sameBits(lu.data, factors.data, 9));
  EXPECT_EQ(shortB[0], 4.0);
  EXPECT_EQ(shortM.e(0, 0), 1.0);
  EXPECT_EQ(shortM.rows(), 2);
}
