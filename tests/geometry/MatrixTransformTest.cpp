#include "limber/geometry/MatrixTransform.h"

#include <gtest/gtest.h>

#include "limber/linalg/LinComb.h"
#include "limber/linalg/SpVec.h"
#include "tests/geometry/RandomGeometry.h"

namespace {

const Matrix4x4 M = counting4();

TEST(MatrixTransform, PlanePoint) {
  double x = 0.0, y = 0.0;
  transformMatrix(&M, 2.0, 3.0, x, y);
  EXPECT_EQ(x, 2.0 * 1 + 3.0 * 5 + 13);
  EXPECT_EQ(y, 2.0 * 2 + 3.0 * 6 + 14);
}

TEST(MatrixTransform, HomogeneousPoint) {
  double x = 0.0, y = 0.0, z = 0.0;
  transformMatrix(&M, 2.0, 3.0, -1.0, x, y, z);
  EXPECT_EQ(Pnt3(x, y, z), Pnt3(2.0 + 15 - 9 + 13, 4.0 + 18 - 10 + 14, 6.0 + 21 - 11 + 15));
}

TEST(MatrixTransform, FourComponentsWithoutDivision) {
  double x = 0.0, y = 0.0, z = 0.0, w = 0.0;
  transformMatrix(&M, 2.0, 3.0, -1.0, 2.0, x, y, z, w);
  EXPECT_EQ(Pnt3(x, y, z), Pnt3(2.0 + 15 - 9 + 26, 4.0 + 18 - 10 + 28, 6.0 + 21 - 11 + 30));
  EXPECT_EQ(w, 8.0 + 24 - 12 + 32);
}

TEST(MatrixTransform, DirectionsAreNotTranslated) {
  double x = 0.0, y = 0.0, z = 0.0;
  transformMatrixNH(&M, 2.0, 3.0, -1.0, x, y, z);
  EXPECT_EQ(Pnt3(x, y, z), Pnt3(2.0 + 15 - 9, 4.0 + 18 - 10, 6.0 + 21 - 11));
}

TEST(MatrixTransform, TransposeTakesColumnsWithTheLastAsTranslation) {
  double x = 0.0, y = 0.0, z = 0.0;
  transformTransposeMatrix(&M, 2.0, 3.0, -1.0, x, y, z);
  EXPECT_EQ(Pnt3(x, y, z), Pnt3(2.0 + 6 - 3 + 4, 10.0 + 18 - 7 + 8, 18.0 + 30 - 11 + 12));
}

TEST(MatrixTransform, TranslationMovesPointsAndNotDirections) {
  Matrix4x4 t;
  transMatrix(&t, 1.0, 2.0, 3.0);
  double x = 9.0, y = 9.0, z = 9.0;
  transformMatrix(&t, 0.0, 0.0, 0.0, x, y, z);
  EXPECT_EQ(Pnt3(x, y, z), Pnt3(1.0, 2.0, 3.0));
  transformMatrixNH(&t, 0.0, 0.0, 0.0, x, y, z);
  EXPECT_EQ(Pnt3(x, y, z), Pnt3());
}

TEST(MatrixTransform, PointsGoThroughTheSameFormulas) {
  const Pnt3 p(2.0, 3.0, -1.0), moved(21.0, 26.0, 31.0), turned(8.0, 12.0, 16.0);
  Pnt3 out;
  EXPECT_EQ(transformMatrix(&M, p), moved);
  trans(&M, p, out);
  EXPECT_EQ(out, moved);
  transNH(&M, p, out);
  EXPECT_EQ(out, turned);
  const Matrix3x3 r = counting3();
  EXPECT_EQ(transformMatrix(&r, p), Pnt3(2.0 + 12 - 7, 4.0 + 15 - 8, 6.0 + 18 - 9));
}

TEST(MatrixTransform, OutputsMayBeInputs) {
  double x = 2.0, y = 3.0, z = -1.0, w = 2.0;
  transformMatrix(&M, x, y, x, y);
  EXPECT_EQ(x, 30.0);
  EXPECT_EQ(y, 36.0);
  x = 2.0, y = 3.0;
  transformMatrix(&M, x, y, z, x, y, z);
  EXPECT_EQ(Pnt3(x, y, z), Pnt3(21.0, 26.0, 31.0));
  x = 2.0, y = 3.0, z = -1.0;
  transformMatrix(&M, x, y, z, w, y, x, w, z);  // in another order
  EXPECT_EQ(Pnt3(y, x, w), Pnt3(34.0, 40.0, 46.0));
  EXPECT_EQ(z, 52.0);
  Pnt3 p(2.0, 3.0, -1.0);
  trans(&M, p, p);
  EXPECT_EQ(p, Pnt3(21.0, 26.0, 31.0));
  p.set(2.0, 3.0, -1.0);
  transNH(&M, p, p);
  EXPECT_EQ(p, Pnt3(8.0, 12.0, 16.0));
  // The outputs are entries of the matrix itself.
  Matrix4x4 own = counting4();
  transformTransposeMatrix(&own, 2.0, 3.0, -1.0, own.m[0][0], own.m[1][0], own.m[2][0]);
  EXPECT_EQ(Pnt3(own.m[0][0], own.m[1][0], own.m[2][0]), Pnt3(9.0, 29.0, 49.0));
}

// Fills a row with (index, value) pairs.
void fill(SpVec* row, std::initializer_list<std::pair<int, double>> entries) {
  row->zero();
  for (const auto& [index, value] : entries) row->ins(value, index);
}

::testing::AssertionResult holds(const SpVec& row, std::initializer_list<std::pair<int, double>> entries) {
  if (row.numEntries != static_cast<int>(entries.size()))
    return ::testing::AssertionFailure() << row.numEntries << " entries";
  int k = 0;
  for (const auto& [index, value] : entries) {
    if (row.indices[k] != index || !(row.values[k] == value))
      return ::testing::AssertionFailure()
             << "entry " << k << " is (" << row.indices[k] << ", " << row.values[k] << ")";
    ++k;
  }
  return ::testing::AssertionSuccess();
}

TEST(TransformMatrixMatrix, PlaneRows) {
  SpVec a, b, oa, ob;
  fill(&a, {{0, 1.0}, {3, 2.0}});
  fill(&b, {{3, 10.0}, {7, 1.0}});
  fill(&oa, {{99, 5.0}});
  transformMatrixMatrix(&M, &a, &b, &oa, &ob);
  EXPECT_TRUE(holds(oa, {{0, 1.0}, {3, 2.0 + 50.0}, {7, 5.0}}));
  EXPECT_TRUE(holds(ob, {{0, 2.0}, {3, 4.0 + 60.0}, {7, 6.0}}));
}

TEST(TransformMatrixMatrix, PlaneRowsLoseIndicesFromTenThousandOn) {
  SpVec a, b, oa, ob;
  fill(&a, {{9999, 1.0}, {10001, 1.0}});
  fill(&b, {{9999, 1.0}, {10001, 1.0}});
  transformMatrixMatrix(&M, &a, &b, &oa, &ob);
  EXPECT_TRUE(holds(oa, {{9999, 6.0}}));
  EXPECT_TRUE(holds(ob, {{9999, 8.0}}));
}

TEST(TransformMatrixMatrix, SpaceRows) {
  SpVec a, b, c, oa, ob, oc;
  fill(&a, {{0, 1.0}, {3, 2.0}});
  fill(&b, {{3, 10.0}, {7, 1.0}});
  fill(&c, {{1, 1.0}, {3, 1.0}});
  transformMatrixMatrix(&M, &a, &b, &c, &oa, &ob, &oc);
  EXPECT_TRUE(holds(oa, {{0, 1.0}, {1, 9.0}, {3, 2.0 + 50.0 + 9.0}, {7, 5.0}}));
  EXPECT_TRUE(holds(ob, {{0, 2.0}, {1, 10.0}, {3, 4.0 + 60.0 + 10.0}, {7, 6.0}}));
  EXPECT_TRUE(holds(oc, {{0, 3.0}, {1, 11.0}, {3, 6.0 + 70.0 + 11.0}, {7, 7.0}}));
}

TEST(TransformMatrixMatrix, SpaceRowsKeepLargeIndicesOnlyWithThreeTerms) {
  SpVec a, b, c, oa, ob, oc;
  fill(&a, {{10001, 1.0}});
  fill(&b, {{10001, 1.0}});
  fill(&c, {{20000, 1.0}});
  Matrix4x4 m = counting4();
  m.m[2][0] = 0.0;  // the first output has two terms
  transformMatrixMatrix(&m, &a, &b, &c, &oa, &ob, &oc);
  EXPECT_TRUE(holds(oa, {}));
  EXPECT_TRUE(holds(ob, {{10001, 8.0}, {20000, 10.0}}));
  EXPECT_TRUE(holds(oc, {{10001, 10.0}, {20000, 11.0}}));
}

TEST(TransformMatrixMatrix, AnEmptySpaceRowLeavesTwoTermsAndTwoLeaveOne) {
  SpVec a, b, c, oa, ob, oc;
  fill(&a, {{3, 1.0}, {10001, 1.0}});
  fill(&b, {{10001, 1.0}});
  transformMatrixMatrix(&M, &a, &b, &c, &oa, &ob, &oc);
  EXPECT_TRUE(holds(oa, {{3, 1.0}}));
  EXPECT_TRUE(holds(ob, {{3, 2.0}}));
  EXPECT_TRUE(holds(oc, {{3, 3.0}}));
  fill(&a, {});
  transformMatrixMatrix(&M, &a, &b, &c, &oa, &ob, &oc);
  EXPECT_TRUE(holds(oa, {{10001, 5.0}}));
  EXPECT_TRUE(holds(ob, {{10001, 6.0}}));
  EXPECT_TRUE(holds(oc, {{10001, 7.0}}));
}

TEST(TransformMatrixMatrix, TinyEntriesAndRowsWithoutTermsAreEmpty) {
  SpVec a, b, c, oa, ob, oc;
  fill(&a, {{1, 1.0}, {2, 1.0}});
  fill(&b, {{1, -1.0 + 1e-13}, {2, 1.0}});
  Matrix4x4 m;
  m.m[1][0] = 1.0, m.m[1][1] = m.m[2][2] = 0.0;
  fill(&ob, {{4, 1.0}});
  transformMatrixMatrix(&m, &a, &b, &oa, &ob);
  EXPECT_TRUE(holds(oa, {{2, 2.0}}));
  EXPECT_TRUE(holds(ob, {}));
  fill(&c, {{1, 1e-13}, {7, 1.0}});
  fill(&oc, {{4, 1.0}});
  m.m[2][0] = 1.0;
  transformMatrixMatrix(&m, &a, &b, &c, &oa, &ob, &oc);
  EXPECT_TRUE(holds(oa, {{2, 2.0}, {7, 1.0}}));
  EXPECT_TRUE(holds(oc, {}));
}

TEST(TransformMatrixMatrix, SpaceRowsGoThroughLinComb) {
  SpVec a, b, c, oa, ob, oc;
  fill(&a, {{0, 1.0}});
  fill(&b, {{0, 1.0}});
  fill(&c, {{0, 1.0}});
  const int before[4] = {linCombStats[0], linCombStats[1], linCombStats[2], linCombStats[3]};
  const Matrix4x4 identity;  // one term an output
  transformMatrixMatrix(&identity, &a, &b, &c, &oa, &ob, &oc);
  EXPECT_EQ(linCombStats[0] - before[0], 3);
  EXPECT_EQ(linCombStats[2] - before[2], 3);
}

TEST(TransformMatrixMatrix, DerivativeRowsFollowThePoint) {
  // The rows of a point p(v) = p0 + v0 d0 + v1 d1 transformed are the transformed d0 and d1.
  RandomGeometry random(8);
  for (int i = 0; i < 100; ++i) {
    const Matrix4x4 m = random.matrix4();
    const Pnt3 d0 = random.point(), d1 = random.point();
    SpVec rows[3], out[3];
    for (int k = 0; k < 3; ++k) {
      rows[k].ins(d0.v()[k], 4);
      rows[k].ins(d1.v()[k], 9);
    }
    transformMatrixMatrix(&m, &rows[0], &rows[1], &rows[2], &out[0], &out[1], &out[2]);
    Pnt3 t0, t1;
    transNH(&m, d0, t0);
    transNH(&m, d1, t1);
    for (int k = 0; k < 3; ++k) {
      // linComb adds the same three products in another order.
      EXPECT_TRUE(tolerance::close(out[k].v(4), t0.v()[k], 6 * tolerance::epsilon));
      EXPECT_TRUE(tolerance::close(out[k].v(9), t1.v()[k], 6 * tolerance::epsilon));
    }
  }
}

}  // namespace
