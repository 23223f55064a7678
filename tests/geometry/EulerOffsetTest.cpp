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

// compute(a, b) gives the angles of the product of two rotations, which multiply(A, B) computes.
template <class Compute, class Multiply>
void expectAnglesOfProduct(unsigned seed, Compute compute, Multiply multiply) {
  RandomGeometry dice(seed);
  for (int i = 0; i < 200; ++i) {
    const Pnt3 a = dice.point(), b = dice.point();
    Pnt3 out;
    compute(a, b, out);
    const Matrix4x4 wanted = multiply(rotation(a.x, a.y, a.z), rotation(b.x, b.y, b.z));
    // The arc sine and the arc cosine lose half the digits.
    ASSERT_TRUE(closeEntries(rotation(out.x, out.y, out.z), wanted, 4 * std::sqrt(epsilon)));
  }
}

Matrix4x4 product(Matrix4x4 A, Matrix4x4 B) {
  Matrix4x4 result;
  multMatrix(&A, &B, &result);
  return result;
}

TEST(ComposeEulerAngles, FirstThenSecond) { expectAnglesOfProduct(31, composeEulerAngles, product); }

TEST(ComputeEulerOffset, TakesTheSecondToTheFirst) {
  expectAnglesOfProduct(32, computeEulerOffset, [](const Matrix4x4& A, const Matrix4x4& B) {
    Matrix4x4 inverse;
    for (int r = 0; r < 4; ++r)
      for (int c = 0; c < 4; ++c) inverse.m[r][c] = B.m[c][r];
    return product(inverse, A);
  });
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
