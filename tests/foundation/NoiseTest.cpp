#include "limber/foundation/Noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "tests/support/Tolerance.h"

namespace {

double fifteenBits() {
  long r = std::rand();
  for (long top = RAND_MAX; top > 32767; top /= 2) r /= 2;
  return static_cast<double>(r);
}

TEST(SampleNoise, FollowsTheStateOfRand) {
  for (const unsigned seed : {1u, 2u, 77u, 123456u}) {
    std::srand(seed);
    double expected[20];
    for (double& e : expected) {
      double u, s;
      do {
        u = fifteenBits() * 6.103701895199438e-5 - 1.0;
        const double v = fifteenBits() * 6.103701895199438e-5 - 1.0;
        s = v * v + u * u;
      } while (s >= 1.0);
      e = u * std::sqrt(-2.0 * std::log(s) / s) * 3.0 + 0.25;
    }
    std::srand(seed);
    for (const double e : expected) ASSERT_TRUE(tolerance::sameBits(sampleNoise(3.0, 0.25), e));
  }
}

TEST(SampleNoise, ZeroScaleGivesTheOffsetExactly) {
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(sampleNoise(0.0, 5.0), 5.0);
}

// Moments of 200000 samples; each bound is five standard errors of the moment.
TEST(SampleNoise, IsNormallyDistributed) {
  std::srand(4);
  const int n = 200000;
  double sum = 0, squares = 0, cubes = 0, fourth = 0;
  int within = 0;
  for (int i = 0; i < n; ++i) {
    const double z = (sampleNoise(2.0, 1.0) - 1.0) / 2.0;
    sum += z;
    squares += z * z;
    cubes += z * z * z;
    fourth += z * z * z * z;
    within += std::fabs(z) < 1.0;
  }
  const double root = std::sqrt(static_cast<double>(n));
  EXPECT_TRUE(tolerance::close(sum / n, 0.0, 5 / root));
  EXPECT_TRUE(tolerance::close(squares / n, 1.0, 5 * std::sqrt(2.0) / root));
  EXPECT_TRUE(tolerance::close(cubes / n, 0.0, 5 * std::sqrt(15.0) / root));
  EXPECT_TRUE(tolerance::close(fourth / n, 3.0, 5 * std::sqrt(96.0) / root));
  EXPECT_TRUE(tolerance::close(static_cast<double>(within) / n, 0.682689, 5 * 0.4655 / root));
}

}  // namespace
