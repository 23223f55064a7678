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
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
const double pi = std::acos(-1.0);
const char* const zeroPoint = "ERR: Normalizing Zero Point! @ (Pnt3:236)\n";
const char* const unsupported = "unsupported euler channel type in conversion to quaternions\n";

Quat about(char axis, double angle) {
  return Quat(std::cos(angle / 2), axis == 'X' ? std::sin(angle / 2) : 0.0,
              axis == 'Y' ? std::sin(angle / 2) : 0.0, axis == 'Z' ? std::sin(angle / 2) : 0.0);
}

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

TEST(QuatSlerp, BeginsAtAAndEndsAtB) {
  RandomGeometry random(41);
  for (int i = 0; i < 500; ++i) {
    const Quat a = random.quat(), b = random.quat();
    const double d = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
    const double sign = d < 0.0 ? -1.0 : 1.0;  // on the weight of a
    Quat q;
    // sin(0) and sin(theta) / sin(theta) are exact.
    q.Slerp(a, b, 0.0);
    EXPECT_TRUE(closeQuats(q, Quat(sign * a.w, sign * a.x, sign * a.y, sign * a.z), 0.0));
    q.Slerp(a, b, 1.0);
    EXPECT_TRUE(closeQuats(q, b, 0.0));
  }
}

TEST(QuatSlerp, MovesAtAConstantAngle) {
  RandomGeometry random(42);
  for (int i = 0; i < 500; ++i) {
    const Quat a = random.quat(), b = random.quat();
    const double d = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
    const double theta = std::acos(std::fabs(d)), t = 0.5 * (random.number() + 1.0);
    Quat q;
    q.Slerp(a, b, t);
    // The result is a unit quaternion at (1 - t) theta from b. The weights err by theta's rounding over
    // sin(theta).
    const double tol = 32 * eps * (1.0 + 1.0 / std::sin(theta));
    EXPECT_TRUE(tolerance::close(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z, 1.0, tol));
    EXPECT_TRUE(
        tolerance::close(q.w * b.w + q.x * b.x + q.y * b.y + q.z * b.z, std::cos((1.0 - t) * theta), tol));
  }
}

TEST(QuatSlerp, TheTargetMayBeAnEnd) {
  const Quat a = about('X', 0.5), b = about('Y', 1.5);
  Quat q, left(a), right(b);
  q.Slerp(a, b, 0.3);
  left.Slerp(left, b, 0.3);
  right.Slerp(a, right, 0.3);
  EXPECT_TRUE(sameQuats(left, q));
  EXPECT_TRUE(sameQuats(right, q));
}

TEST(QuatSlerp, BetweenEqualsIsLinear) {
  const Quat a(0.5, -0.5, 0.5, 0.5);
  for (double t : {0.0, 0.25, 0.5, 1.0, 3.0}) {
    Quat q;
    q.Slerp(a, a, t);
    EXPECT_TRUE(sameQuats(q, a)) << t;
  }
}

TEST(QuatSlerp, BetweenOppositesIsLinearWithoutASign) {
  const Quat a(0.5, -0.5, 0.5, 0.5), minus(-0.5, 0.5, -0.5, -0.5);
  Quat q;
  q.Slerp(a, minus, 0.5);
  EXPECT_TRUE(closeQuats(q, Quat(0.0, 0.0, 0.0, 0.0), 0.0));
  q.Slerp(a, minus, 0.25);
  EXPECT_TRUE(closeQuats(q, Quat(0.25, -0.25, 0.25, 0.25), 0.0));
}

TEST(QuatSlerp, BeyondUnitLengthIsLinear) {
  const Quat a(2.0, 0.0, 0.0, 0.0), b(0.75, 4.0, 0.0, 0.0);
  Quat q;
  q.Slerp(a, b, 0.25);
  EXPECT_TRUE(sameQuats(q, Quat(0.75 * 2.0 + 0.25 * 0.75, 1.0, 0.0, 0.0)));
}

TEST(QuatSlerp, DoesNotNormalize) {
  const Quat a(0.5, 0.0, 0.0, 0.0), b(0.0, 0.0, 0.25, 0.0);  // at a right angle
  Quat q;
  q.Slerp(a, b, 0.5);
  EXPECT_TRUE(closeQuats(q, Quat(0.5 * std::sqrt(0.5), 0.0, 0.25 * std::sqrt(0.5), 0.0), 4 * eps));
}

TEST(QuatSlerp, JustBelowUnitTakesTheSineBranch) {
  // One unit below 1 the angle is 1.5e-8, above the limit, so the sign is corrected.
  const Quat a, b(-(1.0 - eps / 2), 0.0, 0.0, 0.0);
  Quat q;
  q.Slerp(a, b, 0.25);
  EXPECT_TRUE(closeQuats(q, Quat(-1.0, 0.0, 0.0, 0.0), 4 * eps));
}

TEST(QuatSlerp, TakesTheAngleOfAnUnorderedDotProductAsPi) {
  const Quat a, b(0.5, nan, 0.25, 0.0);
  Quat q;
  q.Slerp(a, b, 0.25);
  const double theta = 3.141592653589793, wa = std::sin(0.75 * theta) / std::sin(theta),
               wb = std::sin(0.25 * theta) / std::sin(theta);
  EXPECT_TRUE(tolerance::relative(q.w, wa + 0.5 * wb, 8 * eps));
  EXPECT_TRUE(std::isnan(q.x));
  EXPECT_TRUE(tolerance::relative(q.y, 0.25 * wb, 8 * eps));
  EXPECT_EQ(q.z, 0.0);
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

TEST(QuatFromAxisAngle, TurnsAboutTheNormalizedAxis) {
  Quat q;
  const Pnt3 axis(0.0, 3.0, 4.0);
  q.FromAxisAngle(&axis, 1.0);
  // The wrapping adds and takes away 2 pi, the sine comes from the root of 1 - w^2.
  EXPECT_TRUE(closeQuats(q, Quat(std::cos(0.5), 0.0, 0.6 * std::sin(0.5), 0.8 * std::sin(0.5)), 16 * eps));
  EXPECT_EQ(axis, Pnt3(0.0, 3.0, 4.0));
}

TEST(QuatFromAxisAngle, TheSineComesFromTheCosine) {
  Quat q;
  const Pnt3 z(0.0, 0.0, 1.0);
  q.FromAxisAngle(&z, 1.0);
  EXPECT_TRUE(tolerance::sameBits(q.z, std::sqrt(1.0 - q.w * q.w)));
  // Angles below about 2e-8 are therefore lost.
  q.FromAxisAngle(&z, 1e-9);
  EXPECT_TRUE(sameQuats(q, Quat()));
}

TEST(QuatFromAxisAngle, WrapsTheAngle) {
  const Pnt3 z(0.0, 0.0, 1.0);
  Quat q;
  q.FromAxisAngle(&z, 1.5 * pi);
  EXPECT_TRUE(closeQuats(q, Quat(std::cos(pi / 4), 0.0, 0.0, -std::sin(pi / 4)), 16 * eps));
  q.FromAxisAngle(&z, -pi / 2);
  EXPECT_TRUE(closeQuats(q, Quat(std::cos(pi / 4), 0.0, 0.0, -std::sin(pi / 4)), 16 * eps));
  q.FromAxisAngle(&z, 2.0 * pi + 1.0);
  EXPECT_TRUE(closeQuats(q, about('Z', 1.0), 16 * eps));
  q.FromAxisAngle(&z, -20.0 * pi - 1.0);  // ten turns: 63.8 has roundings of 7e-15
  EXPECT_TRUE(closeQuats(q, about('Z', -1.0), 128 * eps));
}

TEST(QuatFromAxisAngle, HalfATurnBackwardsIsHalfATurnForwards) {
  const Pnt3 z(0.0, 0.0, 1.0);
  Quat forwards, backwards;
  forwards.FromAxisAngle(&z, 3.141592653589793);
  backwards.FromAxisAngle(&z, -3.141592653589793);
  EXPECT_EQ(forwards.z, 1.0);
  EXPECT_TRUE(sameQuats(forwards, backwards));
}

TEST(QuatFromAxisAngle, GoesUpATurnAndDownAgain) {
  // 0.3 + 2 pi - 2 pi has other bits than 0.3.
  const Pnt3 z(0.0, 0.0, 1.0);
  Quat q;
  q.FromAxisAngle(&z, 0.3);
  const double wrapped = (0.3 + 6.283185307179586) - 6.283185307179586;
  EXPECT_NE(wrapped, 0.3);
  EXPECT_TRUE(tolerance::close(q.w, std::cos(wrapped * 0.5), eps / 2));
}

TEST(QuatFromAxisAngle, TakesTurnsAwayOneByOneUpToAMillion) {
  const Pnt3 z(0.0, 0.0, 1.0);
  for (double angle : {63.8, -500.3, 12345.6, 1e6, -1e6}) {
    double wrapped = angle;
    while (wrapped < 3.141592653589793) wrapped += 6.283185307179586;
    while (wrapped > 3.141592653589793) wrapped -= 6.283185307179586;
    Quat q;
    q.FromAxisAngle(&z, angle);
    EXPECT_TRUE(tolerance::close(q.w, std::cos(std::fabs(wrapped) * 0.5), eps)) << angle;
    EXPECT_EQ(std::signbit(q.z), wrapped < 0.0) << angle;
    // Subtracting the turns one by one leaves rounding errors that one division would not.
    if (std::fabs(angle) > 1e4) {
      EXPECT_GT(std::fabs(q.w - std::fabs(std::cos(angle * 0.5))), 16 * eps) << angle;
    }
  }
}

TEST(QuatFromAxisAngle, ReducesHugeAngles) {
  const Pnt3 z(0.0, 0.0, 1.0);
  for (double angle : {1e15, -1e15, 1e300, 1000001.0}) {
    Quat q;
    q.FromAxisAngle(&z, angle);
    const double rest = std::fmod(angle, 6.283185307179586);
    const Quat expected = about('Z', rest);
    // The same rotation; q may be the other quaternion of it.
    const double d = q.w * expected.w + q.z * expected.z;
    EXPECT_TRUE(tolerance::close(std::fabs(d), 1.0, 16 * eps)) << angle;
    EXPECT_GE(q.w, 0.0);
  }
}

TEST(QuatFromAxisAngle, AnAngleThatIsNotFiniteGivesNan) {
  const Pnt3 z(0.0, 0.0, 1.0);
  for (double angle : {inf, -inf, nan}) {
    Quat q;
    q.FromAxisAngle(&z, angle);
    EXPECT_TRUE(std::isnan(q.w) && std::isnan(q.x) && std::isnan(q.y) && std::isnan(q.z)) << angle;
  }
}

TEST(QuatFromAxisAngle, AZeroAxisReportsAndIsUp) {
  CapturedOutput captured;
  const Pnt3 zero;
  for (double angle : {1.0, -1.0}) {
    Quat q;
    q.FromAxisAngle(&zero, angle);
    EXPECT_EQ(captured.err(), zeroPoint);
    EXPECT_TRUE(closeQuats(q, about('Y', 1.0), 16 * eps));  // a zero axis has no other direction to take
    captured.clear();
  }
}

TEST(QuatFromAxisCosAngle, TurnsByTheAngleOfTheCosine) {
  Quat q;
  const Pnt3 axis(3.0, 0.0, 4.0);
  for (double angle : {0.5, 1.5, 3.0}) {
    q.FromAxisCosAngle(&axis, std::cos(angle));
    // Near pi, cos + 1 loses half its digits.
    const double tol = 16 * eps / std::cos(angle / 2);
    EXPECT_TRUE(closeQuats(
        q, Quat(std::cos(angle / 2), 0.6 * std::sin(angle / 2), 0.0, 0.8 * std::sin(angle / 2)), tol));
  }
  q.FromAxisCosAngle(&axis, 1.0);
  EXPECT_TRUE(sameQuats(q, Quat()));
  q.FromAxisCosAngle(&axis, -1.0);
  EXPECT_TRUE(sameQuats(q, Quat(0.0, 3.0 / 5.0, 0.0, 4.0 / 5.0)));
}

TEST(QuatFromAxisCosAngle, TakesTheSineFromTheScalar) {
  RandomGeometry random(45);
  for (int i = 0; i < 200; ++i) {
    const Pnt3 axis = random.point();
    const double cosine = random.number();
    Pnt3 unit = axis;
    unit.normalize();
    Quat q;
    q.FromAxisCosAngle(&axis, cosine);
    const double w = std::sqrt((cosine + 1.0) * 0.5), s = std::sqrt(1.0 - w * w);
    EXPECT_TRUE(sameQuats(q, Quat(w, unit.x * s, unit.y * s, unit.z * s)));
  }
}

TEST(QuatFromAxisCosAngle, DoesNotClampTheCosine) {
  Quat q;
  const Pnt3 z(0.0, 0.0, 1.0);
  q.FromAxisCosAngle(&z, 1.5);
  EXPECT_GT(q.w, 1.0);
  EXPECT_TRUE(std::isnan(q.z));
  q.FromAxisCosAngle(&z, -1.5);
  EXPECT_TRUE(std::isnan(q.w) && std::isnan(q.z));
}

TEST(QuatFromAxisCosAngle, AZeroAxisReportsAndIsUp) {
  CapturedOutput captured;
  const Pnt3 zero;
  Quat q;
  q.FromAxisCosAngle(&zero, -1.0);
  EXPECT_EQ(captured.err(), zeroPoint);
  EXPECT_TRUE(sameQuats(q, Quat(0.0, 0.0, 1.0, 0.0)));
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
