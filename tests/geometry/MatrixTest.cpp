#include "limber/geometry/Matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "limber/foundation/Output.h"
#include "tests/geometry/RandomGeometry.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/DecimalPoint.h"
#include "tests/support/Tolerance.h"

namespace {

static_assert(sizeof(Matrix4x4) == 16 * sizeof(double) && sizeof(Matrix3x3) == 9 * sizeof(double));
static_assert(offsetof(Matrix4x4, m) == 0 && offsetof(Matrix3x3, m) == 0);
static_assert(sizeof(MatRow) == 4 * sizeof(Matrix3x3) && offsetof(MatRow, m) == 0);

const Matrix4x4 identity4;
const Matrix3x3 identity3;

TEST(Matrix, ConstructorsMakeTheIdentity) {
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_TRUE(tolerance::sameBits(identity4.m[i][j], i == j ? 1.0 : 0.0));
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_TRUE(tolerance::sameBits(identity3.m[i][j], i == j ? 1.0 : 0.0));
  const MatRow row;
  for (const Matrix3x3& m : row.m) EXPECT_TRUE(sameEntries(m, identity3));
}

TEST(Matrix, IdMatrixOverwrites) {
  Matrix4x4 a = counting4();
  Matrix3x3 b = counting3();
  idMatrix(&a);
  idMatrix(&b);
  EXPECT_TRUE(sameEntries(a, identity4));
  EXPECT_TRUE(sameEntries(b, identity3));
}

TEST(Matrix, CopiesAreMemberWise) {
  const Matrix4x4 a = counting4();
  const Matrix3x3 b = counting3();
  Matrix4x4 a2, a3;
  copyMatrix(&a, &a2);
  EXPECT_EQ(&(a3 = a), &a3);
  EXPECT_TRUE(sameEntries(a2, a));
  EXPECT_TRUE(sameEntries(a3, a));
  EXPECT_TRUE(sameEntries(Matrix4x4(a), a));
  Matrix3x3 b2;
  EXPECT_EQ(&(b2 = b), &b2);
  EXPECT_TRUE(sameEntries(b2, b));
  EXPECT_TRUE(sameEntries(Matrix3x3(b), b));
  MatRow row, row2;
  for (int i = 0; i < 4; ++i) row.m[i].m[2][1] = i + 5.0;
  EXPECT_EQ(&(row2 = row), &row2);
  const MatRow row3(row);
  for (int i = 0; i < 4; ++i) {
    EXPECT_TRUE(sameEntries(row2.m[i], row.m[i]));
    EXPECT_TRUE(sameEntries(row3.m[i], row.m[i]));
  }
}

TEST(Matrix, PrintsFourLines) {
  CapturedOutput captured;
  const Matrix4x4 m = counting4();
  printMatrix(&m);
  ASSERT_EQ(captured.outCalls().size(), 4U);
  EXPECT_EQ(captured.outCalls()[0], "  [1.000\t2.000\t3.000\t4.000 \n");
  EXPECT_EQ(captured.outCalls()[1], "   5.000\t6.000\t7.000\t8.000 \n");
  EXPECT_EQ(captured.outCalls()[2], "   9.000\t10.000\t11.000\t12.000 \n");
  EXPECT_EQ(captured.outCalls()[3], "   13.000\t14.000\t15.000\t16.000]\n");
}

TEST(Matrix, Repr4x4) {
  const DecimalPoint point;
  EXPECT_STREQ(counting4().__repr__(),
               "<C MQ3Matrix 1.000\t2.000\t3.000\t4.000\n             5.000\t6.000\t7.000\t8.000\n"
               "             9.000\t10.000\t11.000\t12.000\n             13.000\t14.000\t15.000\t16.000 >\n");
}

TEST(Matrix, Repr3x3KeepsTheTabAfterTheSecondRow) {
  const DecimalPoint point;
  EXPECT_STREQ(counting3().__repr__(),
               "<C Matrix3x3 1.000\t2.000\t3.000\n             4.000\t5.000\t6.000\t\n"
               "             7.000\t8.000\t9.000 >\n");
}

TEST(Matrix, ReprUsesOneBufferAKind) {
  const DecimalPoint point;
  char* const four = counting4().__repr__();
  EXPECT_EQ(identity4.__repr__(), four);
  EXPECT_EQ(std::string(four).substr(0, 26), "<C MQ3Matrix 1.000\t0.000\t0");
  char* const three = counting3().__repr__();
  EXPECT_EQ(identity3.__repr__(), three);
  EXPECT_NE(static_cast<void*>(three), static_cast<void*>(four));
}

TEST(Matrix, ReprIsBounded) {
  Matrix4x4 a;
  Matrix3x3 b;
  for (auto& row : a.m)
    for (double& x : row) x = 1e300;
  for (auto& row : b.m)
    for (double& x : row) x = -1e300;
  EXPECT_EQ(std::string(a.__repr__()).size(), 511U);
  EXPECT_EQ(std::string(b.__repr__()).size(), 511U);
}

TEST(Matrix, TransMatrixPutsTheTranslationInTheLastRow) {
  Matrix4x4 m = counting4();
  transMatrix(&m, 1.5, -2.0, 3.0);
  Matrix4x4 expected;
  expected.m[3][0] = 1.5, expected.m[3][1] = -2.0, expected.m[3][2] = 3.0;
  EXPECT_TRUE(sameEntries(m, expected));
}

TEST(Matrix, RotMatrixSetsTheListedEntries) {
  const double a = 0.7, c = std::cos(a), s = std::sin(a);
  Matrix4x4 m = counting4(), x, y, z;
  x.m[1][1] = c, x.m[1][2] = -s, x.m[2][1] = s, x.m[2][2] = c;
  y.m[0][0] = c, y.m[0][2] = -s, y.m[2][0] = s, y.m[2][2] = c;
  z.m[0][0] = c, z.m[0][1] = -s, z.m[1][0] = s, z.m[1][1] = c;
  // c and s come from the library's own calls; one unit in the last place for another libm build.
  const double tol = tolerance::epsilon;
  rotMatrix(&m, 'X', a);
  EXPECT_TRUE(closeEntries(m, x, tol));
  rotMatrix(&m, 'Y', a);
  EXPECT_TRUE(closeEntries(m, y, tol));
  rotMatrix(&m, 'Z', a);
  EXPECT_TRUE(closeEntries(m, z, tol));
  rotMatrix(&m, a);
  EXPECT_TRUE(closeEntries(m, z, tol));
}

TEST(Matrix, RotMatrixFoldsTheAxisToUpperCase) {
  for (const char* axis : {"xX", "yY", "zZ"}) {
    Matrix4x4 low, high;
    rotMatrix(&low, axis[0], 0.3);
    rotMatrix(&high, axis[1], 0.3);
    EXPECT_TRUE(sameEntries(low, high));
    EXPECT_FALSE(sameEntries(low, identity4));
  }
}

TEST(Matrix, RotMatrixTurnsXAndZBackwardsAndYForwards) {
  // Contract: a quarter turn takes y to -z, z to x and x to -y.
  const double quarter = std::acos(-1.0) / 2.0;
  Matrix4x4 m;
  rotMatrix(&m, 'X', quarter);
  EXPECT_TRUE(
      closePoints(transformMatrix(&m, Pnt3(0.0, 1.0, 0.0)), Pnt3(0.0, 0.0, -1.0), tolerance::epsilon));
  rotMatrix(&m, 'Y', quarter);
  EXPECT_TRUE(closePoints(transformMatrix(&m, Pnt3(0.0, 0.0, 1.0)), Pnt3(1.0, 0.0, 0.0), tolerance::epsilon));
  rotMatrix(&m, 'Z', quarter);
  EXPECT_TRUE(
      closePoints(transformMatrix(&m, Pnt3(1.0, 0.0, 0.0)), Pnt3(0.0, -1.0, 0.0), tolerance::epsilon));
}

TEST(Matrix, RotMatrixOfABadAxisReportsAndLeavesTheIdentity) {
  for (char axis : {'Q', 'q', '\0', ' '}) {
    CapturedOutput captured;
    Matrix4x4 m = counting4();
    rotMatrix(&m, axis, 0.3);
    EXPECT_EQ(captured.err(), "ERR: Bad axis to rotMatrix @ (Matrix:207)\n");
    EXPECT_EQ(captured.out(), "");
    EXPECT_TRUE(sameEntries(m, identity4));
  }
}

TEST(Matrix, RotMatrixOfAnInfiniteAngleIsNanInItsFourEntries) {
  Matrix4x4 m;
  rotMatrix(&m, 'Z', std::numeric_limits<double>::infinity());
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_EQ(std::isnan(m.m[i][j]), i < 2 && j < 2);
}

TEST(Matrix, As4x4FillsTheUpperLeftBlock) {
  Matrix4x4 m = counting4();
  const Matrix3x3 r = counting3();
  as4x4(&r, &m);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      EXPECT_TRUE(tolerance::sameBits(m.m[i][j], i < 3 && j < 3 ? r.m[i][j] : (i == j ? 1.0 : 0.0)));
  as4x4(&identity3, &m);
  EXPECT_TRUE(sameEntries(m, identity4));
}

TEST(Matrix, QuaternionMatrixOfExactQuaternions) {
  Matrix4x4 m;
  // (1, 1, 1, 1) takes x to y, y to z and z to x; its length does not matter.
  quaternionMatrix(2.0, 2.0, 2.0, 2.0, &m);
  Matrix4x4 expected;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) expected.m[i][j] = j == (i + 1) % 3 ? 1.0 : 0.0;
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) EXPECT_EQ(m.m[i][j], expected.m[i][j]);
  CapturedOutput captured;
  quaternionMatrix(2.0, 0.0, 0.0, 0.0, &m);
  EXPECT_TRUE(closeEntries(m, identity4, 0.0));
  EXPECT_EQ(captured.out() + captured.err(), "");
}

TEST(Matrix, QuaternionMatrixOfZeroWarnsAndGivesTheIdentity) {
  CapturedOutput captured;
  Matrix4x4 m = counting4();
  quaternionMatrix(0.0, 0.0, 0.0, 0.0, &m);
  EXPECT_EQ(captured.out(), "WARNING: 0,0,0,0 quaternion!!!\n");
  EXPECT_EQ(captured.err(), "");
  EXPECT_TRUE(closeEntries(m, identity4, 0.0));
}

TEST(Matrix, QuaternionMatrixIsWhatRotateDoes) {
  RandomGeometry random(11);
  for (int i = 0; i < 1000; ++i) {
    const Quat q = random.quat();
    const Pnt3 p = random.point();
    Matrix4x4 m;
    const double s = 1.0 + 3.0 * random.number();
    if (s == 0.0) continue;
    quaternionMatrix(s * q.w, s * q.x, s * q.y, s * q.z, &m);
    // Both sides are sums of fewer than ten terms below 2 |p|, each with a few roundings; q is unit to 2 eps.
    EXPECT_TRUE(closePoints(transformMatrix(&m, p), q.Rotate(p), 64.0 * tolerance::epsilon));
  }
}

}  // namespace
