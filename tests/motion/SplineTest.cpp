// The curves of coarse edits.

#include "limber_motion/Spline.h"

#include <gtest/gtest.h>

#include "tests/support/Tolerance.h"

namespace {

using limber::motion::Spline;

TEST(Spline, WeightsAreAPartitionOfUnity) {
  for (const int spacing : {1, 2, 7, 500}) {
    const Spline spline(120, spacing);
    for (int f = 0; f < 120; ++f) {
      const Spline::Basis basis = spline.at(f);
      double sum = 0.0;
      for (const double w : basis.weight) {
        EXPECT_GE(w, 0.0);
        sum += w;
      }
      EXPECT_TRUE(tolerance::close(sum, 1.0, 4 * tolerance::epsilon)) << spacing << " " << f;
      EXPECT_GE(basis.first, 0);
      EXPECT_LE(basis.first + 3, spline.coefficients() - 1);
    }
  }
}

TEST(Spline, ReproducesStraightLines) {
  const Spline spline(50, 7);
  for (int f = 0; f < 50; ++f) {
    const Spline::Basis basis = spline.at(f);
    double value = 0.0;
    for (int k = 0; k < 4; ++k) value += basis.weight[k] * (basis.first + k - 1) * 7;
    EXPECT_TRUE(tolerance::close(value, f, 64 * tolerance::epsilon * 50)) << f;
  }
}

TEST(Spline, FramesBeyondItsReachShareNoCoefficient) {
  const Spline spline(100, 5);
  for (int f = 0; f + spline.reach() < 100; ++f) {
    EXPECT_GT(spline.at(f + spline.reach()).first, spline.at(f).first + 3);
  }
}

}  // namespace
