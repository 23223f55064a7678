#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "limber/geometry/Quat.h"
#include "tests/geometry/RandomGeometry.h"

namespace {

constexpr double eps = tolerance::epsilon;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

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

}  // namespace
