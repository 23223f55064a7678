#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "limber/geometry/Matrix.h"
#include "tests/geometry/RandomGeometry.h"
#include "tests/support/CapturedOutput.h"

namespace {

const char* const usedTwice = "ERR: GAUSSJ: Singular Matrix4x4*-1 @ (Matrix:260)\n";
const char* const zeroPivot = "ERR: GAUSSJ: Singular Matrix4x4*-2 @ (Matrix:272)\n";
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

double rowSumNorm(const Matrix4x4& a) {
  double norm = 0.0;
  for (const auto& row : a.m)
    norm = std::max(norm, std::fabs(row[0]) + std::fabs(row[1]) + std::fabs(row[2]) + std::fabs(row[3]));
  return norm;
}

// The documented elimination, step by step. The library must reproduce its bits.
int plainInverse(Matrix4x4* M, int* pivots) {
  double(*a)[4] = M->m;
  int used[4] = {0, 0, 0, 0}, rows[4], columns[4], success = 1, r = 0, c = 0;
  for (int step = 0; step < 4; ++step) {
    double big = 0.0;
    for (int i = 0; i < 4; ++i) {
      if (used[i] == 1) continue;
      for (int j = 0; j < 4; ++j) {
        if (used[j] == 0) {
          if (std::fabs(a[i][j]) >= big) big = std::fabs(a[i][j]), r = i, c = j;
        } else if (used[j] > 1) {
          success = 0;
        }
      }
    }
    ++used[c];
    if (r != c)
      for (int j = 0; j < 4; ++j) std::swap(a[r][j], a[c][j]);
    rows[step] = r, columns[step] = c;
    pivots[step] = 4 * r + c;
    if (a[c][c] == 0.0) success = 0;
    const double inverse = 1.0 / a[c][c];
    a[c][c] = 1.0;
    for (int j = 0; j < 4; ++j) a[c][j] *= inverse;
    for (int i = 0; i < 4; ++i) {
      if (i == c) continue;
      const double multiple = a[i][c];
      a[i][c] = 0.0;
      for (int j = 0; j < 4; ++j) a[i][j] -= a[c][j] * multiple;
    }
  }
  for (int step = 3; step >= 0; --step)
    if (rows[step] != columns[step])
      for (int i = 0; i < 4; ++i) std::swap(a[i][rows[step]], a[i][columns[step]]);
  return success;
}

TEST(InvertMatrix, InvertsExactly) {
  Matrix4x4 a;
  a.m[0][0] = 0.0, a.m[0][1] = 2.0;
  a.m[1][0] = -4.0, a.m[1][1] = 0.0;
  a.m[3][0] = 8.0, a.m[3][1] = 1.0, a.m[3][2] = -1.0;
  Matrix4x4 b = a, product;
  CapturedOutput captured;
  EXPECT_EQ(invertMatrix(&b, 1), 1);
  multMatrix(&a, &b, &product);
  EXPECT_TRUE(closeEntries(product, Matrix4x4(), 0.0));
  EXPECT_EQ(captured.err() + captured.out(), "");
}

TEST(InvertMatrix, RandomMatricesTimesTheirInversesAreTheIdentity) {
  RandomGeometry random(21);
  for (int n = 0; n < 2000; ++n) {
    const Matrix4x4 a = random.matrix4();
    Matrix4x4 b = a, product;
    ASSERT_EQ(invertMatrix(&b, 1), 1);
    multMatrix(&a, &b, &product);
    // The error of Gauss-Jordan elimination of order n with full pivoting: |A X - I| <= c n growth eps
    // cond(A), where c is a small number and the growth is below 4.1 for order 4.
    const double tol = 4.0 * 4.0 * 4.1 * tolerance::epsilon * rowSumNorm(a) * rowSumNorm(b);
    EXPECT_TRUE(closeEntries(product, Matrix4x4(), tol));
  }
}

TEST(InvertMatrix, HasTheBitsOfTheDescribedElimination) {
  RandomGeometry random(22);
  int pivots[4];
  for (int n = 0; n < 2000; ++n) {
    Matrix4x4 a = random.matrix4();
    if (n % 2) {  // small integers: many equal magnitudes, and singular ones
      for (auto& row : a.m)
        for (double& x : row) x = std::floor(2.0 * x);
    }
    Matrix4x4 b = a;
    EXPECT_EQ(invertMatrix(&a, 0), plainInverse(&b, pivots));
    EXPECT_TRUE(sameOrBothNan(a, b)) << n;
  }
}

TEST(InvertMatrix, TheLastOfEqualMagnitudesIsThePivot) {
  Matrix4x4 a, first;
  const double entries[4][4] = {
      {3.0, 1.0, -1.0, 2.0}, {1.0, -3.0, 0.1, 1.0}, {0.3, 0.7, 3.0, 1.0}, {1.0, 0.2, 1.0, -3.0}};
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j) a.m[i][j] = entries[i][j];
  Matrix4x4 b = a;
  int pivots[4];
  plainInverse(&b, pivots);
  EXPECT_EQ(pivots[0], 15);  // of the four 3s
  invertMatrix(&a, 0);
  EXPECT_TRUE(sameEntries(a, b));
}

TEST(InvertMatrix, ATinyPivotIsNotZero) {
  CapturedOutput captured;
  Matrix4x4 a, expected;
  a.m[3][3] = 0x1p-1000;
  expected.m[3][3] = 0x1p1000;
  EXPECT_EQ(invertMatrix(&a, 1), 1);
  EXPECT_TRUE(closeEntries(a, expected, 0.0));
  EXPECT_EQ(captured.err(), "");
}

TEST(InvertMatrix, ZeroMatrixReportsEachZeroPivot) {
  CapturedOutput captured;
  Matrix4x4 a;
  for (auto& row : a.m)
    for (double& x : row) x = 0.0;
  Matrix4x4 b = a;
  EXPECT_EQ(invertMatrix(&a, 1), 0);
  // The first pivot, (3, 3), is 0; its row and, through 0 times infinity, the others become NaN or infinite.
  EXPECT_EQ(captured.errCalls()[0], zeroPivot);
  EXPECT_EQ(captured.out(), "");
  captured.clear();
  EXPECT_EQ(invertMatrix(&b, 0), 0);
  EXPECT_EQ(captured.err(), "");
}

TEST(InvertMatrix, SingularMatrixReportsItsZeroPivot) {
  CapturedOutput captured;
  Matrix4x4 a;
  for (int j = 0; j < 4; ++j) a.m[2][j] = a.m[1][j] = j == 1 || j == 2 ? 2.0 : 0.0;
  Matrix4x4 silent = a;
  EXPECT_EQ(invertMatrix(&a, 7), 0);
  EXPECT_EQ(captured.err(), zeroPivot);
  captured.clear();
  EXPECT_EQ(invertMatrix(&silent, 0), 0);
  EXPECT_EQ(captured.err(), "");
}

TEST(InvertMatrix, NanEverywhereUsesAColumnTwice) {
  CapturedOutput captured;
  // Matrices on both sides, so that the sanitizers find invalid indices.
  Matrix4x4 a[3];
  for (auto& row : a[1].m)
    for (double& x : row) x = nan;
  EXPECT_EQ(invertMatrix(&a[1], 1), 0);
  // Steps 1 and 2 both take (0, 0), where the search starts. From step 3 on, the search meets column 0 again
  // in each of the four rows that have been a pivot row a number of times other than 1.
  std::string expected;
  for (int i = 0; i < 8; ++i) expected += usedTwice;
  EXPECT_EQ(captured.err(), expected);
  EXPECT_TRUE(sameEntries(a[0], Matrix4x4()));
  EXPECT_TRUE(sameEntries(a[2], Matrix4x4()));
  for (const auto& row : a[1].m)
    for (double x : row) EXPECT_TRUE(std::isnan(x));
}

TEST(InvertMatrix, OneNanIsNeverAPivotWhileThereAreOthers) {
  Matrix4x4 a;
  a.m[0][1] = nan;
  Matrix4x4 b = a;
  int pivots[4];
  EXPECT_EQ(invertMatrix(&a, 0), plainInverse(&b, pivots));
  EXPECT_EQ(pivots[0], 15);
  EXPECT_TRUE(sameOrBothNan(a, b));
}

TEST(InvertMatrix, RigidTransformsInvertToTheTransposedRotation) {
  RandomGeometry random(23);
  for (int n = 0; n < 200; ++n) {
    const Quat q = random.quat();
    Matrix4x4 a, expected;
    quaternionMatrix(q.w, q.x, q.y, q.z, &a);
    const Pnt3 t = random.point();
    t.toArray(a.m[3]);
    quaternionMatrix(q.w, -q.x, -q.y, -q.z, &expected);
    (q.RotateInv(t) * -1.0).toArray(expected.m[3]);
    ASSERT_EQ(invertMatrix(&a, 1), 1);
    // cond <= 8 for |t| <= sqrt(3); order 4, growth 4.1 as above.
    EXPECT_TRUE(closeEntries(a, expected, 4.0 * 4.0 * 4.1 * 8.0 * tolerance::epsilon));
  }
}

}  // namespace
