#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <utility>

#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/OwnProcess.h"

namespace {

// The numbers that printVectorResizeStats prints, which count since the program began.
struct Statistics {
  int total = -1;
  std::map<std::pair<int, int>, int> repeats;
  std::string text;

  Statistics() : text(capturedStdout(printVectorResizeStats)) {
    std::sscanf(text.c_str(), "There were %d resizes!\n", &total);
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    std::pair<int, int> key;
    int count;
    while (std::getline(lines, line))
      if (std::sscanf(line.c_str(), " %d : %d - %d", &key.first, &key.second, &count) == 3)
        repeats[key] = count;
  }
};

void reallocate(int requested, int oldCapacity) {
  Vector v(0, oldCapacity);
  v.resize(requested);
}

}  // namespace

TEST(VectorStatistics, CountFromZero) {
  if (!inOwnProcess()) return;
  EXPECT_EQ(Statistics().text, "There were 0 resizes!\n");
}

TEST(VectorStatistics, TheFirstOfAPairCountsZero) {
  if (!inOwnProcess()) return;
  const Statistics before;
  ASSERT_EQ(before.repeats.count({6006, 5005}), 0u);
  reallocate(6006, 5005);
  const Statistics first;
  EXPECT_EQ(first.total, before.total + 1);
  ASSERT_EQ(first.repeats.count({6006, 5005}), 1u);
  EXPECT_EQ(first.repeats.at({6006, 5005}), 0);
  reallocate(6006, 5005);
  const Statistics second;
  EXPECT_EQ(second.total, before.total + 2);
  EXPECT_EQ(second.repeats.at({6006, 5005}), 1);
}

TEST(VectorStatistics, PushRequestsOneMore) {
  const Statistics before;
  Vector v(707);
  v.push(1.0);
  const Statistics after;
  EXPECT_EQ(after.total, before.total + 1);
  EXPECT_EQ(after.repeats.count({708, 707}), 1u);
}

TEST(VectorStatistics, WhatDoesNotReallocateIsNotCounted) {
  const Statistics before;
  Vector v(1000), w(2, 50);
  v.grow(10);
  v.grow(1000);
  w.grow(50);
  w = v;
  w.resize(1000);
  v.resize(-4);
  EXPECT_EQ(Statistics().total, before.total + 1);  // of w = v
}

TEST(VectorStatistics, RowsReserveThroughTheirValues) {
  const Statistics before;
  SpVec small(4), large(3003);
  const Statistics after;
  EXPECT_EQ(after.total, before.total + 1);
  EXPECT_EQ(after.repeats.count({3003, 4}), 1u);
}

TEST(VectorStatistics, TextIsInKeyOrderByBothNumbers) {
  reallocate(9, 7);
  reallocate(100, 8);
  reallocate(9, 6);
  reallocate(9, 6);
  reallocate(2000, 10);
  const Statistics statistics;
  const std::string& text = statistics.text;
  EXPECT_EQ(text.rfind("There were " + std::to_string(statistics.total) + " resizes!\n", 0), 0u);
  std::string expected = "There were " + std::to_string(statistics.total) + " resizes!\n";
  for (const auto& [key, count] : statistics.repeats) {
    char line[80];
    std::snprintf(line, sizeof line, "  %3d : %3d  - %d\n", key.first, key.second, count);
    expected += line;
  }
  EXPECT_EQ(text, expected);
  const auto at = [&](const char* line) { return text.find(line); };
  ASSERT_NE(at("    9 :   6  - "), std::string::npos);
  EXPECT_LT(at("    9 :   6  - "), at("    9 :   7  - "));
  EXPECT_LT(at("    9 :   7  - "), at("  100 :   8  - "));
  EXPECT_LT(at("  100 :   8  - "), at("  2000 :  10  - "));
}

TEST(VectorStatistics, PrintsPastTheChannels) {
  CapturedOutput output;
  const Statistics statistics;
  EXPECT_EQ(output.out(), "");
  EXPECT_GE(statistics.total, 0);
}
