#include "limber/linalg/SpVec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <map>
#include <random>

#include "limber/linalg/LinComb.h"
#include "tests/linalg/Vectors.h"

static_assert(offsetof(SpVec, maxEntries) == 0 && offsetof(SpVec, numEntries) == sizeof(int),
              "leading fields");
static_assert(offsetof(SpVec, width) == 2 * sizeof(int), "third field");
static_assert(offsetof(SpVec, values) == 16, "values follow, aligned for their pointer");
static_assert(offsetof(SpVec, indices) == 16 + sizeof(Vector), "indices are last");
static_assert(sizeof(SpVec) == 16 + sizeof(Vector) + sizeof(IntVec), "nothing after them");

TEST(SpVec, BeginsEmptyWithRoom) {
  const SpVec row, ten(10);
  EXPECT_EQ(row.maxEntries, 4);
  EXPECT_EQ(row.numEntries, 0);
  EXPECT_EQ(row.width, -1);
  EXPECT_EQ(row.values.size(), 0);
  EXPECT_EQ(row.values.maxSize(), 4);
  EXPECT_EQ(row.indices.size(), 0);
  EXPECT_EQ(row.indices.capacity, 8);
  EXPECT_EQ(ten.maxEntries, 10);
  EXPECT_EQ(ten.values.size(), 0);
  EXPECT_EQ(ten.values.maxSize(), 10);
  EXPECT_EQ(ten.indices.capacity, 14);
}

TEST(SpVec, InitEmptiesAndReserves) {
  SpVec row = rowOf({{1, 1.0}, {2, 2.0}});
  row.init(30);
  EXPECT_EQ(row.maxEntries, 30);
  EXPECT_EQ(row.numEntries, 0);
  EXPECT_EQ(row.width, -1);
  EXPECT_EQ(row.values.size(), 0);
  EXPECT_EQ(row.indices.size(), 0);
  EXPECT_GE(row.values.maxSize(), 30);
  EXPECT_GE(row.indices.capacity, 34);
  row.init(2);
  EXPECT_EQ(row.maxEntries, 2);
  EXPECT_GE(row.indices.capacity, 34);  // storage never shrinks
}

TEST(SpVec, InsertKeepsOrderAndAccumulates) {
  SpVec row;
  row.ins(1.0, 5);
  row.ins(2.0, 2);
  row.ins(3.0, 5);
  EXPECT_EQ(entriesOf(row), (Entries{{2, 2.0}, {5, 4.0}}));
  EXPECT_EQ(row.width, 6);
  EXPECT_EQ(row.values.size(), 2);
  EXPECT_EQ(row.indices.size(), 2);
}

TEST(SpVec, InsertBelowAllOthersComesFirst) {
  SpVec row = rowOf({{7, 1.0}, {9, 2.0}});
  row.ins(3.0, 0);
  EXPECT_EQ(entriesOf(row), (Entries{{0, 3.0}, {7, 1.0}, {9, 2.0}}));
  EXPECT_EQ(row.width, 10);
  row.ins(4.0, 8);
  EXPECT_EQ(entriesOf(row), (Entries{{0, 3.0}, {7, 1.0}, {8, 4.0}, {9, 2.0}}));
  EXPECT_EQ(row.width, 10);
}

TEST(SpVec, TinyValuesAreDropped) {
  SpVec row;
  for (const double x : {5e-13, -5e-13, 1e-12, -1e-12, 0.0, -0.0}) {
    row.ins(x, 3);
    row.insEnd(x, 3);
  }
  EXPECT_EQ(row.numEntries, 0);
  EXPECT_EQ(row.width, -1);
  row.ins(2e-12, 3);
  row.ins(-2e-12, 4);
  row.insEnd(std::nextafter(1e-12, 1.0), 5);
  EXPECT_EQ(row.numEntries, 3);
}

TEST(SpVec, TinyValuesAreNotAddedToAnEntry) {
  SpVec row = rowOf({{3, 2e-12}});
  row.ins(1e-12, 3);
  EXPECT_EQ(row.v(3), 2e-12);
}

TEST(SpVec, AnEntryThatCancelsStays) {
  SpVec row;
  row.ins(1.0, 3);
  row.ins(-1.0, 3);
  EXPECT_EQ(entriesOf(row), (Entries{{3, 0.0}}));
}

TEST(SpVec, NotANumberIsStored) {
  SpVec row;
  row.ins(std::numeric_limits<double>::quiet_NaN(), 2);
  ASSERT_EQ(row.numEntries, 1);
  EXPECT_TRUE(std::isnan(row.v(2)));
}

TEST(SpVec, FullRowDoublesBeforeAnInsertion) {
  SpVec row(2);
  row.ins(1.0, 0);
  row.ins(1.0, 1);
  EXPECT_EQ(row.maxEntries, 2);
  row.ins(1.0, 2);
  EXPECT_EQ(row.maxEntries, 4);
  row.ins(1.0, 3);
  row.ins(5e-13, 4);  // dropped before any growth
  EXPECT_EQ(row.maxEntries, 4);
  row.ins(1.0, 3);  // grows although it only accumulates
  EXPECT_EQ(row.maxEntries, 8);
  EXPECT_EQ(entriesOf(row), (Entries{{0, 1.0}, {1, 1.0}, {2, 1.0}, {3, 2.0}}));
}

TEST(SpVec, AppendTestsNeitherOrderNorRoom) {
  SpVec row(1);
  row.insEnd(1.0, 9);
  row.insEnd(2.0, 4);
  row.insEnd(3.0, 4);
  EXPECT_EQ(entriesOf(row), (Entries{{9, 1.0}, {4, 2.0}, {4, 3.0}}));
  EXPECT_EQ(row.width, 5);
  EXPECT_EQ(row.maxEntries, 1);
  EXPECT_EQ(row.values.size(), 3);
  EXPECT_EQ(row.indices.size(), 3);
}

TEST(SpVec, AppendGrowsTheIndicesToTwiceAndSix) {
  SpVec row(0);
  EXPECT_EQ(row.indices.capacity, 4);
  for (int i = 0; i < 5; ++i) row.insEnd(1.0, i);
  EXPECT_EQ(row.indices.capacity, 14);
  EXPECT_EQ(row.values.maxSize(), 16);
  for (int i = 5; i < 15; ++i) row.insEnd(1.0, i);
  EXPECT_EQ(row.indices.capacity, 34);
}

TEST(SpVec, GrowSetsTheLimitAndKeepsTheEntries) {
  SpVec row = rowOf({{1, 1.0}, {5, 2.0}});
  row.grow(20);
  EXPECT_EQ(row.maxEntries, 20);
  EXPECT_EQ(row.indices.capacity, 24);
  EXPECT_EQ(row.values.maxSize(), 20);
  EXPECT_EQ(entriesOf(row), (Entries{{1, 1.0}, {5, 2.0}}));
  row.grow(22);
  EXPECT_EQ(row.indices.capacity, 24);
  EXPECT_EQ(row.values.maxSize(), 48);
  row.grow(1);
  EXPECT_EQ(row.maxEntries, 1);
  EXPECT_EQ(row.indices.capacity, 24);
  EXPECT_EQ(row.width, 6);
}

TEST(SpVec, InsertionsFindRoomWhateverCameBefore) {
  std::mt19937_64 random(3);
  for (int trial = 0; trial < 400; ++trial) {
    const int first = static_cast<int>(random() % 6) - 1;
    SpVec row(first);
    std::map<int, double> expected;
    int end = 0;
    for (int step = 0; step < 60; ++step) {
      const double x = 1.0 + static_cast<double>(random() % 8);
      switch (random() % 8) {
        case 0:
        case 1:
        case 2:
          row.insEnd(x, end);
          expected[end++] += x;
          break;
        case 3:
          row.grow(static_cast<int>(random() % 9) - 1);
          break;
        case 4:
          row = SpVec(row);
          break;
        default: {
          const int i = static_cast<int>(random() % 40);
          row.ins(x, i);
          expected[i] += x;
          if (i >= end) end = i + 1;
        }
      }
      ASSERT_EQ(entriesOf(row), Entries(expected.begin(), expected.end()));
      ASSERT_EQ(row.width, end > 0 ? end : -1);
      ASSERT_EQ(row.values.size(), row.numEntries);
      ASSERT_EQ(row.indices.size(), row.numEntries);
      ASSERT_LE(row.numEntries, row.values.maxSize());
      ASSERT_LE(row.numEntries, row.indices.capacity);
    }
  }
}

TEST(SpVec, ARowWithoutRoomTakesInsertions) {
  SpVec row(0);
  for (int i = 30; i > 0; --i) row.ins(i, i);
  ASSERT_EQ(row.numEntries, 30);
  for (int k = 0; k < 30; ++k) EXPECT_EQ(row.indices[k], k + 1);
}

TEST(SpVec, ValuesByIndexAndByPosition) {
  SpVec row = rowOf({{4, 1.5}, {8, 2.5}});
  EXPECT_EQ(row.v(4), 1.5);
  EXPECT_EQ(row.v(8), 2.5);
  EXPECT_EQ(row.v(9), 0.0);
  EXPECT_EQ(row.v(0), 0.0);
  EXPECT_EQ(row.e(0), 1.5);
  row.e(1) = 7.0;
  EXPECT_EQ(row.v(8), 7.0);
  EXPECT_EQ(row.vs(), row.values.data);
}

TEST(SpVec, EntriesAreARange) {
  const SpVec row = rowOf({{4, 1.5}, {8, 2.5}, {2, -1.0}});
  Entries seen;
  for (auto [index, value] : row.entries()) seen.emplace_back(index, value);
  EXPECT_EQ(seen, entriesOf(row));
  EXPECT_EQ(row.entries().size(), 3);
  auto next = row.entries().begin();
  EXPECT_EQ((*next++).index, 4);
  EXPECT_EQ((*next).value, 2.5);
  const std::vector<SpVec::Entry> copies(row.entries().begin(), row.entries().end());
  EXPECT_EQ(copies.size(), 3u);
  EXPECT_EQ(copies[2].index, 2);
  SpVec compacted = row;
  compacted.compact(1.2);
  EXPECT_EQ(compacted.entries().size(), 2);
  const SpVec none;
  for (const SpVec::Entry& entry : none.entries()) FAIL() << entry.index;
}

TEST(SpVec, TheFirstOfTwoEntriesAtAnIndexIsFound) { EXPECT_EQ(rowOf({{4, 1.0}, {4, 2.0}}).v(4), 1.0); }

TEST(SpVec, ZeroKeepsTheStorage) {
  SpVec row = rowOf({{1, 1.0}, {2, 1.0}, {3, 1.0}, {4, 1.0}, {5, 1.0}});
  const double* values = row.vs();
  const int* indices = row.indices.data;
  row.zero();
  EXPECT_EQ(row.width, -1);
  EXPECT_EQ(row.numEntries, 0);
  EXPECT_EQ(row.values.size(), 0);
  EXPECT_EQ(row.indices.size(), 0);
  EXPECT_EQ(row.vs(), values);
  EXPECT_EQ(row.indices.data, indices);
  EXPECT_EQ(row.v(1), 0.0);
}

TEST(SpVec, CopiesAreDeepAndHaveRoomForTwoMore) {
  SpVec src(3);
  for (int i = 0; i < 6; ++i) src.insEnd(i + 1.0, 2 * i);
  SpVec copied(src), fromPointer(&src), assigned(50);
  assigned = src;
  src.e(0) = -1.0;
  src.indices[0] = -1;
  for (const SpVec* row : {&copied, &fromPointer, &assigned}) {
    EXPECT_EQ(entriesOf(*row), (Entries{{0, 1.0}, {2, 2.0}, {4, 3.0}, {6, 4.0}, {8, 5.0}, {10, 6.0}}));
    EXPECT_EQ(row->width, 11);
    EXPECT_EQ(row->values.size(), 6);
    EXPECT_EQ(row->indices.size(), 6);
  }
  EXPECT_EQ(copied.maxEntries, 8);
  EXPECT_EQ(fromPointer.maxEntries, 8);
  EXPECT_EQ(assigned.maxEntries, 50);
}

TEST(SpVec, ConstructionFromNoRowIsEmpty) {
  SpVec row(static_cast<const SpVec*>(nullptr));
  EXPECT_EQ(row.maxEntries, 4);
  row.ins(1.0, 0);
  EXPECT_EQ(row.numEntries, 1);
}

TEST(SpVec, SelfAssignmentKeepsTheEntries) {
  SpVec row = rowOf({{1, 1.0}, {2, 2.0}, {3, 3.0}, {4, 4.0}});
  SpVec& same = row;
  row = same;
  EXPECT_EQ(entriesOf(row), (Entries{{1, 1.0}, {2, 2.0}, {3, 3.0}, {4, 4.0}}));
  EXPECT_EQ(row.maxEntries, 6);
  EXPECT_EQ(row.width, 5);
}

TEST(SpVec, CopyOfACompactedRowCountsItsEntries) {
  SpVec src = rowOf({{1, 1.0}, {2, 0.1}, {3, 1.0}});
  src.compact(0.5);
  const SpVec row(src);
  EXPECT_EQ(row.values.size(), 2);
  EXPECT_EQ(row.width, 3);
  EXPECT_EQ(entriesOf(row), (Entries{{1, 1.0}, {3, 1.0}}));
}

TEST(SpVec, ScaleKeepsTinyResults) {
  SpVec row = rowOf({{1, 2.0}, {2, -3.0}});
  row.scale(1e-13);
  EXPECT_EQ(entriesOf(row), (Entries{{1, 2.0 * 1e-13}, {2, -3.0 * 1e-13}}));
  row.scale(0.0);
  EXPECT_EQ(row.numEntries, 2);
}

TEST(SpVec, WidthBehindTheLargestIndexStaysANumber) {
  const int most = std::numeric_limits<int>::max();
  SpVec inserted, appended, out;
  inserted.ins(1.0, most);
  appended.insEnd(2.0, most);
  EXPECT_EQ(inserted.width, most);
  EXPECT_EQ(appended.width, most);
  SpVec* rows[] = {&inserted, &appended, &appended};
  const Vector ones = vectorOf({1.0, 1.0, 1.0});
  linComb(&ones, rows, &out);
  EXPECT_EQ(entriesOf(out), (Entries{{most, 5.0}}));
  EXPECT_EQ(out.width, most);
}
