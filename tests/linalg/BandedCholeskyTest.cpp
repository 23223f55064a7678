#include "limber/linalg/BandedCholesky.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "tests/linalg/RandomMatrices.h"
#include "tests/support/Tolerance.h"

using namespace random_matrices;
using tolerance::sameBits;
using tolerance::small;

namespace {

// A symmetric positive definite matrix with half bandwidth kd: G G^T of a random band G.
FullMatrix definite(Engine& engine, int n, int kd) {
  FullMatrix g(n, n);
  for (int i = 0; i < n; ++i) {
    for (int j = std::max(0, i - kd); j <= i; ++j) g.e(i, j) = normal(engine);
    g.e(i, i) = 2.0 + kd;
  }
  return product(g, transposed(g));
}

FullMatrix band(FullMatrix full, int kd) {
  FullMatrix b(full.rows(), kd + 1);
  compactBanded(&full, &b, full.rows(), kd);
  return b;
}

}  // namespace

TEST(BandedCholesky, SolvesEverySizeToItsScaledResidual) {
  for (int n = 1; n <= 60; ++n) {
    for (int kd : {0, 1, 2, 7, 24, n - 1}) {
      if (kd >= n) continue;
      Engine engine(static_cast<unsigned>(100 * n + kd));
      FullMatrix a = definite(engine, n, kd);
      FullMatrix factor = band(a, kd);
      Vector b(n);
      fill(engine, b);
      Vector x(b);
      ASSERT_EQ(cholFactorBanded(&factor), 0) << n << " " << kd;
      ASSERT_EQ(cholSolveBanded(&factor, &x), 0);
      EXPECT_TRUE(small(scaledResidual(a, x, b), residualBound(n))) << n << " " << kd;
    }
  }
}

TEST(BandedCholesky, SolvesIllConditionedSystemsToTheSameResidual) {
  for (int trial = 0; trial < 6; ++trial) {
    for (int n : {2, 15, 60}) {
      Engine engine(static_cast<unsigned>(n + trial));
      FullMatrix a = definite(engine, n, 3);
      // Scaled from both sides: the condition grows with the inverse square of the smallest factor.
      for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) a.e(i, j) *= std::pow(conditionOf(trial), -0.5 * (i + j) / (n - 1));
      }
      FullMatrix factor = band(a, std::min(3, n - 1));
      Vector b(n);
      fill(engine, b);
      Vector x(b);
      ASSERT_EQ(cholFactorBanded(&factor), 0);
      ASSERT_EQ(cholSolveBanded(&factor, &x), 0);
      EXPECT_TRUE(small(scaledResidual(a, x, b), residualBound(n)));
    }
  }
}

TEST(BandedCholesky, HoldsTheUpperFactorInTheSameLayout) {
  FullMatrix b(2, 2);
  b.e(0, 0) = 999.0;  // before the band's start: not read, not written
  b.e(0, 1) = 4.0;
  b.e(1, 0) = 2.0;
  b.e(1, 1) = 10.0;
  ASSERT_EQ(cholFactorBanded(&b), 0);
  EXPECT_EQ(b.e(0, 0), 999.0);
  EXPECT_DOUBLE_EQ(b.e(0, 1), 2.0);
  EXPECT_DOUBLE_EQ(b.e(1, 0), 1.0);
  EXPECT_DOUBLE_EQ(b.e(1, 1), 3.0);
}

TEST(BandedCholesky, NonDefiniteMatrixReturnsTheOrderOfTheMinor) {
  for (int bad : {1, 3, 5}) {
    FullMatrix b(5, 3);
    for (int j = 0; j < 5; ++j) b.e(j, 2) = j + 1 == bad ? -1.0 : 1.0;
    EXPECT_EQ(cholFactorBanded(&b), bad);
  }
}

TEST(BandedCholesky, ConditionEstimateTakesTheNormAsOneDeliberately) {
  // Scaling the matrix by s divides the inverse's norm, and with it the estimate is multiplied by s.
  Engine engine(8);
  for (int n : {1, 4, 30}) {
    FullMatrix a = definite(engine, n, std::min(2, n - 1));
    FullMatrix one = band(a, std::min(2, n - 1)), sixteen(one);
    sixteen.scale(16.0);
    ASSERT_EQ(cholFactorBanded(&one), 0);
    ASSERT_EQ(cholFactorBanded(&sixteen), 0);
    const double estimate = cholCondEst(&one);
    EXPECT_GT(estimate, 0.0);
    EXPECT_TRUE(tolerance::relative(cholCondEst(&sixteen), 16.0 * estimate, 1e-12));
  }
  FullMatrix diagonal(2, 1);
  diagonal.e(0, 0) = 4.0, diagonal.e(1, 0) = 0.25;
  cholFactorBanded(&diagonal);
  EXPECT_DOUBLE_EQ(cholCondEst(&diagonal), 0.25) << "1 / (1 x |inverse|)";
}

TEST(BandedCholesky, EstimateOfALargeBandGrowsTheIntegers) {
  const int n = 200000;
  FullMatrix b(n, 1);
  for (int j = 0; j < n; ++j) b.e(j, 0) = 4.0;
  ASSERT_EQ(cholFactorBanded(&b), 0);
  EXPECT_DOUBLE_EQ(cholCondEst(&b), 4.0);
}

TEST(BandedCholesky, DegenerateOperands) {
  FullMatrix none(0, 0), noRows(0, 3), two(2, 1);
  two.e(0, 0) = two.e(1, 0) = 1.0;
  Vector shortB(1), b(3);
  shortB = 5.0;
  b = 5.0;
  EXPECT_EQ(cholFactorBanded(&none), 0);
  EXPECT_EQ(cholFactorBanded(&noRows), 0);
  EXPECT_EQ(cholSolveBanded(&noRows, &b), 0);
  EXPECT_EQ(cholCondEst(&none), 0.0);
  EXPECT_EQ(cholCondEst(nullptr), 0.0);
  EXPECT_EQ(cholSolveBanded(&two, &shortB), -7);
  EXPECT_EQ(cholSolveBanded(&two, nullptr), -7);
  EXPECT_EQ(shortB[0], 5.0);
  EXPECT_EQ(cholSolveBanded(&two, &b), 0);
  EXPECT_EQ(b[2], 5.0);
}

TEST(CompactBanded, TakesTheUpperBandOnly) {
  FullMatrix full(4, 4), b(4, 3);
  for (int k = 0; k < 16; ++k) full.data[k] = k + 1.0;
  b.e(0, 0) = b.e(0, 1) = b.e(1, 0) = -7.0;
  compactBanded(&full, &b, 4, 2);
  const double expected[] = {-7, -7, 1, -7, 2, 6, 3, 7, 11, 8, 12, 16};
  EXPECT_TRUE(sameBits(b.data, expected, 12));
}

TEST(CompactBanded, StaysInsideBothMatrices) {
  FullMatrix full(3, 5), b(4, 2);
  for (int k = 0; k < 15; ++k) full.data[k] = k + 1.0;
  compactBanded(&full, &b, 9, 3);  // the last two columns of a band of 3 do not exist
  for (int k = 0; k < 5; ++k) EXPECT_EQ(b.data[k], 0.0) << k;
  EXPECT_EQ(b.e(2, 1), 3.0) << "(0, 2)";
  EXPECT_EQ(b.e(3, 0), 4.0) << "(0, 3)";
  EXPECT_EQ(b.e(3, 1), 9.0) << "(1, 3)";
  for (int none : {-1, INT_MIN}) compactBanded(&full, &b, 4, none);
  compactBanded(&full, &b, 4, INT_MAX);
  compactBanded(&full, &b, 0, 1);
  EXPECT_EQ(b.e(3, 1), 9.0);
}
