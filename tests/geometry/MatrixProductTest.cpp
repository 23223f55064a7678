#include <gtest/gtest.h>

#include "limber/geometry/Matrix.h"
#include "tests/geometry/RandomGeometry.h"

namespace {

TEST(MatrixProduct, EntriesAreRowsTimesColumns) {
  const Matrix4x4 a = counting4();
  Matrix4x4 b = counting4(), c;
  b.m[0][1] = -3.0;
  multMatrix(&a, &b, &c);
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) {
      double sum = 0.0;
      for (int k = 0; k < 4; ++k) sum += a.m[i][k] * b.m[k][j];
      EXPECT_EQ(c.m[i][j], sum);
    }
  const Matrix3x3 d = counting3();
  Matrix3x3 e = counting3(), f;
  e.m[0][1] = -3.0;
  multMatrix(&d, &e, &f);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      EXPECT_EQ(f.m[i][j], d.m[i][0] * e.m[0][j] + d.m[i][1] * e.m[1][j] + d.m[i][2] * e.m[2][j]);
}

TEST(MatrixProduct, SumsInAscendingOrder) {
  // 2^53 + 1 - 2^53 is 0 in this order and 1 in others.
  Matrix4x4 a, b, c;
  const double row[4] = {0x1p53, 1.0, -0x1p53, 0.0};
  for (int k = 0; k < 4; ++k) a.m[0][k] = row[k], b.m[k][0] = 1.0;
  multMatrix(&a, &b, &c);
  EXPECT_EQ(c.m[0][0], 0.0);
  Matrix3x3 d, e, f;
  for (int k = 0; k < 3; ++k) d.m[0][k] = row[k], e.m[k][0] = 1.0;
  multMatrix(&d, &e, &f);
  EXPECT_EQ(f.m[0][0], 0.0);
}

TEST(MatrixProduct, TheOutputMayBeAnInput) {
  RandomGeometry random(3);
  const Matrix4x4 a = random.matrix4(), b = random.matrix4();
  Matrix4x4 c, left = a, right = b, both = a, square;
  multMatrix(&a, &b, &c);
  multMatrix(&left, &b, &left);
  multMatrix(&a, &right, &right);
  multMatrix(&a, &a, &square);
  multMatrix(&both, &both, &both);
  EXPECT_TRUE(sameEntries(left, c));
  EXPECT_TRUE(sameEntries(right, c));
  EXPECT_TRUE(sameEntries(both, square));
  const Matrix3x3 d = random.matrix3(), e = random.matrix3();
  Matrix3x3 f, left3 = d, right3 = e;
  multMatrix(&d, &e, &f);
  multMatrix(&left3, &e, &left3);
  multMatrix(&d, &right3, &right3);
  Matrix3x3 both3 = d, square3;
  multMatrix(&d, &d, &square3);
  multMatrix(&both3, &both3, &both3);
  EXPECT_TRUE(sameEntries(both3, square3));
  EXPECT_TRUE(sameEntries(left3, f));
  EXPECT_TRUE(sameEntries(right3, f));
}

TEST(MatrixProduct, TheLeftFactorActsFirst) {
  Matrix4x4 t, r, c;
  transMatrix(&t, 1.0, 2.0, 3.0);
  quaternionMatrix(1.0, 1.0, 1.0, 1.0, &r);  // x to y to z to x
  multMatrix(&t, &r, &c);
  EXPECT_EQ(transformMatrix(&c, Pnt3(10.0, 20.0, 30.0)), Pnt3(33.0, 11.0, 22.0));
  RandomGeometry random(4);
  for (int i = 0; i < 200; ++i) {
    const Matrix4x4 a = random.matrix4(), b = random.matrix4();
    const double v[4] = {random.number(), random.number(), random.number(), random.number()};
    double va[4], vab[4], once[4];
    Matrix4x4 ab;
    multMatrix(&a, &b, &ab);
    preMultiply(v, &a, va);
    preMultiply(va, &b, vab);
    preMultiply(v, &ab, once);
    // 16 products below 1 on each side, at most 8 roundings in a row.
    EXPECT_TRUE(tolerance::close(vab, once, 4, 16 * 8 * tolerance::epsilon));
  }
}

TEST(MatrixProduct, RowsAndColumnsOfFour) {
  const Matrix4x4 m = counting4();
  const double v[4] = {1.0, -1.0, 2.0, 10.0};
  double out[4];
  postMultiply(&m, v, out);
  const double column[4] = {45.0, 93.0, 141.0, 189.0};
  EXPECT_TRUE(tolerance::sameBits(out, column, 4));
  preMultiply(v, &m, out);
  const double row[4] = {144.0, 156.0, 168.0, 180.0};
  EXPECT_TRUE(tolerance::sameBits(out, row, 4));
}

TEST(MatrixProduct, RowsAndColumnsOfFourInPlace) {
  const Matrix4x4 m = counting4();
  double a[4] = {1.0, -1.0, 2.0, 10.0}, b[4] = {1.0, -1.0, 2.0, 10.0};
  postMultiply(&m, a, a);
  preMultiply(b, &m, b);
  const double column[4] = {45.0, 93.0, 141.0, 189.0}, row[4] = {144.0, 156.0, 168.0, 180.0};
  EXPECT_TRUE(tolerance::sameBits(a, column, 4));
  EXPECT_TRUE(tolerance::sameBits(b, row, 4));
}

TEST(MatrixProduct, ScalesEntryByEntry) {
  const Matrix4x4 a = counting4();
  Matrix4x4 b, c;
  copyScale(&a, -0.5, &b);
  for (auto& row : c.m)
    for (double& x : row) x = 100.0;
  addinScale(&a, 3.0, &c);
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(b.m[i / 4][i % 4], -0.5 * (i + 1));
    EXPECT_EQ(c.m[i / 4][i % 4], 100.0 + 3.0 * (i + 1));
  }
}

}  // namespace
