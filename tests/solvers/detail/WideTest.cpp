// Numbers in twice the precision with exponents of their own.
#include <gtest/gtest.h>

#include <cmath>

#include "limber/solvers/detail/Wide.h"

namespace {

using limber::detail::DoubleSum;
using limber::detail::Wide;

TEST(Wide, ProductsBeyondTheDoublesComeBack) {
  const Wide large = Wide(1e300) * Wide(0x1p1000), small = Wide(0x1p-1000) * Wide(5e-324);
  EXPECT_EQ(HUGE_VAL, large.rounded());
  EXPECT_EQ(0.0, small.rounded());
  EXPECT_EQ(1e300, (large * small).rounded(1074));
}

TEST(Wide, SumsKeepTwiceTheDigits) {
  Wide sum(1.0);
  sum += Wide(0x1p-100);
  sum += Wide(-1.0);
  EXPECT_EQ(0x1p-100, sum.rounded());
  sum += Wide(-0x1p-100);
  EXPECT_TRUE(sum.isZero());
  sum += Wide(0.75, -5000);
  EXPECT_EQ(-5000, sum.power());
  EXPECT_EQ(0.75, sum.rounded(5000));
}

TEST(Wide, TheSmallerOfTwoNumbersFarApartVanishes) {
  Wide sum(1.0, 4000);
  sum += Wide(1.0, -4000);
  EXPECT_EQ(1.0, sum.rounded(-4000));
  Wide reverse(1.0, -4000);
  reverse += Wide(1.0, 4000);
  EXPECT_EQ(1.0, reverse.rounded(-4000));
}

TEST(Wide, NormsDoNotOverflow) {
  limber::detail::Wides v(2);
  v[0] = Wide(3.0, 2001);
  v[1] = Wide(-4.0, 2001);
  EXPECT_EQ(5.0, normOf(v).rounded(-2001));
  EXPECT_TRUE(normOf(limber::detail::Wides()).isZero());
}

TEST(Wide, NumbersThatAreNotFiniteStayNotFinite) {
  for (const double bad : {HUGE_VAL, std::nan("")}) {
    Wide sum(1.0);
    sum += Wide(bad);
    EXPECT_FALSE(std::isfinite(sum.rounded()));
    EXPECT_FALSE(std::isfinite((Wide(2.0) * Wide(bad)).rounded()));
  }
}

}  // namespace
