#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "limber/geometry/Quat.h"
#include "tests/geometry/RandomGeometry.h"
#include "tests/support/CapturedOutput.h"

namespace {

constexpr double eps = tolerance::epsilon;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
const double pi = std::acos(-1.0);
const char* const zeroPoint = "ERR: Normalizing Zero Point! @ (Pnt3:236)\n";

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

}  // namespace
