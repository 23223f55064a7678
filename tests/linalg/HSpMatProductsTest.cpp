#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#include "limber/linalg/HSpMat.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/Tolerance.h"

namespace {

TEST(HSpMat, MultGrowsTheResultToTheHeight) {
  OwnRows m({{{0, 2.0}, {2, 1.0}}, {}, {{1, -1.0}}});
  Vector x = vectorOf({1, 10, 100}), y = vectorOf({7, 7, 7, 7, 7, 7});
  m.matrix.mult(&x, &y);
  expectElements(y, {102, 0, -10});
}

TEST(HSpMat, MultTGrowsTheResultToTheWidth) {
  OwnRows m({{{0, 2.0}, {4, 1.0}}, {{1, -1.0}}});
  Vector x = vectorOf({1, 10}), y = vectorOf({7});
  m.matrix.multT(&x, &y);
  expectElements(y, {2, -10, 0, 0, 1});
}

TEST(HSpMat, MultTIntoALongerVectorForgetsWhatItHeld) {
  OwnRows m({{{0, 1.0}}, {{3, 1.0}}});
  Vector x = vectorOf({1, 1}), y = vectorOf({9, 9, 9, 9, 9, 9, 9});
  m.matrix.multT(&x, &y);
  expectElements(y, {1, 0, 0, 1});
}

// The number of rows is public, so a caller may leave out the last rows.
TEST(HSpMat, MultTDoesNotLookBehindTheLastRow) {
  std::vector<Entries> rows(80);
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = {{i < 40 ? 1 : 5000, 2.0}};
  rows[20] = {{100, 3.0}};
  OwnRows m(rows);
  m.matrix.numRows = 40;
  Vector x(40), y;
  x = 1.0;
  m.matrix.multT(&x, &y);
  EXPECT_EQ(101, y.size());
  EXPECT_LT(y.capacity, 5000);
  EXPECT_EQ(3.0, y[100]);
  EXPECT_EQ(2.0 * 39, y[1]);
}

TEST(HSpMat, MultTLeavesOutRowsWithATinyCoefficient) {
  OwnRows m({{{0, 1e30}}, {{1, 3.0}}});
  Vector x = vectorOf({1e-13, 2}), y;
  m.matrix.multT(&x, &y);
  expectElements(y, {0, 6});
  x[0] = -1e-12;
  m.matrix.multT(&x, &y);
  expectElements(y, {0, 6});
  x[0] = 2e-12;
  m.matrix.multT(&x, &y);
  EXPECT_EQ(y[0], 2e-12 * 1e30);
}

TEST(HSpMat, ProductsKeepEachSumsOrder) {
  std::mt19937_64 random(11);
  for (int trial = 0; trial < 60; ++trial) {
    const int h = trial, w = 1 + trial % 37;
    OwnRows m = OwnRows::random(random, h, w, 0.05 + 0.015 * trial);
    const Vector x = randomVector(random, w), xT = randomVector(random, h);
    Vector y, yT, expectedT(m.matrix.width());
    m.matrix.mult(&x, &y);
    m.matrix.multT(&xT, &yT);
    ASSERT_EQ(y.size(), h);
    ASSERT_EQ(yT.size(), m.matrix.width());
    for (int i = 0; i < h; ++i) {
      double sum = 0.0;
      for (const auto& [j, value] : entriesOf(*m.matrix.row(i))) {
        sum += x[j] * value;
        expectedT[j] += xT[i] * value;
      }
      EXPECT_TRUE(tolerance::sameBits(y[i], sum));
    }
    EXPECT_TRUE(tolerance::sameBits(yT.data, expectedT.data, yT.size()));
  }
}

// <A x, y> = <x, A^T y> up to the rounding of sums of n terms below 1 in magnitude.
TEST(HSpMat, ProductsAreAdjoint) {
  std::mt19937_64 random(12);
  for (int trial = 0; trial < 40; ++trial) {
    const int h = 1 + trial, w = 50 - trial;
    OwnRows m = OwnRows::random(random, h, w, 0.4);
    Vector x = randomVector(random, w), y = randomVector(random, h), ax, aty;
    m.matrix.mult(&x, &ax);
    m.matrix.multT(&y, &aty);
    EXPECT_TRUE(tolerance::close(dot(&ax, &y), dot(&x, &aty), 4.0 * h * w * tolerance::epsilon));
  }
}

TEST(HSpMat, EntriesOutsideTheVectorsStorageAreLeftOut) {
  OwnRows m({{{0, 1.0}, {100, 5.0}}, {{0, 2.0}}, {{1, 3.0}}, {{0, 4.0}, {2, 1.0}, {999, 1.0}}, {{1, 1.0}}});
  m.rows[0]->indices[1] = -7;
  Vector x = vectorOf({1, 2, 3}), y;
  m.matrix.mult(&x, &y);
  expectElements(y, {1, 2, 6, 7, 2});
}

// Rows of every length from 0 to 40, some null, some with an entry outside the vector. There are more rows
// than are ever prefetched.
TEST(HSpMat, ProductsOfManyRowsKeepEachSumsOrder) {
  std::mt19937_64 random(29);
  for (const int h : {4095, 4096, 5001, 65537}) {
    const int w = 300;
    std::vector<std::unique_ptr<SpVec>> rows(static_cast<std::size_t>(h));
    HSpMat matrix(0);
    const Vector x = randomVector(random, w), xT = randomVector(random, h);
    Vector y, yT, expected(h), expectedT(w);
    for (int i = 0; i < h; ++i) {
      auto& row = rows[static_cast<std::size_t>(i)];
      const int entries = static_cast<int>(random() % 41);
      if (entries != 7) row = std::make_unique<SpVec>(entries);
      for (int k = 0; row && k < entries; ++k) {
        const int j = static_cast<int>(random() % static_cast<unsigned>(w - 1)) + (i == h / 2 && k == 0);
        row->insEnd(1.0 + static_cast<double>(random() % 1000) / 7.0, j);
        if (random() % 500 == 0) row->indices[row->numEntries - 1] = k % 2 == 0 ? -1 - j : w + 100000 + j;
      }
      if (row) row->width = i % 2 == 0 ? w : i % 50;
      matrix.add(row.get());
      for (int k = 0; row && k < row->numEntries; ++k) {
        const int j = row->indices[k];
        if (j < 0 || j >= w) continue;
        expected[i] += x[j] * row->e(k);
        expectedT[j] += xT[i] * row->e(k);
      }
    }
    matrix.mult(&x, &y);
    matrix.multT(&xT, &yT);
    ASSERT_EQ(y.size(), h);
    ASSERT_EQ(yT.size(), w);
    EXPECT_TRUE(tolerance::sameBits(y.data, expected.data, h));
    EXPECT_TRUE(tolerance::sameBits(yT.data, expectedT.data, w));
  }
}

// The widest row is first, in the middle or last. The vector has values for only some of the rows.
TEST(HSpMat, MultTFindsTheWidthWhereverTheWidestRowIs) {
  for (const int widest : {0, 1, 30, 58, 59}) {
    for (const int values : {0, 5, 31, 60}) {
      std::vector<SpVec> rows(60);
      HSpMat matrix(0);
      Vector x(values), y, roomy(120), expected(100);
      roomy = 5.0;
      for (int i = 0; i < 60; ++i) {
        SpVec& row = rows[static_cast<std::size_t>(i)];
        row.ins(1.0 + i, i / 2);
        row.ins(0.1 * (1 + i), i == widest ? 99 : 40);
        matrix.add(&row);
        if (i >= values) continue;
        x[i] = 0.3 * (i + 1);
        expected[i / 2] += x[i] * (1.0 + i);
        expected[i == widest ? 99 : 40] += x[i] * (0.1 * (1 + i));
      }
      // no rows correspond to the elements between the size and the capacity of x
      for (int i = values; i < x.capacity; ++i) x.data[i] = 0.0;
      matrix.multT(&x, &y);
      matrix.multT(&x, &roomy);
      ASSERT_EQ(y.size(), 100);
      ASSERT_EQ(roomy.size(), 100);
      EXPECT_TRUE(tolerance::sameBits(y.data, expected.data, 100));
      EXPECT_TRUE(tolerance::sameBits(roomy.data, expected.data, 100));
      EXPECT_EQ(roomy.data[100], 0.0);
      EXPECT_EQ(roomy.data[101], 5.0);
    }
  }
}

// SpVec::compact makes the width one smaller, so the last entry has no place in the result.
TEST(HSpMat, MultTAfterCompactKeepsToTheWidth) {
  OwnRows m({{{0, 1.0}, {39, 2.0}}});
  m.rows[0]->compact(0.5);
  ASSERT_EQ(m.matrix.width(), 39);
  Vector x = vectorOf({1}), y;
  m.matrix.multT(&x, &y);
  EXPECT_EQ(y.size(), 39);
  EXPECT_EQ(y[0], 1.0);
  // A wider row that follows makes the place visible, with the value that was added to it.
  m.add(rowOf({{49, 1.0}}));
  Vector x2 = vectorOf({1, 1}), bare, roomy(60);
  roomy = 5.0;
  for (Vector* y2 : {&bare, &roomy}) {
    m.matrix.multT(&x2, y2);
    EXPECT_EQ(y2->size(), 50);
    EXPECT_EQ((*y2)[0], 1.0);
    EXPECT_EQ((*y2)[39], 2.0);
    EXPECT_EQ((*y2)[40], 0.0);
    EXPECT_EQ((*y2)[49], 1.0);
  }
}

// A product with compacted rows reads the slot after its operand. Here the operand is the result of the
// transposed product, in storage that used to be longer.
TEST(HSpMat, ProductsAfterCompactDoNotSeeWhatTheStorageHeldBefore) {
  std::mt19937_64 random(77);
  for (int trial = 0; trial < 60; ++trial) {
    const int h = 1 + static_cast<int>(random() % 40), w = 1 + static_cast<int>(random() % 40);
    OwnRows m = OwnRows::random(random, h, w, 0.3);
    for (const auto& row : m.rows) row->compact(0.2);
    const Vector x = randomVector(random, h);
    Vector fresh, used(w + 50), freshOut, usedOut(h + 50);
    used = 3.0;
    usedOut = 3.0;
    m.matrix.multT(&x, &fresh);
    m.matrix.multT(&x, &used);
    ASSERT_EQ(used.size(), m.matrix.width());
    ASSERT_TRUE(tolerance::sameBits(used.data, fresh.data, fresh.size()));
    EXPECT_EQ(used.data[used.size()], 0.0);
    m.matrix.mult(&fresh, &freshOut);
    m.matrix.mult(&used, &usedOut);
    ASSERT_TRUE(tolerance::sameBits(usedOut.data, freshOut.data, h));
    EXPECT_EQ(usedOut.data[h], 0.0);
    EXPECT_EQ(usedOut.data[h + 1], 3.0);
  }
}

// Entries at random places, so that the width of a row says little about its indices.
TEST(HSpMat, ProductsWithUnsortedRowsTakeEveryEntryInsideTheWidth) {
  std::mt19937_64 random(78);
  for (int trial = 0; trial < 200; ++trial) {
    const int h = 1 + static_cast<int>(random() % 50), w = 1 + static_cast<int>(random() % 60);
    OwnRows m;
    int width = 0;
    for (int i = 0; i < h; ++i) {
      SpVec row;
      for (int k = static_cast<int>(random() % 12); k > 0; --k)
        row.insEnd(0.5 + static_cast<double>(random() % 100) / 7.0,
                   static_cast<int>(random() % static_cast<unsigned>(w)));
      width = std::max(width, row.width);
      m.add(row);
    }
    const Vector x = randomVector(random, h);
    Vector expected(width), fresh, used(w + 50);
    used = 3.0;
    for (int i = 0; i < h; ++i) {
      for (const auto& [j, value] : entriesOf(*m.rows[static_cast<std::size_t>(i)])) {
        if (j < width) expected[j] += x[i] * value;
      }
    }
    m.matrix.multT(&x, &fresh);
    m.matrix.multT(&x, &used);
    for (const Vector* y : {&fresh, &used}) {
      ASSERT_EQ(y->size(), width);
      EXPECT_TRUE(tolerance::sameBits(y->data, expected.data, width));
    }
  }
}

}  // namespace
