#include "limber/linalg/HSpMat.h"

#include <gtest/gtest.h>

#include <cstddef>

#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(HSpMat, numRows) == sizeof(void*));
static_assert(offsetof(HSpMat, rowCapacity) == sizeof(void*) + sizeof(int));
static_assert(offsetof(HSpMat, rows) == sizeof(void*) + 2 * sizeof(int));
static_assert(sizeof(HSpMat) == 2 * sizeof(void*) + 2 * sizeof(int));
#pragma GCC diagnostic pop

TEST(HSpMat, EmptyOneHasNothing) {
  HSpMat m(0);
  EXPECT_EQ(m.numRows, 0);
  EXPECT_EQ(m.rowCapacity, 0);
  EXPECT_EQ(m.rows, nullptr);
  EXPECT_EQ(m.height(), 0);
  EXPECT_EQ(m.width(), 0);
  EXPECT_EQ(m.left(), 0);
}

TEST(HSpMat, SizedOneStartsWithThatManySlots) {
  HSpMat m(3);
  EXPECT_EQ(m.height(), 3);
  EXPECT_EQ(m.rowCapacity, 3);
  SpVec row = rowOf({{4, 2.0}});
  for (int i = 0; i < 3; ++i) m.rows[i] = &row;
  EXPECT_EQ(m.width(), 5);
}

TEST(HSpMat, SlotsNotFilledYetAreEmptyRows) {
  HSpMat m(6);
  Vector x = vectorOf({1}), y, xT(6);
  xT = 1.0;
  m.mult(&x, &y);
  expectElements(y, {0, 0, 0, 0, 0, 0});
  m.multT(&xT, &y);
  expectElements(y, {});
  EXPECT_EQ(m.acc(1, 1), 0.0);
  m.scalar(2.0);
}

TEST(HSpMat, NegativeSizeHoldsNothing) {
  HSpMat m(-2);
  EXPECT_EQ(m.height(), -2);
  EXPECT_EQ(m.rowCapacity, 0);
  SpVec row;
  m.add(&row);
  EXPECT_EQ(m.height(), 1);
  EXPECT_EQ(m.row(0), &row);
}

TEST(HSpMat, AddAppendsThePointerAndGrowsBy2RowsPlus6) {
  HSpMat m(0);
  SpVec rows[7];
  m.add(&rows[0]);
  EXPECT_EQ(m.rowCapacity, 6);
  for (int i = 1; i < 6; ++i) m.add(&rows[i]);
  EXPECT_EQ(m.rowCapacity, 6);
  m.add(&rows[6]);
  EXPECT_EQ(m.rowCapacity, 18);
  for (int i = 0; i < 7; ++i) EXPECT_EQ(m.row(i), &rows[i]);
}

TEST(HSpMat, WidthIsTheLargestAndLeftTheSmallestFirstIndex) {
  OwnRows m({{{3, 1.0}, {5, 1.0}}, {}, {{2, 1.0}}, {{7, 1.0}}});
  EXPECT_EQ(m.matrix.width(), 8);
  EXPECT_EQ(m.matrix.width(0, 3), 6);
  EXPECT_EQ(m.matrix.width(2, 2), 0);
  EXPECT_EQ(m.matrix.left(), 2);
  EXPECT_EQ(m.matrix.left(0, 2), 3);
  EXPECT_EQ(m.matrix.left(3, 4), 7);
  EXPECT_EQ(m.matrix.left(1, 2), 0);
}

TEST(HSpMat, LeftDoesNotSeeWhatARowWithoutEntriesStillHolds) {
  SpVec emptied, row;
  emptied.ins(1.0, 1);
  emptied.numEntries = 0;
  row.ins(1.0, 4);
  HSpMat matrix(0);
  matrix.add(&emptied);
  matrix.add(&row);
  EXPECT_EQ(matrix.left(), 4);
}

TEST(HSpMat, LeftIsFoundWhereverItsRowIs) {
  for (int least = 0; least < 4; ++least) {
    HSpMat matrix(0);
    SpVec rows[4];
    for (int i = 0; i < 4; ++i) {
      rows[i].ins(1.0, i == least ? 2 : 5 + i);
      matrix.add(&rows[i]);
    }
    EXPECT_EQ(matrix.left(), 2);
    EXPECT_EQ(matrix.left(0, 4), 2);
    EXPECT_EQ(matrix.left(least, least + 1), 2);
    EXPECT_EQ(matrix.left(least + 1, 4), least < 3 ? 6 + least : 0);
  }
}

TEST(HSpMat, AccOfAnAbsentEntryIsZero) {
  OwnRows m({{{3, 1.5}}});
  EXPECT_EQ(m.matrix.acc(0, 3), 1.5);
  EXPECT_EQ(m.matrix.acc(0, 2), 0.0);
  EXPECT_EQ(m.matrix.acc(5, 3), 0.0);
  EXPECT_EQ(m.matrix.acc(-1, 3), 0.0);
}

TEST(HSpMat, ScalarScalesEveryRow) {
  OwnRows m({{{0, 1.0}}, {{1, 2.0}}});
  m.matrix.scalar(3.0);
  EXPECT_EQ(m.matrix.acc(0, 0), 3.0);
  EXPECT_EQ(m.matrix.acc(1, 1), 6.0);
}

TEST(HSpMat, ClearKeepsTheArrayOrMakesOneOf5) {
  OwnRows m({{{0, 1.0}}});
  SpVec** const array = m.matrix.rows;
  m.matrix.clear();
  EXPECT_EQ(m.matrix.height(), 0);
  EXPECT_EQ(m.matrix.rows, array);
  HSpMat bare(0);
  bare.clear();
  EXPECT_EQ(bare.rowCapacity, 5);
  EXPECT_NE(bare.rows, nullptr);
}

TEST(HSpMat, CopiesShareTheArrayUntilOneGrows) {
  SpVec row = rowOf({{1, 2.0}});
  HSpMat m(0);
  m.add(&row);
  HSpMat copy(m);
  EXPECT_EQ(copy.rows, m.rows);
  EXPECT_EQ(copy.rowCapacity, 6);
  for (int i = 0; i < 6; ++i) copy.add(&row);
  EXPECT_NE(copy.rows, m.rows);
  EXPECT_EQ(m.height(), 1);
  EXPECT_EQ(m.row(0), &row);
  m = copy;
  EXPECT_EQ(m.rows, copy.rows);
  EXPECT_EQ(m.height(), 7);
  HSpMat& same = m;
  m = same;
  EXPECT_EQ(m.row(6), &row);
}

TEST(HSpMat, PrintShowsEveryRow) {
  OwnRows m({{{1, 2.0}}, {{0, 1.0}, {3, -4.5}}});
  CapturedOutput output;
  m.matrix.print();
  const std::string all = output.out();
  output.clear();
  m.matrix.row(0)->print();
  m.matrix.row(1)->print();
  EXPECT_EQ(all, output.out());
  EXPECT_NE(all.find("(3 -4.50)"), std::string::npos);
}

TEST(HSpMat, PortrayShowsAtMost12Columns) {
  OwnRows m({{{0, 1.0}}, {{20, 2.0}}});
  CapturedOutput output;
  m.matrix.portray();
  EXPECT_EQ(output.out(), "[1 0 0 0 0 0 0 0 0 0 0 0 ...]\n[0 0 0 0 0 0 0 0 0 0 0 0 ...]\n");
  OwnRows narrow({{{1, 3.0}}});
  output.clear();
  narrow.matrix.portray();
  EXPECT_EQ(output.out(), "[0 3 ...]\n");
}

TEST(HSpMat, PrintStatsSumsEntriesAndSquaredMagnitudes) {
  OwnRows m({{{0, 3.0}, {4, 4.0}}, {{1, 2.0}}});
  CapturedOutput output;
  m.matrix.printStats();
  EXPECT_EQ(output.out(), "HSpMat (2 5) (3 non-zero, 29 total MaqSq)\n");
}

}  // namespace
