// Quat::FromRotation, which is accurate for every rotation, and what the documented formula gives for the
// same matrices.
#include <gtest/gtest.h>

#include <cmath>

#include "limber/geometry/Quat.h"
#include "limber/geometry/QuatTransform.h"
#include "limber/geometry/RotHelper.h"
#include "tests/geometry/LongQuats.h"
#include "tests/geometry/RandomGeometry.h"
#include "tests/support/CapturedOutput.h"

namespace {

using namespace reference;

TEST(QuatFromRotation, IsRightForRandomRotations) {
  RandomGeometry random(71);
  for (int i = 0; i < 20000; ++i) {
    const Quat turn = random.quat();
    const Matrix3x3 m = matrixOf(turn.w, Vec(turn.x, turn.y, turn.z));
    Quat q;
    q.FromRotation(&m);
    EXPECT_TRUE(isRotation(q, turn.w, Vec(turn.x, turn.y, turn.z)));
    EXPECT_LE(normError(q), 8 * unitOfRounding);
    EXPECT_GE(q.w, 0.0);
  }
}

TEST(QuatFromRotation, IsRightAtAndNextToHalfTurns) {
  RandomGeometry random(72);
  for (int i = 0; i < 20000; ++i) {
    const Pnt3 axis = random.point();
    const Vec v = unit(Vec(axis));
    const double w = i % 20 == 0 ? 0.0 : std::pow(10.0, -(i % 20));
    const Matrix3x3 m = matrixOf(w, v);
    Quat q;
    q.FromRotation(&m);
    EXPECT_TRUE(isRotation(q, w, v)) << "w = " << w;
    EXPECT_GE(q.w, 0.0);
  }
}

TEST(QuatFromRotation, HalfTurnsAboutTheCoordinateAxesAreExact) {
  for (int axis = 0; axis < 3; ++axis) {
    Matrix3x3 m;
    for (int k = 0; k < 3; ++k) m.m[k][k] = k == axis ? 1.0 : -1.0;
    Quat q;
    q.FromRotation(&m);
    EXPECT_EQ(q.w, 0.0);
    EXPECT_EQ(Pnt3(q.x, q.y, q.z), Pnt3(axis == 0, axis == 1, axis == 2));
  }
}

TEST(QuatFromRotation, KeepsTheAxisOfTinyAngles) {
  RandomGeometry random(73);
  for (int exponent = -1; exponent > -300; --exponent) {
    const Vec v = std::pow(Real(10), exponent) * unit(Vec(random.point()));
    const Matrix3x3 m = matrixOf(1.0, v);
    Quat q;
    q.FromRotation(&m);
    EXPECT_TRUE(isRotation(q, 1.0, v)) << exponent;
    // Tiny components are accurate to their last digits.
    EXPECT_LE(std::fabs(q.x - v.x / std::sqrt(1 + v.x * v.x + v.y * v.y + v.z * v.z)),
              allowed * std::fabs(v.x));
  }
}

TEST(QuatFromRotation, TakesTheLargestComponentOfEachKind) {
  // The four branches, and ties between them.
  const double cases[][4] = {{2, 1, 1, 1},   {1, 2, 1, 1}, {1, 1, 2, 1}, {1, 1, 1, 2},  {1, 1, 1, 1},
                             {1, -1, 1, -1}, {0, 1, 1, 0}, {0, 0, 1, 1}, {0, 1, 0, -1}, {1e-9, 1, 1, 1}};
  for (const double* c : cases) {
    const Matrix3x3 m = matrixOf(c[0], Vec(c[1], c[2], c[3]));
    Quat q;
    q.FromRotation(&m);
    EXPECT_TRUE(isRotation(q, c[0], Vec(c[1], c[2], c[3])));
  }
}

TEST(QuatFromRotation, GivesAUnitQuaternionForAMatrixThatIsOffByRounding) {
  RandomGeometry random(74);
  for (int i = 0; i < 1000; ++i) {
    const Quat turn = random.quat();
    Matrix3x3 m = matrixOf(turn.w, Vec(turn.x, turn.y, turn.z));
    for (auto& row : m.m)
      for (double& x : row) x += 1e-7 * random.number();
    Quat q;
    q.FromRotation(&m);
    EXPECT_LE(normError(q), 8 * unitOfRounding);
    const double sign = q.w * turn.w + q.x * turn.x + q.y * turn.y + q.z * turn.z < 0.0 ? -1.0 : 1.0;
    EXPECT_TRUE(closeQuats(q, Quat(sign * turn.w, sign * turn.x, sign * turn.y, sign * turn.z), 1e-6));
  }
}

TEST(QuatFromRotation, ANanAnywhereGivesNan) {
  for (int k = 0; k < 9; ++k) {
    Matrix3x3 m;
    m.m[k / 3][k % 3] = std::nan("");
    Quat q;
    q.FromRotation(&m);
    EXPECT_TRUE(std::isnan(q.w) && std::isnan(q.x) && std::isnan(q.y) && std::isnan(q.z)) << k;
  }
}

// The results of the documented formula for half turns. The documentation quotes these figures.
TEST(QuatFromRotation, TheFormatsConversionFailsForEveryHalfTurn) {
  RandomGeometry random(75);
  int notFinite = 0, wrong = 0, right = 0;
  CapturedOutput captured;
  for (int i = 0; i < 20000; ++i) {
    Quat turn = random.quat();
    turn.Set(0.0, turn.x, turn.y, turn.z);
    double params[4], back[4];
    turn.Get(params);
    Matrix3x3 m, again;
    qRot->toMatrix(params, &m);
    qRot->fromMatrix(&m, back);
    if (!finite(Quat(back[0], back[1], back[2], back[3]))) {
      ++notFinite;
      continue;
    }
    qRot->toMatrix(back, &again);
    double error = 0.0;
    for (int k = 0; k < 9; ++k)
      error = std::fmax(error, std::fabs(m.m[k / 3][k % 3] - again.m[k / 3][k % 3]));
    (error > 0.2 ? wrong : right)++;
  }
  EXPECT_NEAR(notFinite / 20000.0, 0.95, 0.01);
  EXPECT_NEAR(wrong / 20000.0, 0.05, 0.01);
  EXPECT_EQ(right, 0);
}

TEST(QuatFromRotation, TheFormatsConversionLosesDigitsNextToHalfTurns) {
  RandomGeometry random(76);
  double worst = 0.0;
  int notFinite = 0;
  CapturedOutput captured;  // normals of length zero are reported
  for (int i = 0; i < 2000; ++i) {
    const Vec v = unit(Vec(random.point()));
    const Matrix3x3 m = matrixOf(1e-7, v);
    QuatTransform t;
    t.fromMatrix(&m);
    ASSERT_TRUE(finite(t.rotation));
    const Vec got(t.rotation.x, t.rotation.y, t.rotation.z);
    worst = std::fmax(worst, static_cast<double>(std::fmin(length(got - v), length(Real(-1) * got - v))));
    const Matrix3x3 nearer = matrixOf(1e-10, v);
    t.fromMatrix(&nearer);
    if (!finite(t.rotation)) ++notFinite;
  }
  EXPECT_GT(worst, 1e-10);
  EXPECT_LT(worst, 1e-8);
  EXPECT_GT(notFinite, 1800);
}

}  // namespace
