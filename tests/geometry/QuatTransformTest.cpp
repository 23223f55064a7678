#include "limber/geometry/QuatTransform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

#include "limber/geometry/Matrix.h"
#include "tests/geometry/RandomGeometry.h"
#include "tests/support/CapturedOutput.h"

namespace {

static_assert(offsetof(QuatTransform, rotation) == 0 &&
              offsetof(QuatTransform, translation) == sizeof(Quat) &&
              sizeof(QuatTransform) == sizeof(Quat) + sizeof(Pnt3));

constexpr double eps = tolerance::epsilon;
const Quat cycle(0.5, 0.5, 0.5, 0.5);  // x to y, y to z, z to x, exactly

::testing::AssertionResult same(const QuatTransform& a, const QuatTransform& b) {
  const auto rotation = sameQuats(a.rotation, b.rotation);
  return rotation ? tolerance::sameBits(a.translation.v(), b.translation.v(), 3) : rotation;
}

TEST(QuatTransform, IsMadeAsTheIdentity) {
  const QuatTransform t;
  EXPECT_TRUE(sameQuats(t.rotation, Quat()));
  EXPECT_EQ(t.translation, Pnt3());
}

TEST(QuatTransform, CopiesItsMembers) {
  const QuatTransform t(Quat(1.0, 2.0, 3.0, 4.0), Pnt3(5.0, 6.0, 7.0));  // nothing is normalized
  EXPECT_TRUE(sameQuats(t.rotation, Quat(1.0, 2.0, 3.0, 4.0)));
  EXPECT_EQ(t.translation, Pnt3(5.0, 6.0, 7.0));
  EXPECT_TRUE(same(QuatTransform(t), t));
  QuatTransform u;
  EXPECT_EQ(&(u = t), &u);
  EXPECT_TRUE(same(u, t));
  u.identity();
  EXPECT_TRUE(same(u, QuatTransform()));
}

TEST(QuatTransform, TurnsAndThenMoves) {
  const QuatTransform t(cycle, Pnt3(10.0, 20.0, 30.0));
  const Pnt3 p(1.0, 2.0, 3.0);
  EXPECT_EQ(t.transform(p), Pnt3(13.0, 21.0, 32.0));
  Pnt3 out;
  t.transform(p, out);
  EXPECT_EQ(out, Pnt3(13.0, 21.0, 32.0));
  out = p;
  t.transform(out, out);
  EXPECT_EQ(out, Pnt3(13.0, 21.0, 32.0));
}

TEST(QuatTransform, ProductChangesAndReturnsTheLeftOperand) {
  QuatTransform a(cycle, Pnt3(1.0, 2.0, 3.0));
  const QuatTransform b(cycle, Pnt3(10.0, 20.0, 30.0));
  EXPECT_EQ(&(a * b), &a);
  EXPECT_EQ(a.translation, Pnt3(13.0, 21.0, 32.0));
  EXPECT_TRUE(closeQuats(a.rotation, Quat(-0.5, 0.5, 0.5, 0.5), 0.0));
  EXPECT_TRUE(same(b, QuatTransform(cycle, Pnt3(10.0, 20.0, 30.0))));
}

TEST(QuatTransform, ProductActsByTheLeftFirst) {
  RandomGeometry random(61);
  for (int i = 0; i < 500; ++i) {
    const QuatTransform a(random.quat(), random.point()), b(random.quat(), random.point());
    const Pnt3 p = random.point();
    QuatTransform ab(a);
    ab* b;
    // Coordinates below 4; two rotations of some fifty roundings each.
    EXPECT_TRUE(closePoints(ab.transform(p), b.transform(a.transform(p)), 4 * 64 * eps));
  }
}

TEST(QuatTransform, ProductWithItself) {
  const QuatTransform a(cycle, Pnt3(1.0, 2.0, 3.0));
  QuatTransform square(a), expected(a);
  expected* a;
  square* square;
  EXPECT_TRUE(same(square, expected));
}

TEST(QuatTransform, InvertUndoes) {
  QuatTransform t(cycle, Pnt3(10.0, 20.0, 30.0));
  t.invert();
  EXPECT_EQ(t.translation, Pnt3(-20.0, -30.0, -10.0));
  EXPECT_TRUE(sameQuats(t.rotation, Quat(0.5, -0.5, -0.5, -0.5)));
  RandomGeometry random(62);
  for (int i = 0; i < 500; ++i) {
    const QuatTransform a(random.quat(), random.point());
    const Pnt3 p = random.point();
    QuatTransform inverse(a);
    inverse.invert();
    EXPECT_TRUE(closePoints(inverse.transform(a.transform(p)), p, 4 * 64 * eps));
  }
}

TEST(QuatTransform, ToMatIsTheSameTransform) {
  RandomGeometry random(63);
  for (int i = 0; i < 500; ++i) {
    const QuatTransform t(random.quat(), random.point());
    const Pnt3 p = random.point();
    Matrix4x4 m = counting4();
    t.toMat(&m);
    EXPECT_TRUE(closePoints(transformMatrix(&m, p), t.transform(p), 4 * 64 * eps));
    for (int k = 0; k < 4; ++k) EXPECT_EQ(m.m[k][3], k == 3 ? 1.0 : 0.0);
    EXPECT_EQ(Pnt3(m.m[3]), t.translation);
  }
}

TEST(QuatTransform, ToMatOfAZeroRotationWarnsAndTakesTheIdentity) {
  CapturedOutput captured;
  const QuatTransform t(Quat(0.0, 0.0, 0.0, 0.0), Pnt3(1.0, 2.0, 3.0));
  Matrix4x4 m, expected;
  transMatrix(&expected, 1.0, 2.0, 3.0);
  t.toMat(&m);
  EXPECT_EQ(captured.out(), "WARNING: 0,0,0,0 quaternion!!!\n");
  EXPECT_TRUE(closeEntries(m, expected, 0.0));
  EXPECT_TRUE(sameQuats(t.rotation, Quat(0.0, 0.0, 0.0, 0.0)));
}

TEST(QuatTransform, LengthCountsInInvertAndNotInToMat) {
  QuatTransform t(Quat(1.0, 1.0, 1.0, 1.0), Pnt3(1.0, 2.0, 3.0));
  Matrix4x4 m;
  t.toMat(&m);
  EXPECT_EQ(transformMatrix(&m, Pnt3(10.0, 20.0, 30.0)), Pnt3(31.0, 12.0, 23.0));
  t.invert();
  EXPECT_EQ(t.translation, Pnt3(-8.0, -12.0, -4.0));  // four times the unit quaternion's
}

TEST(QuatTransform, FromA4x4IsTheInverseOfToMat) {
  RandomGeometry random(64);
  for (int i = 0; i < 500; ++i) {
    const QuatTransform t(random.quat(), random.point());
    Matrix4x4 m, again;
    t.toMat(&m);
    QuatTransform u(Quat(9.0, 9.0, 9.0, 9.0), Pnt3(9.0, 9.0, 9.0));
    u.fromMatrix(&m);
    EXPECT_EQ(u.translation, t.translation);
    u.toMat(&again);
    // FromVectors divides by 1 + cos of the angle of each of its two turns.
    Quat first;
    const Pnt3 x(1.0, 0.0, 0.0), y(0.0, 1.0, 0.0), toX(m.m[0]), toY(m.m[1]);
    first.FromVectors(&x, &toX);
    const Pnt3 n1 = first.Rotate(y * x), n2 = toY * toX;
    const double tol = 128 * eps / ((1.0 + toX.x) * (1.0 + n1.x * n2.x + n1.y * n2.y + n1.z * n2.z));
    EXPECT_TRUE(closeEntries(again, m, tol));
  }
}

TEST(QuatTransform, FromA3x3HasNoTranslation) {
  Matrix3x3 m;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) m.m[i][j] = j == (i + 1) % 3 ? 1.0 : 0.0;
  QuatTransform t(Quat(), Pnt3(1.0, 2.0, 3.0));
  t.fromMatrix(&m);
  EXPECT_EQ(t.translation, Pnt3());
  EXPECT_TRUE(closeQuats(t.rotation, cycle, 16 * eps));
}

TEST(QuatTransform, FromMatrixLooksAtTheFirstTwoRowsOnly) {
  Matrix3x3 m;
  for (double& x : m.m[2]) x = 1e9;
  QuatTransform t;
  t.fromMatrix(&m);
  EXPECT_TRUE(closeQuats(t.rotation, Quat(), 0.0));
}

TEST(QuatTransform, FromAHalfTurnAboutAnAxisIsNotFinite) {
  for (int axis = 0; axis < 3; ++axis) {
    Matrix3x3 m;
    for (int i = 0; i < 3; ++i) m.m[i][i] = i == axis ? 1.0 : -1.0;
    QuatTransform t;
    CapturedOutput captured;  // the turned normal may be reported as a zero point
    t.fromMatrix(&m);
    EXPECT_FALSE(std::isfinite(t.rotation.w) && std::isfinite(t.rotation.x) && std::isfinite(t.rotation.y) &&
                 std::isfinite(t.rotation.z))
        << axis;
  }
}

}  // namespace
