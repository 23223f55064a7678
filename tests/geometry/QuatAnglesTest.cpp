#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "limber/geometry/Quat.h"
#include "limber/geometry/RotHelper.h"
#include "tests/geometry/RandomGeometry.h"
#include "tests/support/CapturedOutput.h"

namespace {

constexpr double eps = tolerance::epsilon;
const double pi = std::acos(-1.0);
const char* const unsupported = "unsupported euler channel type in conversion to quaternions\n";

TEST(QuatLog, IsTheFullAngleTimesTheAxis) {
  for (double angle : {0.5, 1.0, 2.0, 3.0, 4.0, 6.0}) {
    // acos(w) magnifies w's rounding by 1 / sin(angle / 2); the axis adds a few more.
    const double tol = 2 * eps / std::sin(angle / 2) + 8 * eps * angle;
    EXPECT_TRUE(closePoints(about('Z', angle).Log(), Pnt3(0.0, 0.0, angle), tol)) << angle;
  }
  const Quat q(0.5, 0.5, -0.5, 0.5);  // 120 degrees about (1, -1, 1)
  const double component = 2.0 * pi / 3.0 / std::sqrt(3.0);
  EXPECT_TRUE(closePoints(q.Log(), Pnt3(component, -component, component), 16 * eps));
}

TEST(QuatLog, DoesNotTakeTheShortWay) {
  // w = -1/2: 240 degrees, not 120 the other way.
  const Pnt3 v = Quat(-0.5, 0.5, 0.5, 0.5).Log();
  EXPECT_TRUE(tolerance::close(v.length(), 4.0 * pi / 3.0, 16 * eps));
  EXPECT_GT(v.x, 0.0);
}

TEST(QuatLog, OfAQuaternionWithoutVectorPartIsZero) {
  EXPECT_EQ(Quat().Log(), Pnt3());
  EXPECT_EQ(Quat(-1.0, 0.0, 0.0, 0.0).Log(), Pnt3());
  EXPECT_EQ(Quat(7.0, 0.0, 0.0, 0.0).Log(), Pnt3());
}

TEST(QuatLog, DoesNotClampTheScalar) {
  const Pnt3 v = Quat(1.0 + eps, 1e-9, 0.0, 0.0).Log();
  EXPECT_TRUE(std::isnan(v.x));
}

TEST(QuatAngle, IsTheAngleOfTheRelativeRotation) {
  EXPECT_EQ(Quat().Angle(Quat()), 0.0);
  EXPECT_EQ(Quat(0.5, 0.5, -0.5, 0.5).Angle(Quat(0.5, 0.5, -0.5, 0.5)), 0.0);
  // From 0.4 to 1.9 about the same axis; acos at cos(0.75) magnifies some ten roundings by 1.5.
  EXPECT_TRUE(tolerance::close(about('Y', 1.9).Angle(about('Y', 0.4)), 1.5, 64 * eps));
  EXPECT_TRUE(tolerance::close(about('Y', 0.4).Angle(about('Y', 1.9)), 1.5, 64 * eps));
  // Beyond half a turn: 5.
  EXPECT_TRUE(tolerance::close(about('X', 5.5).Angle(about('X', 0.5)), 5.0, 64 * eps));
}

TEST(QuatAngle, OfAQuaternionWithItselfIsZeroAndNearItNeverNan) {
  // After normalizing, w is never above 1, whatever the rounding of the product.
  RandomGeometry random(44);
  for (int i = 0; i < 1000; ++i) {
    const Quat q = random.quat();
    EXPECT_EQ(q.Angle(q), 0.0);
    const Quat near(q.w, q.x + 1e-9 * random.number(), q.y + 1e-12 * random.number(), q.z);
    EXPECT_TRUE(tolerance::close(near.Angle(q), 0.0, 4e-9 + 4.0 * std::sqrt(eps)));
  }
}

TEST(QuatAngle, TakesItsArgumentByValue) {
  Quat q = about('Z', 1.0);
  const Quat before(q);
  Quat().Angle(q);
  EXPECT_TRUE(sameQuats(q, before));
}

TEST(QuatEuler, OneLetterTurnsAboutItsAxis) {
  for (const char* axis : {"X", "Y", "Z"}) {
    const double angle = 0.7;
    EXPECT_TRUE(closeQuats(Quat(axis, &angle), about(axis[0], angle), 8 * eps));
  }
}

TEST(QuatEuler, TheLastLetterActsFirst) {
  const double angles[3] = {0.3, 0.2, -0.4};
  Quat q;
  q.Euler("ZXY", angles);
  const Quat expected = about('Y', -0.4) * about('X', 0.2) * about('Z', 0.3);
  EXPECT_TRUE(closeQuats(q, expected, 32 * eps));
  EXPECT_FALSE(closeQuats(q, about('Z', 0.3) * about('X', 0.2) * about('Y', -0.4), 0.01));
  const Pnt3 p(1.0, 2.0, 3.0);
  const Pnt3 turned = about('Z', 0.3).Rotate(about('X', 0.2).Rotate(about('Y', -0.4).Rotate(p)));
  EXPECT_TRUE(closePoints(q.Rotate(p), turned, 128 * eps));
}

TEST(QuatEuler, LettersMayRepeatInAnyNumber) {
  const double angles[5] = {0.1, 0.2, 0.3, 0.4, 0.5};
  Quat expected;
  for (int i = 4; i >= 0; --i) expected = expected * about("XXYZX"[i], angles[i]);
  EXPECT_TRUE(closeQuats(Quat("XXYZX", angles), expected, 64 * eps));
}

TEST(QuatEuler, AnEmptyOrderIsTheIdentity) {
  Quat q(1.0, 2.0, 3.0, 4.0);
  q.Euler("", nullptr);
  EXPECT_TRUE(sameQuats(q, Quat()));
}

TEST(QuatEuler, AnotherLetterPrintsAMessageAndTurnsNothing) {
  CapturedOutput captured;
  double angle = 0.7;
  EXPECT_TRUE(sameQuats(Quat("W", &angle), Quat()));
  EXPECT_EQ(captured.out(), unsupported);
  EXPECT_EQ(captured.err(), "");
  angle = 4.0;  // cos(2) is negative
  EXPECT_TRUE(closeQuats(Quat("W", &angle), Quat(-1.0, 0.0, 0.0, 0.0), 0.0));
}

TEST(QuatEuler, LowerCaseLettersAreNotSupported) {
  CapturedOutput captured;
  const double angles[3] = {0.3, 0.2, -0.4};
  const Quat q("xXz", angles);
  EXPECT_EQ(captured.out(), std::string(unsupported) + unsupported);
  EXPECT_TRUE(closeQuats(q, about('X', 0.2), 16 * eps));
}

TEST(QuatGetEulerZXY, GivesDegreesInTheOrderXYZ) {
  const double angles[3] = {0.3, 0.2, -0.4};
  double out[3];
  Quat("ZXY", angles).getEulerZXY(out);
  // The float constant, which the tolerance tells from 180 / pi.
  const double degrees = 57.29579162597656;
  EXPECT_FALSE(tolerance::relative(degrees, 180.0 / pi, 64 * eps));
  EXPECT_TRUE(tolerance::relative(out[0], 0.2 * degrees, 64 * eps));
  EXPECT_TRUE(tolerance::relative(out[1], -0.4 * degrees, 64 * eps));
  EXPECT_TRUE(tolerance::relative(out[2], 0.3 * degrees, 64 * eps));
}

TEST(QuatGetEulerZXY, InvertsEulerZXY) {
  RandomGeometry random(43);
  for (int i = 0; i < 500; ++i) {
    const double angles[3] = {3.1 * random.number(), 1.5 * random.number(), 3.1 * random.number()};
    double out[3];
    Quat("ZXY", angles).getEulerZXY(out);
    // asin and atan2 magnify some thirty roundings by 1 / cos(x).
    const double tol = 57.3 * 128 * eps / std::cos(angles[1]);
    const double degrees = 57.29579162597656;
    EXPECT_TRUE(tolerance::close(out[0], angles[1] * degrees, tol));
    EXPECT_TRUE(tolerance::close(out[1], angles[2] * degrees, tol));
    EXPECT_TRUE(tolerance::close(out[2], angles[0] * degrees, tol));
  }
}

TEST(QuatGetEulerZXY, DoesNotClampTheSine) {
  double out[3];
  Quat(1.0, 1.0, 0.0, 0.0).getEulerZXY(out);  // 2 x w = 2
  EXPECT_TRUE(std::isnan(out[0]));
  EXPECT_TRUE(std::isfinite(out[1]) && std::isfinite(out[2]));
}

TEST(QuatGetEulerZXY, AtGimbalLockXIsAQuarterTurn) {
  double out[3];
  const double r = std::sqrt(0.5);
  Quat(r, r, 0.0, 0.0).getEulerZXY(out);
  // The sine is 1 up to 2 eps, where the angle is good to its square root; it may round above 1.
  if (!std::isnan(out[0])) {
    EXPECT_TRUE(tolerance::close(out[0], 90.0, 57.3 * 2.0 * std::sqrt(2.0 * eps)));
  }
  // The other two depend on rounding errors: they are 0 or half a turn here.
  EXPECT_TRUE(std::fabs(out[1]) < 1e-6 || std::fabs(std::fabs(out[1]) - 180.0) < 1e-4) << out[1];
  EXPECT_TRUE(std::fabs(out[2]) < 1e-6 || std::fabs(std::fabs(out[2]) - 180.0) < 1e-4) << out[2];
}

TEST(QuatEuler, ANullOrderAnswersAsConvertDoes) {
  CapturedOutput captured;
  double angles[3] = {0.3, 0.2, -0.4};
  const double sameAngles[3] = {0.3, 0.2, -0.4};
  Quat q(0.5, -0.5, 0.5, -0.5);
  q.Euler(nullptr, angles);
  q.Euler(nullptr, sameAngles);
  EXPECT_TRUE(sameQuats(q, Quat(0.5, -0.5, 0.5, -0.5)));
  EXPECT_TRUE(sameQuats(Quat(nullptr, sameAngles), Quat()));
  const std::string warnings = captured.out();
  captured.clear();
  for (int i = 0; i < 3; ++i) RotHelper::Convert(nullptr, "X", angles, angles);
  EXPECT_EQ(warnings, captured.out());
}

}  // namespace
