// Removing small entries: compact, drop and quantize, and what insertions do afterwards.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

#include "limber/linalg/SpVec.h"
#include "tests/linalg/Vectors.h"

TEST(SpVec, CompactRemovesWhatIsBelow) {
  SpVec row = rowOf({{1, 0.2}, {4, 0.5}, {7, -0.7}});
  row.compact(0.5);
  EXPECT_EQ(entriesOf(row), (Entries{{4, 0.5}, {7, -0.7}}));
  EXPECT_EQ(row.width, 7);
  EXPECT_EQ(row.indices.size(), 2);
  EXPECT_EQ(row.values.size(), 3);
}

TEST(SpVec, CompactToNothingHasWidthZero) {
  SpVec row = rowOf({{1, 0.2}, {4, -0.5}});
  row.compact(1.0);
  EXPECT_EQ(row.numEntries, 0);
  EXPECT_EQ(row.width, 0);
  EXPECT_EQ(row.values.size(), 2);
}

TEST(SpVec, InsertionsAfterCompactLandWhereTheyBelong) {
  SpVec a = rowOf({{1, 0.2}, {4, 0.5}, {7, 0.7}, {9, 0.1}}), b(a), c(a);
  a.compact(0.5);
  a.insEnd(3.0, 11);
  EXPECT_EQ(entriesOf(a), (Entries{{4, 0.5}, {7, 0.7}, {11, 3.0}}));
  EXPECT_EQ(a.values.size(), 3);
  EXPECT_EQ(a.width, 12);
  b.compact(0.5);
  b.ins(3.0, 5);
  EXPECT_EQ(entriesOf(b), (Entries{{4, 0.5}, {5, 3.0}, {7, 0.7}}));
  EXPECT_EQ(b.values.size(), 3);
  EXPECT_EQ(b.width, 7);
  c.compact(0.5);
  c.ins(3.0, 4);
  EXPECT_EQ(entriesOf(c), (Entries{{4, 3.5}, {7, 0.7}}));
  EXPECT_EQ(c.values.size(), 2);
}

TEST(SpVec, AnInsertionAtTheLastIndexAfterCompactIsAddedToIt) {
  SpVec row = rowOf({{4, 0.5}, {7, 0.7}});
  row.compact(0.1);
  row.ins(1.0, 7);
  EXPECT_EQ(entriesOf(row), (Entries{{4, 0.5}, {7, 1.7}}));
  EXPECT_EQ(row.width, 8);
  EXPECT_EQ(row.values.size(), 2);
  row.compact(0.1);
  row.ins(3.0, 8);
  EXPECT_EQ(entriesOf(row), (Entries{{4, 0.5}, {7, 1.7}, {8, 3.0}}));
  EXPECT_EQ(row.width, 9);
}

TEST(SpVec, DropRemovesWhatIsBelowAndKeepsTheWidthBehindTheLastIndex) {
  SpVec row = rowOf({{1, 0.2}, {4, 0.5}, {7, -0.7}, {9, 0.1}});
  row.drop(0.5);
  EXPECT_EQ(entriesOf(row), (Entries{{4, 0.5}, {7, -0.7}}));
  EXPECT_EQ(row.width, 8);
  EXPECT_EQ(row.indices.size(), 2);
  EXPECT_EQ(row.values.size(), 2);
  row.drop(1.0);
  EXPECT_EQ(row.numEntries, 0);
  EXPECT_EQ(row.width, -1);
  row.drop(1.0);
  EXPECT_EQ(row.width, -1);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  SpVec odd = rowOf({{2, nan}, {std::numeric_limits<int>::max(), 1.0}});
  odd.drop(1.0);
  EXPECT_EQ(odd.numEntries, 2);
  EXPECT_EQ(odd.width, std::numeric_limits<int>::max());
}

TEST(SpVec, AnythingKeepsIndicesAscendingButTheAppend) {
  std::mt19937_64 random(4);
  SpVec row;
  std::map<int, double> expected;
  for (int step = 0; step < 4000; ++step) {
    const double threshold = 0.25 * static_cast<double>(random() % 4);
    const auto below = [&](const auto& entry) { return std::fabs(entry.second) < threshold; };
    switch (random() % 12) {
      case 0:
        row.compact(threshold);
        break;
      case 1:
        row.drop(threshold);
        break;
      default: {
        const int i = static_cast<int>(random() % 30);
        const double x = -1.0 + 0.25 * static_cast<double>(random() % 9);
        row.ins(x, i);
        if (x != 0.0) expected[i] += x;
        continue;
      }
    }
    for (auto entry = expected.begin(); entry != expected.end();)
      entry = below(*entry) ? expected.erase(entry) : std::next(entry);
    ASSERT_EQ(entriesOf(row), Entries(expected.begin(), expected.end()));
  }
}

TEST(SpVec, QuantizeRoundsToSteps) {
  SpVec row = rowOf({{3, 0.04}, {4, 0.06}, {6, -0.26}, {8, 0.25}});
  row.quantize(10);
  EXPECT_EQ(entriesOf(row), (Entries{{4, 0.1}, {6, -0.3}, {8, 0.3}}));
  EXPECT_EQ(row.width, 8);
  SpVec gone = rowOf({{3, 0.04}});
  gone.quantize(10);
  EXPECT_EQ(gone.numEntries, 0);
  EXPECT_EQ(gone.width, 0);
  EXPECT_EQ(gone.values.size(), 1);
  gone.ins(5.0, 2);
  EXPECT_EQ(entriesOf(gone), (Entries{{2, 5.0}}));
  EXPECT_EQ(gone.values.size(), 1);
}
