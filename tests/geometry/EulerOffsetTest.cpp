#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "limber/geometry/EulerZXY.h"
#include "tests/geometry/RotationFormats.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using formats::rotation;
using tolerance::close;
using tolerance::epsilon;

namespace {

const double quietNaN = std::numeric_limits<double>::quiet_NaN();

TEST(ComposeEulerAngles, FirstThenSecond) {
  RandomGeometry dice(31);
  for (int i = 0; i < 200; ++i) {
    const Pnt3 a = dice.point(), b = dice.point();
    Pnt3 out;
    composeEulerAngles(a, b, out);
    Matrix4x4 A = rotation(a.x, a.y, a.z), B = rotation(b.x, b.y, b.z), C;
    multMatrix(&A, &B, &C);
    // The arc sine and the arc cosine lose half the digits.
    ASSERT_TRUE(closeEntries(rotation(out.x, out.y, out.z), C, 4 * std::sqrt(epsilon)));
  }
}

TEST(ComputeEulerOffset, TakesTheSecondToTheFirst) {
  RandomGeometry dice(32);
  for (int i = 0; i < 200; ++i) {
    const Pnt3 a = dice.point(), b = dice.point();
    Pnt3 out;
    computeEulerOffset(a, b, out);
    Matrix4x4 A = rotation(a.x, a.y, a.z), B = rotation(b.x, b.y, b.z),
              offset = rotation(out.x, out.y, out.z);
    Matrix4x4 transposedB, wanted;
    for (int r = 0; r < 4; ++r)
      for (int c = 0; c < 4; ++c) transposedB.m[r][c] = B.m[c][r];
    multMatrix(&transposedB, &A, &wanted);
    ASSERT_TRUE(closeEntries(offset, wanted, 4 * std::sqrt(epsilon)));
  }
}

TEST(ComputeEulerOffset, OfARotationAndItselfIsZero) {
  Pnt3 out(9, 9, 9);
  computeEulerOffset(Pnt3(0.1, 0.2, 0.3), Pnt3(0.1, 0.2, 0.3), out);
  EXPECT_EQ(out.x, 0.0);
  EXPECT_EQ(out.z, 0.0);
  EXPECT_TRUE(close(out.y, 0.0, 4 * std::sqrt(epsilon)));
}

TEST(ComputeEulerOffset, NaNAnglesReportWhatTheInversionReports) {
  CapturedOutput output;
  Pnt3 out;
  computeEulerOffset(Pnt3(), Pnt3(quietNaN, quietNaN, quietNaN), out);
  Matrix4x4 B = rotation(quietNaN, quietNaN, quietNaN);
  const std::string reported = output.err();
  output.clear();
  invertMatrix(&B, 1);
  EXPECT_EQ(reported, output.err());
  EXPECT_TRUE(std::isnan(out.x));
}

}  // namespace
