#include "tests/support/Tolerance.h"

#include <gtest/gtest.h>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(Tolerance, NanFailsEveryComparison) {
  const double one[] = {1, 2, nan}, two[] = {1, 2, 3};
  EXPECT_FALSE(tolerance::close(nan, 1, 1e9));
  EXPECT_FALSE(tolerance::close(1, nan, 1e9));
  EXPECT_FALSE(tolerance::close(1, 1, nan));
  EXPECT_FALSE(tolerance::relative(nan, 1, 1e9));
  EXPECT_FALSE(tolerance::relative(nan, nan, 1e9));
  EXPECT_FALSE(tolerance::small(nan, inf));
  EXPECT_FALSE(tolerance::close(one, two, 3, 1e9));
  EXPECT_FALSE(tolerance::sameBits(nan, 1));
}

TEST(Tolerance, AcceptsAtTheLimitAndRefusesBeyond) {
  EXPECT_TRUE(tolerance::close(1.0, 1.5, 0.5));
  EXPECT_FALSE(tolerance::close(1.0, 1.5, 0.25));
  EXPECT_TRUE(tolerance::relative(1000, 1001, 1e-3));
  EXPECT_FALSE(tolerance::relative(1000, 1002, 1e-3));
  EXPECT_TRUE(tolerance::small(-0.5, 0.5));
  EXPECT_FALSE(tolerance::small(-0.6, 0.5));
  const double a[] = {1, 2}, b[] = {1, 2.5};
  EXPECT_TRUE(tolerance::close(a, b, 2, 0.5));
  EXPECT_FALSE(tolerance::close(a, b, 2, 0.4));
}

TEST(Tolerance, SameBitsTellsSignedZeros) {
  EXPECT_TRUE(tolerance::sameBits(0.0, 0.0));
  EXPECT_FALSE(tolerance::sameBits(0.0, -0.0));
  const double a[] = {1, 0.0}, b[] = {1, -0.0};
  EXPECT_TRUE(tolerance::sameBits(a, a, 2));
  EXPECT_FALSE(tolerance::sameBits(a, b, 2));
}

}  // namespace
