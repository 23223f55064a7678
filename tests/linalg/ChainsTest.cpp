#include "limber/linalg/detail/Chains.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/linalg/Vectors.h"
#include "tests/support/Tolerance.h"

using namespace limber::detail;
using tolerance::sameBits;

// What runs side by side has the bits of what runs alone.

namespace {

struct Chains : ::testing::Test {
  std::mt19937_64 random{9};
};

}  // namespace

TEST_F(Chains, TwoDotsAreTwoSingleOnes) {
  for (const int n : {0, 1, 2, 3, 17, 1000}) {
    Vector a = randomVector(random, n), b = randomVector(random, n), c = randomVector(random, n),
           d = randomVector(random, n);
    double ab, cd;
    dotChains(n, a.data, b.data, c.data, d.data, ab, cd);
    EXPECT_TRUE(sameBits(ab, dot(&a, &b)));
    EXPECT_TRUE(sameBits(cd, dot(&c, &d)));
  }
}

TEST_F(Chains, ScaleAddGivesTheMagnitudeOfItsResult) {
  for (const int n : {0, 1, 2, 3, 17, 1000}) {
    Vector x = randomVector(random, n), y = randomVector(random, n), expected(y);
    expected.scaleAdd(-0.7, &x);
    EXPECT_TRUE(sameBits(scaleAddMagSq(n, -0.7, x.data, y.data), expected.magSq()));
    EXPECT_TRUE(sameBits(y.data, expected.data, n));
  }
}

TEST_F(Chains, AStepIsTwoUpdatesAndAMagnitude) {
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
