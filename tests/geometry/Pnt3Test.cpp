#include "limber/geometry/Pnt3.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <random>

#include "limber/foundation/Output.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
const char* const zeroPoint = "ERR: Normalizing Zero Point! @ (Pnt3:236)\n";

static_assert(offsetof(Pnt3, x) == 0 && offsetof(Pnt3, y) == 8 && offsetof(Pnt3, z) == 16 &&
              sizeof(Pnt3) == 24);

::testing::AssertionResult holds(const Pnt3& p, double x, double y, double z) {
  const double expected[3] = {x, y, z};
  return tolerance::sameBits(p.v(), expected, 3);
}

TEST(Pnt3, DefaultIsTheOrigin) { EXPECT_TRUE(holds(Pnt3(), 0.0, 0.0, 0.0)); }

TEST(Pnt3, IsMadeFromNumbersDoublesFloatsAndPoints) {
  const double d[3] = {1.5, -2.0, 1e300};
  const float f[3] = {0.1F, -2.5F, 3.0F};
  EXPECT_TRUE(holds(Pnt3(1.0, 2.0, 3.0), 1.0, 2.0, 3.0));
  EXPECT_TRUE(holds(Pnt3(d), 1.5, -2.0, 1e300));
  EXPECT_TRUE(holds(Pnt3(f), static_cast<double>(0.1F), -2.5, 3.0));
  const Pnt3 p(d), copy(p);
  EXPECT_TRUE(holds(copy, 1.5, -2.0, 1e300));
}

TEST(Pnt3, AssignmentReturnsTheTarget) {
  Pnt3 a, b(1.0, 2.0, 3.0);
  EXPECT_EQ(&(a = b), &a);
  EXPECT_TRUE(holds(a, 1.0, 2.0, 3.0));
}

TEST(Pnt3, ViewsItsComponentsAsAnArray) {
  Pnt3 p;
  p.set(1.0, 2.0, 3.0);
  EXPECT_EQ(p.v(), &p.x);
  p.v()[2] = 7.0;
  EXPECT_TRUE(holds(p, 1.0, 2.0, 7.0));
  const double in[3] = {4.0, 5.0, 6.0};
  double out[3] = {0.0, 0.0, 0.0};
  p.fromArray(in);
  p.toArray(out);
  EXPECT_TRUE(tolerance::sameBits(out, in, 3));
}

TEST(Pnt3, BinaryOperatorsLeaveTheirOperands) {
  const Pnt3 a(1.0, 2.0, 3.0), b(10.0, 20.0, 40.0);
  EXPECT_TRUE(holds(a + b, 11.0, 22.0, 43.0));
  EXPECT_TRUE(holds(a - b, -9.0, -18.0, -37.0));
  EXPECT_TRUE(holds(a * 2.5, 2.5, 5.0, 7.5));
  EXPECT_TRUE(holds(a, 1.0, 2.0, 3.0));
  EXPECT_TRUE(holds(b, 10.0, 20.0, 40.0));
}

TEST(Pnt3, ProductOfTwoPointsIsTheCrossProduct) {
  const Pnt3 x(1.0, 0.0, 0.0), y(0.0, 1.0, 0.0);
  EXPECT_EQ(x * y, Pnt3(0.0, 0.0, 1.0));
  EXPECT_EQ(y * x, Pnt3(0.0, 0.0, -1.0));
  const Pnt3 p(0.1, -0.7, 3.3);
  EXPECT_EQ(p * p, Pnt3());
  EXPECT_EQ(Pnt3(1.0, 2.0, 3.0) * Pnt3(4.0, 5.0, 7.0), Pnt3(-1.0, 5.0, -3.0));
}

TEST(Pnt3, CrossProductIsPerpendicularToBothFactors) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  for (int i = 0; i < 1000; ++i) {
    const Pnt3 a(uniform(random), uniform(random), uniform(random)),
        b(uniform(random), uniform(random), uniform(random));
    const Pnt3 c = a * b;
    // Each component of c errs by at most 1.5 eps times its two products (below 1 each), and the dot product
    // adds as much again.
    EXPECT_TRUE(tolerance::small(a.x * c.x + a.y * c.y + a.z * c.z, 24.0 * tolerance::epsilon));
    EXPECT_TRUE(tolerance::small(b.x * c.x + b.y * c.y + b.z * c.z, 24.0 * tolerance::epsilon));
  }
}

TEST(Pnt3, CompoundOperatorsChangeTheLeftOperand) {
  Pnt3 p(1.0, 2.0, 3.0);
  p += Pnt3(1.0, 1.0, 2.0);
  EXPECT_TRUE(holds(p, 2.0, 3.0, 5.0));
  p -= Pnt3(4.0, 1.0, 1.0);
  EXPECT_TRUE(holds(p, -2.0, 2.0, 4.0));
  p *= 0.5;
  EXPECT_TRUE(holds(p, -1.0, 1.0, 2.0));
  static_assert(std::is_void_v<decltype(p += p)> && std::is_void_v<decltype(p -= p)> &&
                std::is_void_v<decltype(p *= 2.0)> && std::is_void_v<decltype(p /= 2.0)>);
}

TEST(Pnt3, DivisionDividesEachComponent) {
  Pnt3 p(5.0, 7.0, 9.0);
  p /= 49.0;
  EXPECT_TRUE(holds(p, 5.0 / 49.0, 7.0 / 49.0, 9.0 / 49.0));
  EXPECT_NE(9.0 / 49.0, 9.0 * (1.0 / 49.0));  // the reciprocal would give other bits
}

TEST(Pnt3, DivisionByZeroFollowsTheArithmetic) {
  CapturedOutput captured;
  Pnt3 p(1.0, -1.0, 0.0);
  p /= 0.0;
  EXPECT_EQ(p.x, inf);
  EXPECT_EQ(p.y, -inf);
  EXPECT_TRUE(std::isnan(p.z));
  EXPECT_EQ(captured.err() + captured.out(), "");
}

TEST(Pnt3, EqualityWantsAllComponents) {
  const Pnt3 p(1.0, 2.0, 3.0);
  EXPECT_EQ(p == Pnt3(1.0, 2.0, 3.0), 1);
  EXPECT_EQ(p != Pnt3(1.0, 2.0, 3.0), 0);
  for (int i = 0; i < 3; ++i)
    for (double d : {-1.0, 1.0}) {
      Pnt3 q(p);
      q.v()[i] += d;
      EXPECT_EQ(p == q, 0);
      EXPECT_EQ(p != q, 1);
    }
}

TEST(Pnt3, NanNeverCountsAsADifference) {
  EXPECT_EQ(Pnt3(nan, 0.0, 0.0) == Pnt3(5.0, 0.0, 0.0), 1);
  EXPECT_EQ(Pnt3(nan, 0.0, 0.0) != Pnt3(5.0, 0.0, 0.0), 0);
  EXPECT_EQ(Pnt3(nan, 0.0, 0.0) == Pnt3(5.0, 0.0, 1.0), 0);
}

TEST(Pnt3, Lengths) {
  EXPECT_EQ(Pnt3(2.0, 3.0, 6.0).lengthSq(), 49.0);
  EXPECT_EQ(Pnt3(2.0, 3.0, 6.0).length(), 7.0);
  // The squares are summed in the order x, y, z: 1 is lost next to 2^53 each time.
  EXPECT_EQ(Pnt3(0x1p27, 1.0, 1.0).lengthSq(), 0x1p54);
  EXPECT_EQ(Pnt3(1.5, 1.5, 0x1p27).lengthSq(), 0x1p54 + 4.0);
}

TEST(Pnt3, NormalizeDividesByTheLength) {
  CapturedOutput captured;
  Pnt3 p(3.0, 0.0, 4.0);
  p.normalize();
  EXPECT_TRUE(holds(p, 3.0 / 5.0, 0.0, 4.0 / 5.0));
  Pnt3 q(2.0, 3.0, 6.0);  // 3 / 7 and 3 * (1 / 7) have other bits
  q.normalize();
  EXPECT_TRUE(holds(q, 2.0 / 7.0, 3.0 / 7.0, 6.0 / 7.0));
  EXPECT_EQ(captured.err() + captured.out(), "");
}

TEST(Pnt3, NormalizingTheZeroPointReportsAndPointsUp) {
  CapturedOutput captured;
  Pnt3 p;
  p.normalize();
  EXPECT_EQ(captured.err(), zeroPoint);
  EXPECT_EQ(captured.out(), "");
  EXPECT_TRUE(holds(p, 0.0, 1.0, 0.0));
}

TEST(Pnt3, NormalizingNanReportsAndKeepsXAndZ) {
  CapturedOutput captured;
  Pnt3 p(nan, 2.0, 3.0);
  p.normalize();
  EXPECT_EQ(captured.err(), zeroPoint);
  EXPECT_TRUE(std::isnan(p.x));
  EXPECT_EQ(p.y, 1.0);
  EXPECT_EQ(p.z, 3.0);
}

TEST(Pnt3, NormalizingAPointWhoseSquaresUnderflowIsNormalizingZero) {
  CapturedOutput captured;
  Pnt3 p(1e-200, 0.0, -1e-200);
  p.normalize();
  EXPECT_EQ(captured.err(), zeroPoint);
  EXPECT_TRUE(holds(p, 1e-200, 1.0, -1e-200));
}

TEST(Pnt3, NormalizingAPointWhoseSquaresOverflowGivesZeros) {
  CapturedOutput captured;
  Pnt3 p(1e200, 0.0, -inf);
  p.normalize();
  EXPECT_EQ(p.x, 0.0);
  EXPECT_EQ(p.y, 0.0);
  EXPECT_TRUE(std::isnan(p.z));
  EXPECT_EQ(captured.err(), "");
}

TEST(Pnt3, BoxesGrowComponentByComponent) {
  Pnt3 high, low;
  high.includeMax(Pnt3(-1.0, 2.0, 0.0));
  low.includeMin(Pnt3(-1.0, 2.0, 0.0));
  EXPECT_TRUE(holds(high, 0.0, 2.0, 0.0));
  EXPECT_TRUE(holds(low, -1.0, 0.0, 0.0));
}

TEST(Pnt3, BoxesGrowOnlyByStrictlyOutlyingComponents) {
  // Zeros with opposite signs are equal, and a NaN is neither greater nor less.
  Pnt3 high(0.0, 1.0, 2.0), low(0.0, 1.0, 2.0);
  high.includeMax(Pnt3(-0.0, nan, 2.0));
  low.includeMin(Pnt3(-0.0, nan, 2.0));
  EXPECT_TRUE(holds(high, 0.0, 1.0, 2.0));
  EXPECT_TRUE(holds(low, 0.0, 1.0, 2.0));
}

TEST(Pnt3, PrintsBetweenParenthesesWithoutALineEnd) {
  CapturedOutput captured;
  Pnt3(1.0, 2.0, 3.0).print();
  EXPECT_EQ(captured.out(), "(1 2 3 )");
  captured.clear();
  Pnt3(0.5, -2.0, 1e-20).print();
  EXPECT_EQ(captured.out(), "(0.5 -2 1e-20 )");
  EXPECT_EQ(captured.err(), "");
}

TEST(Pnt3, PrintsInTheGlobalNumberFormat) {
  CapturedOutput captured;
  char format[] = "%.2f,";
  char* const before = numberPrintFormat;
  numberPrintFormat = format;
  Pnt3(1.0, 2.0, 3.0).print();
  numberPrintFormat = before;
  EXPECT_EQ(captured.out(), "(1.00,2.00,3.00,)");
}

}  // namespace
