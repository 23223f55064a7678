#include "limber/linalg/ResizeMatrix.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "limber/linalg/DenseProducts.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"

namespace {

using Rows = std::vector<std::vector<double>>;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(ResizeMatrix, allocated) >= offsetof(FullMatrix, data) + sizeof(double*));
#pragma GCC diagnostic pop

TEST(ResizeMatrix, ShapedOneHoldsItsElements) {
  const ResizeMatrix m(3, 4);
  EXPECT_EQ(m.allocated, 12);
  EXPECT_EQ(m.kind, 0);
  EXPECT_EQ(elementsOf(m), (Rows{{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}));
}

TEST(ResizeMatrix, StorageOnlyHoldsNDoubles) {
  ResizeMatrix m(9);
  EXPECT_EQ(m.allocated, 9);
  EXPECT_EQ(m.rows(), 0);
  EXPECT_EQ(m.columns(), 0);
  double* const storage = m.data;
  m.grow(3, 3);
  EXPECT_EQ(m.data, storage);
  EXPECT_EQ(ResizeMatrix(0).allocated, 0);
}

TEST(ResizeMatrix, OfAFullMatrixCopiesIt) {
  FullMatrix source = matrixOf({{1, 2, 3}, {4, 5, 6}});
  source.kind = 3;
  const ResizeMatrix copy(source);
  EXPECT_EQ(copy.allocated, 6);
  EXPECT_EQ(copy.kind, 3);
  EXPECT_EQ(elementsOf(copy), elementsOf(source));
  EXPECT_NE(copy.data, source.data);
  const ResizeMatrix product(source + source);
  EXPECT_EQ(product.allocated, 6);
  EXPECT_EQ(product.kind, 0);
  EXPECT_EQ(elementsOf(product), (Rows{{2, 4, 6}, {8, 10, 12}}));
  EXPECT_EQ(ResizeMatrix(FullMatrix(0, 5)).allocated, 0);
  ResizeMatrix grown(source);
  double* const storage = grown.data;
  grown.grow(3, 2);
  EXPECT_EQ(grown.data, storage);
}

TEST(ResizeMatrix, GrowKeepsTheArrayWhileItFits) {
  ResizeMatrix m(4, 4);
  double* const storage = m.data;
  m.grow(2, 8);
  EXPECT_EQ(m.data, storage);
  EXPECT_EQ(m.allocated, 16);
  EXPECT_EQ(m.rows(), 2);
  EXPECT_EQ(m.columns(), 8);
  m.grow(1, 2);
  EXPECT_EQ(m.allocated, 16);
  m.grow(5, 5);
  EXPECT_EQ(m.allocated, 25);
  m.zero();
  EXPECT_EQ(m.trace(), 0.0);
}

TEST(ResizeMatrix, GrowSetsTheKindByTheShape) {
  ResizeMatrix m(2, 2);
  m.grow(0, 7);
  EXPECT_EQ(m.kind, 1);
  for (const int rows : {1, 2}) {
    m.kind = 3;
    m.grow(rows, 1);
    EXPECT_EQ(m.kind, 0);
  }
}

TEST(ResizeMatrix, GrownOneHasItsSpareElement) {
  ResizeMatrix m(1, 1);
  m.grow(3, 3);
  m.zero();
  m(2, 3) = 1.0;
  EXPECT_EQ(m(2, 3), 1.0);
}

// Unchecked operations reach rows outside the shape that the storage still holds, and no others.
TEST(ResizeMatrix, PlacesBehindTheShapeAreReachedWhereTheStorageHoldsThem) {
  ResizeMatrix m(3, 2);
  m.grow(1, 2);
  Vector v = vectorOf({7, 8});
  CapturedOutput output;
  for (const int r : {2, 3, -1}) m.putRow(r, &v);
  EXPECT_EQ(output.errCalls().size(), 3u);
  EXPECT_EQ(m.data[4], 7.0);
  EXPECT_EQ(m.data[5], 8.0);
  EXPECT_EQ(m.acc(2, 1), 8.0);
  EXPECT_EQ(m.acc(4, 0), 0.0);
  // c is 1 x 2: r runs below 2, s below 1, so the second place is in the row after the only one.
  FullMatrix a = matrixOf({{3}, {4}}), b = matrixOf({{5}, {6}});
  nmult(a, b, m);
  EXPECT_EQ(m.data[2], a.acc(1, 0) * b.acc(0, 0) + a.acc(1, 1) * b.acc(1, 0));
}

// A wrong capacity would make the next grow write outside the array.
void expectTrueCapacity(ResizeMatrix& m, int capacity) {
  EXPECT_EQ(m.allocated, capacity);
  m.grow(1, capacity);
  for (int j = 0; j < capacity; ++j) m.e(0, j) = j;
  EXPECT_EQ(m.allocated, capacity);
}

TEST(ResizeMatrix, CopyKnowsItsOwnCapacity) {
  ResizeMatrix m(4, 4);
  m.grow(2, 2);
  m.identity();
  ResizeMatrix copy(m);
  EXPECT_EQ(elementsOf(copy), (Rows{{1, 0}, {0, 1}}));
  expectTrueCapacity(copy, 4);
  expectTrueCapacity(m, 16);
}

TEST(ResizeMatrix, CopyOfATemporaryTakesStorageAndCapacity) {
  ResizeMatrix m(4, 4);
  m.grow(2, 2);
  m.kind = 2;
  double* const storage = m.data;
  ResizeMatrix copy(m);
  EXPECT_EQ(copy.data, storage);
  EXPECT_EQ(m.allocated, 0);
  expectTrueCapacity(copy, 16);
}

TEST(ResizeMatrix, AssignmentKnowsTheNewCapacity) {
  ResizeMatrix m(5, 5), other(1, 2);
  m = other;
  expectTrueCapacity(m, 2);
}

TEST(ResizeMatrix, AssignmentThroughTheBaseDoesToo) {
  ResizeMatrix m(5, 5);
  FullMatrix& base = m;
  base = matrixOf({{1, 2, 3}});
  EXPECT_EQ(elementsOf(m), (Rows{{1, 2, 3}}));
  expectTrueCapacity(m, 3);
}

TEST(ResizeMatrix, TakesTheResultOfAnOperator) {
  ResizeMatrix m(1, 1);
  m = matrixOf({{1, 2}}) + matrixOf({{3, 4}});
  EXPECT_EQ(elementsOf(m), (Rows{{4, 6}}));
  expectTrueCapacity(m, 2);
}

TEST(ResizeMatrix, ProductInPlaceKnowsTheNewCapacity) {
  ResizeMatrix m(5, 5);
  m.grow(1, 2);
  m.e(0, 0) = m.e(0, 1) = 1.0;
  m *= matrixOf({{1, 2, 3}, {4, 5, 6}});
  EXPECT_EQ(elementsOf(m), (Rows{{5, 7, 9}}));
  expectTrueCapacity(m, 3);
}

TEST(ResizeMatrix, TransposeInPlaceKnowsTheNewCapacity) {
  ResizeMatrix m(5, 5);
  m.grow(1, 2);
  m.e(0, 0) = 1.0;
  m.e(0, 1) = 2.0;
  m.transposeInPlace();
  EXPECT_EQ(elementsOf(m), (Rows{{1}, {2}}));
  expectTrueCapacity(m, 2);
}

TEST(ResizeMatrix, GrowsAgainAfterItsStorageWasTakenOver) {
  ResizeMatrix m(3, 3);
  m.kind = 2;
  const FullMatrix taken(m);
  EXPECT_EQ(m.data, nullptr);
  m.grow(2, 2);
  ASSERT_NE(m.data, nullptr);
  expectTrueCapacity(m, 4);
}

}  // namespace
