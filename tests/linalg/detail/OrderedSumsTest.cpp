#include "limber/linalg/detail/OrderedSums.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/linalg/Vectors.h"
#include "tests/support/Tolerance.h"

using namespace limber::detail;
using tolerance::sameBits;

TEST(OrderedSums, ADotStartsFromZeroAndAddsInAscendingOrder) {
  const double big = 9007199254740992.0;
  const double a[] = {big, 1.0, 1.0, -big}, ones[] = {1.0, 1.0, 1.0, 1.0};
  EXPECT_EQ(orderedDot(4, a, ones), 0.0);
  EXPECT_EQ(orderedDot(3, a + 1, ones), 2.0 - big);
  EXPECT_TRUE(sameBits(orderedDot(0, a, ones), 0.0));
  const double negativeZero[] = {-0.0};
  EXPECT_TRUE(sameBits(orderedDot(1, negativeZero, ones), 0.0));
}

TEST(OrderedSums, AStepIsTwoUpdatesAndAMagnitude) {
  std::mt19937_64 random(9);
  for (const int n : {0, 1, 2, 3, 17, 1000}) {
    Vector p = randomVector(random, n), q = randomVector(random, n), x = randomVector(random, n),
           r = randomVector(random, n), expectedX(x), expectedR(r);
    expectedX.scaleAdd(0.3, &p);
    expectedR.scaleAdd(-0.3, &q);
    EXPECT_TRUE(sameBits(stepMagSq(n, 0.3, p.data, q.data, x.data, r.data), expectedR.magSq()));
    EXPECT_TRUE(sameBits(x.data, expectedX.data, n));
    EXPECT_TRUE(sameBits(r.data, expectedR.data, n));
  }
}
