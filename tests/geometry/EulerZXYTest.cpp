#include "limber/geometry/EulerZXY.h"

#include <gtest/gtest.h>

#include <limits>

#include "limber/foundation/Output.h"
#include "tests/geometry/RotationFormats.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using formats::pi;
using formats::rotation;
using tolerance::close;
using tolerance::epsilon;
using tolerance::sameBits;

namespace {

const double quietNaN = std::numeric_limits<double>::quiet_NaN();

struct Angles {
  double z = 99, x = 99, y = 99;
  int problems = -1;
};

Angles factor(const Matrix4x4& M, int snapX = 0, int zeroX = 0, int verbose = 0) {
  Matrix4x4 copy(M);
  Angles a;
  a.problems = factorZXY(&copy, snapX, zeroX, a.z, a.x, a.y, verbose);
  EXPECT_TRUE(sameEntries(copy, M));
  return a;
}

// The documented steps with every matrix built explicitly, to check the short cut in the library. Prints the
// trace of the last two steps if verbose.
Angles literally(const Matrix4x4& M, int snapX, int zeroX, int verbose = 0) {
  Pnt3 X(M.m[0]), Y(M.m[1]), Z(M.m[2]);
  const auto outside = [](double length) { return !(length >= 0.9 && length <= 1.1); };
  const double lengthX = X.length(), lengthY = Y.length();
  Angles a;
  a.problems = outside(lengthX) + outside(lengthY) + outside(Z.length());
  if (lengthY <= 0.1)
    Y = Pnt3(0, 1, 0);
  else
    Y /= lengthY;
  if (snapX && std::fabs(Y.x) < 0.02) {
    a.z = 0;
    a.x = std::atan2(Y.z, Y.y);
  } else {
    a.z = -std::atan2(Y.x, Y.y);
    a.x = zeroX ? 0 : std::asin(Y.z);
  }
  if (std::fabs(a.x) < 1e-5) a.x = 0;
  if (std::fabs(a.z) < 1e-5) a.z = 0;
  Matrix4x4 Rx, Rz, C;
  rotMatrix(&Rx, 'x', -a.x);
  rotMatrix(&Rz, 'z', -a.z);
  multMatrix(&Rx, &Rz, &C);
  const Pnt3 newX = transformMatrix(&C, Pnt3(1, 0, 0));
  if (verbose) stdoutPrintf("NewX: %g %g %g\n", newX.x, newX.y, newX.z);
  if (lengthX <= 0.1) {
    a.y = 0;
    return a;
  }
  X /= lengthX;
  double d = newX.x * X.x + newX.y * X.y + newX.z * X.z;
  if (d > 1) d = 1;
  if (d < -1) d = -1;
  a.y = std::acos(d);
  const Pnt3 newY = newX * X;
  if (verbose) stdoutPrintf("NewY: %g %g %g\n", newY.x, newY.y, newY.z);
  if (newY.x * Y.x + newY.y * Y.y + newY.z * Y.z < 0) a.y = -a.y;
  return a;
}

TEST(FactorZXY, RoundingNeverGivesNaNWithoutATurnAboutYOrWithHalfATurn) {
  // For some of these, rounding makes the cosine of y slightly larger than 1 or smaller than -1.
  constexpr double pi = 3.141592653589793;
  RandomGeometry random(97);
  for (int i = 0; i < 20000; ++i) {
    const double x = 1.5 * random.number(), z = 3.0 * random.number(), y = pi * (i % 3 - 1);
    Matrix4x4 m;
    makeRot(x, y, z, &m);
    double gotZ, gotX, gotY;
    EXPECT_EQ(factorZXY(&m, 0, 0, gotZ, gotX, gotY, 0), 0);
    // If the cosine is near 1, the error of the angle is the square root of a rounding error.
    EXPECT_TRUE(tolerance::close(std::fabs(gotY), std::fabs(y), 1e-7)) << x << " " << z;
    EXPECT_TRUE(tolerance::close(gotX, x, 1e-5));
    EXPECT_TRUE(tolerance::close(gotZ, z, 1e-5));
  }
}

}  // namespace

TEST(MakeRot, ZeroAnglesGiveTheIdentity) { EXPECT_TRUE(closeEntries(rotation(0, 0, 0), Matrix4x4(), 0.0)); }

TEST(MakeRot, IsTheColumnVectorProductZXY) {
  RandomGeometry dice(1);
  for (int i = 0; i < 100; ++i) {
    const double zxy[3] = {3 * dice.number(), 3 * dice.number(), 3 * dice.number()};
    const Quat q("ZXY", zxy);
    const Matrix4x4 m = rotation(zxy[1], zxy[2], zxy[0]);
    const Pnt3 p = dice.point();
    Pnt3 turned;
    trans(&m, p, turned);
    ASSERT_TRUE(closePoints(turned, q.Rotate(p), 64 * epsilon));
  }
}

TEST(FactorZXY, IdentityGivesZerosAndNoProblem) {
  const Angles a = factor(Matrix4x4());
  EXPECT_EQ(a.z, 0.0);
  EXPECT_EQ(a.x, 0.0);
  EXPECT_EQ(a.y, 0.0);
  EXPECT_EQ(a.problems, 0);
}

TEST(FactorZXY, AnglesComeBack) {
  RandomGeometry dice(2);
  for (int i = 0; i < 500; ++i) {
    const double x = 1.4 * dice.number(), y = 3 * dice.number(), z = 3 * dice.number();
    const Angles a = factor(rotation(x, y, z));
    // asin multiplies errors by 1/cos x, at most 6 here; acos by 1/sin y, and near 0 it loses half the digits
    // because its argument is rounded.
    ASSERT_TRUE(close(a.x, x, 6 * 16 * epsilon));
    ASSERT_TRUE(close(a.z, z, 6 * 16 * epsilon));
    ASSERT_TRUE(close(a.y, y, std::fmin(16 * epsilon / std::fabs(std::sin(y)) * 6, 1e-7)));
    ASSERT_EQ(a.problems, 0);
  }
}

TEST(FactorZXY, TakesTheStatedStepsToTheBit) {
  RandomGeometry dice(8);
  const auto compare = [](const Matrix4x4& m) {
    for (const int snap : {0, 1})
      for (const int zero : {0, 1}) {
        const Angles a = factor(m, snap, zero), b = literally(m, snap, zero);
        EXPECT_EQ(a.problems, b.problems);
        // NaNs are NaNs, whatever their bits.
        EXPECT_TRUE(sameBits(a.z, b.z) || (std::isnan(a.z) && std::isnan(b.z)));
        EXPECT_TRUE(sameBits(a.x, b.x) || (std::isnan(a.x) && std::isnan(b.x)));
        EXPECT_TRUE(sameBits(a.y, b.y) || (std::isnan(a.y) && std::isnan(b.y)));
      }
  };
  for (const double x : formats::criticalAngles())
    for (const double y : formats::criticalAngles())
      for (const double z : formats::criticalAngles()) compare(rotation(x, y, z));
  for (int i = 0; i < 300; ++i) compare(dice.matrix4());
  for (int i = 0; i < 12; ++i)
    for (const double bad : {quietNaN, std::numeric_limits<double>::infinity(), 0.0, 1e200}) {
      Matrix4x4 m = dice.matrix4();
      m.m[i / 4][i % 4] = bad;
      compare(m);
    }
}

TEST(FactorZXY, TracesTheStatedImagesWithTheirSignsOfZero) {
  RandomGeometry dice(9);
  const auto compare = [](const Matrix4x4& m) {
    for (const int snap : {0, 1})
      for (const int zero : {0, 1}) {
        CapturedOutput output;
        factor(m, snap, zero, 1);
        const std::string whole = output.out(), traced = whole.substr(whole.find("NewX"));
        output.clear();
        literally(m, snap, zero, 1);
        ASSERT_EQ(traced, output.out());
      }
  };
  for (const double x : formats::criticalAngles())
    for (const double y : formats::criticalAngles())
      for (const double z : formats::criticalAngles()) compare(rotation(x, y, z));
  for (int i = 0; i < 200; ++i) compare(dice.matrix4());
  Matrix4x4 flat;  // no x axis: only the first of the two lines
  flat.m[0][0] = 0;
  compare(flat);
}

TEST(FactorZXY, LongRowsAreCountedAndReportedWhenVerbose) {
  Matrix4x4 m;
  for (int i = 0; i < 3; ++i) m.m[i][i] = 2.0;
  CapturedOutput output;
  EXPECT_EQ(factor(m).problems, 3);
  EXPECT_EQ(output.err() + output.out(), "");
  EXPECT_EQ(factor(m, 0, 0, 1).problems, 3);
  EXPECT_EQ(output.err(),
            "ERR: non-rotation for factorZXY (x-axis) @ (Rotation:69)\n"
            "ERR: non-rotation for factorZXY (y-axis) @ (Rotation:73)\n"
            "ERR: non-rotation for factorZXY (z-axis) @ (Rotation:77)\n");
}

TEST(FactorZXY, LengthsOf0Point9To1Point1AreRotationsAndNaNIsNot) {
  const struct {
    double length;
    int problems;
  } rows[] = {{0.9, 0}, {0.8999999, 1}, {1.1, 0}, {1.1000001, 1}, {quietNaN, 1}, {0.0, 1}};
  for (const auto& row : rows)
    for (int i = 0; i < 3; ++i) {
      Matrix4x4 m;
      m.m[i][i] = row.length;
      EXPECT_EQ(factor(m).problems, row.problems) << row.length << " in row " << i;
    }
}

TEST(FactorZXY, AYAxisOfNoLengthIsTakenForUp) {
  Matrix4x4 m = rotation(0.5, 0.25, 0.125);
  for (int j = 0; j < 3; ++j) m.m[1][j] = 0.0;
  CapturedOutput output;
  factor(m, 0, 0, 1);
  EXPECT_NE(output.out().find("Yax : 0 1 0\n"), std::string::npos);
}

TEST(FactorZXY, VerbosePrintsEachStep) {
  Matrix4x4 m = rotation(0.5, 0.25, 0.125), scaled = m;
  for (int j = 0; j < 3; ++j) scaled.m[0][j] *= 1.05;
  std::string wanted;
  {
    CapturedOutput output;
    const Angles a = factor(m);
    const Pnt3 newX(std::cos(a.z), std::sin(a.z), 0), Y(scaled.m[1]);
    Pnt3 X(scaled.m[0]);
    stdoutPrintf("================================\n");
    printMatrix(&scaled);
    stdoutPrintf("Yax : %g %g %g\n", Y.x, Y.y, Y.z);
    stdoutPrintf("Xax : %g %g %g\n", X.x, X.y, X.z);
    stdoutPrintf("z,x = %g %g\n", a.z, a.x);
    stdoutPrintf("NewX: %g %g %g\n", newX.x, newX.y, 0.0);
    X /= X.length();
    const Pnt3 newY = newX * X;
    stdoutPrintf("NewY: %g %g %g\n", newY.x, newY.y, newY.z);
    wanted = output.out();
  }
  CapturedOutput output;
  factor(scaled, 0, 0, 1);
  EXPECT_EQ(output.out(), wanted);
  EXPECT_EQ(output.err(), "");
}

TEST(FactorZXY, VerbosePrintsTheAnglesBeforeTheySnapToZero) {
  CapturedOutput output;
  const Angles a = factor(rotation(5e-6, 0, 0), 0, 0, 1);
  EXPECT_NE(output.out().find("z,x = -0 5e-06\n"), std::string::npos) << output.out();
  EXPECT_EQ(a.x, 0.0);
}

TEST(FactorZXY, SnapXGivesZExactlyZeroWhereTheYRowHardlyLeansSideways) {
  Matrix4x4 m;
  m.m[1][0] = 0.01;
  m.m[1][1] = std::sqrt(1 - 0.01 * 0.01);
  EXPECT_EQ(factor(m, 1).z, 0.0);
  EXPECT_NE(factor(m, 0).z, 0.0);
  m.m[1][0] = 0.0201;
  EXPECT_NE(factor(m, 1).z, 0.0);
}

TEST(FactorZXY, SnapXTakesTheWholeTiltBeyondARightAngle) {
  const Angles a = factor(rotation(2.5, 0, 0), 1);
  EXPECT_TRUE(close(a.x, 2.5, 8 * epsilon));
  EXPECT_EQ(a.z, 0.0);
  // Snapping comes before zeroX.
  EXPECT_TRUE(close(factor(rotation(2.5, 0, 0), 1, 1).x, 2.5, 8 * epsilon));
}

TEST(FactorZXY, AnyNonZeroFlagCounts) {
  Matrix4x4 m;
  m.m[1][0] = 0.01, m.m[1][2] = 0.5, m.m[2][2] = 2.0;
  for (const int flag : {1, 2, -1}) {
    EXPECT_EQ(factor(m, flag).z, 0.0);
    EXPECT_EQ(factor(m, 0, flag).x, 0.0);
    CapturedOutput output;
    factor(m, 0, 0, flag);
    EXPECT_NE(output.err(), "");
    EXPECT_NE(output.out(), "");
  }
}

TEST(FactorZXY, ZeroXGivesXZero) {
  const Angles a = factor(rotation(0.7, 0, 0.5), 0, 1);
  EXPECT_EQ(a.x, 0.0);
  EXPECT_TRUE(close(a.z, 0.5, 8 * epsilon));
}

TEST(FactorZXY, AnglesBelow1e5AreExactlyZero) {
  const Angles below = factor(rotation(9e-6, 0.5, -9e-6));
  EXPECT_EQ(below.x, 0.0);
  EXPECT_EQ(below.z, 0.0);
  const Angles above = factor(rotation(1.1e-5, 0.5, -1.1e-5));
  EXPECT_TRUE(close(above.x, 1.1e-5, 8 * epsilon));
  EXPECT_TRUE(close(above.z, -1.1e-5, 8 * epsilon));
}

TEST(FactorZXY, ShortRowsGiveTheirDefaults) {
  Matrix4x4 m = rotation(0.3, 0.4, 0.5);
  for (int j = 0; j < 3; ++j) m.m[0][j] = 0.0;
  EXPECT_EQ(factor(m).y, 0.0);
  EXPECT_EQ(factor(m).problems, 1);
  m = rotation(0.3, 0.4, 0.5);
  for (int j = 0; j < 3; ++j) m.m[1][j] *= 0.09;
  EXPECT_EQ(factor(m).x, 0.0);
  EXPECT_EQ(factor(m).z, 0.0);
}

TEST(FactorZXY, RowsOfATenthAreShortAndTheSnapIsBelowAFiftieth) {
  Matrix4x4 m;
  m.m[1][0] = 0.1, m.m[1][1] = 0.0;
  EXPECT_EQ(factor(m).z, 0.0);
  m.m[1][0] = std::nextafter(0.1, 1.0);
  EXPECT_TRUE(close(factor(m).z, -pi / 2, epsilon));
  m = Matrix4x4();
  m.m[0][0] = -0.1;
  EXPECT_EQ(factor(m).y, 0.0);
  m.m[0][0] = std::nextafter(-0.1, -1.0);
  EXPECT_TRUE(close(std::fabs(factor(m).y), pi, epsilon));
  // A row with exactly the length 1, so that the division does not change its entries.
  m = Matrix4x4();
  m.m[1][0] = 0.02, m.m[1][1] = std::sqrt(1.0 - 0.02 * 0.02);
  ASSERT_EQ(Pnt3(m.m[1]).length(), 1.0);
  EXPECT_NE(factor(m, 1).z, 0.0);
  m.m[1][0] = -std::nextafter(0.02, 0.0);
  ASSERT_EQ(Pnt3(m.m[1]).length(), 1.0);
  EXPECT_EQ(factor(m, 1).z, 0.0);
}

TEST(FactorZXY, GimbalLockPutsTheWholeTurnIntoY) {
  Matrix4x4 m;
  m.m[1][1] = 0, m.m[1][2] = 1, m.m[2][1] = -1, m.m[2][2] = 0;
  const Angles a = factor(m);
  EXPECT_EQ(a.z, 0.0);
  EXPECT_TRUE(close(a.x, pi / 2, epsilon));
  EXPECT_EQ(a.y, 0.0);
  m.m[1][1] = -0.0;  // the other half turn about z, which y undoes
  const Angles b = factor(m);
  EXPECT_TRUE(close(b.z, -pi, epsilon));
  EXPECT_TRUE(close(b.x, pi / 2, epsilon));
  EXPECT_TRUE(close(std::fabs(b.y), pi, epsilon));
}

TEST(FactorZXY, NaNSpreadsAndTheThirdRowIsOnlyCounted) {
  Matrix4x4 m;
  m.m[1][2] = quietNaN;
  const Angles a = factor(m);
  EXPECT_TRUE(std::isnan(a.z) && std::isnan(a.x) && std::isnan(a.y));
  m = Matrix4x4();
  m.m[0][1] = quietNaN;
  const Angles b = factor(m);
  EXPECT_EQ(b.z, 0.0);
  EXPECT_TRUE(std::isnan(b.y));
  m = rotation(0.3, 0.4, 0.5);
  const Angles clean = factor(m);
  for (int j = 0; j < 3; ++j) m.m[2][j] = -m.m[2][j];
  EXPECT_TRUE(sameBits(factor(m).y, clean.y));
  EXPECT_EQ(factor(m).problems, 0);
}
