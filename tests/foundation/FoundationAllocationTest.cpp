#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "limber/limber.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/EmptyPool.h"
#include "tests/support/allocations/Allocations.h"

namespace {

const std::string report = "FATAL ERROR:NEW fails - memory problem\n";

TEST(TextAllocation, SizeIsTheSumOfTheLengthsPlusTwo) {
  const long before = allocations::count();
  char* const text = nameString("ab", nullptr, "cd");
  EXPECT_EQ(allocations::count(), before + 1);
  EXPECT_EQ(allocations::lastSize(), 6u);
  EXPECT_STREQ(text, "abcd");
  delete[] text;
  delete[] nameString("1", "2", "3", "4", "5", "6", "7", "8", "90", "123");
  EXPECT_EQ(allocations::lastSize(), 15u);
}

TEST(TextAllocation, FailureIsReportedAndGivesNull) {
  CapturedOutput captured;
  char* text;
  {
    allocations::FailAt trap(0);
    text = nameString("ab");
  }
  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(captured.err(), report);
}

TEST(OutputAllocation, PrintingNeverAllocates) {
  const OutputFunction out = stdoutF, err = stderrF;
  stdoutF = stderrF = [](const char*) { return 0; };
  const long before = allocations::count();
  stdoutPrintf("%s %g %d", "text", 1e300, 5);
  warnReport("%s", "x", "f", 1);
  errReport("x", "f", 1);
  FATAL_ERROR("x");
  EXPECT_EQ(allocations::count(), before);
  stdoutF = out;
  stderrF = err;
}

TEST(ListAllocation, OnlyRefillsAllocate) {
  const EmptyPool guard;
  int item = 0;
  List<int*> list;
  const long before = allocations::count();
  for (int round = 0; round < 50; ++round) {
    for (int i = 0; i < 100; ++i) list.add(&item);
    list.uncons();
  }
  EXPECT_EQ(allocations::count(), before + 1);
}

TEST(ListAllocation, FailedRefillIsReportedAndAddsNothing) {
  const EmptyPool guard;
  CapturedOutput captured;
  int item = 0;
  List<int*> list;
  {
    allocations::FailAt trap(0, true);
    EXPECT_EQ(list.add(&item), &item);
    EXPECT_EQ(list.addEnd(&item), &item);
    EXPECT_EQ(list.cell, nullptr);
    EXPECT_EQ(consPool, nullptr);
  }
  EXPECT_EQ(captured.err(), report + report);
  list.add(&item);
  EXPECT_EQ(list.count(), 1);
  while (consPool) list.addEnd(&item);
  captured.clear();
  {
    allocations::FailAt trap(0, true);
    EXPECT_EQ(list.addAfter(&item), &item);
    EXPECT_EQ(list.addEnd(&item), &item);
  }
  EXPECT_EQ(list.count(), 100);
  EXPECT_EQ(captured.err(), report + report);
  list.uncons();
}

TEST(ClockAllocation, FailedInitLeavesTheHandleEmpty) {
  CapturedOutput captured;
  ClockPtr handle;
  List<Clock*> clocks;
  {
    allocations::FailAt trap(0);
    handle.init("c", clocks);
  }
  EXPECT_EQ(handle.clock, nullptr);
  EXPECT_EQ(clocks.count(), 0);
  EXPECT_EQ(captured.err(), report);
  handle.init("c", clocks);
  ASSERT_NE(handle.clock, nullptr);
  EXPECT_EQ(clocks.head(), handle.clock);
  clocks.uncons();
  delete handle.clock;
}

TEST(ClockAllocation, FailedCellLeavesTheClockUnlisted) {
  const EmptyPool guard;
  CapturedOutput captured;
  ClockPtr handle;
  List<Clock*> clocks;
  {
    allocations::FailAt trap(1);
    handle.init("c", clocks);
  }
  EXPECT_NE(handle.clock, nullptr);
  EXPECT_EQ(clocks.count(), 0);
  EXPECT_EQ(captured.err(), report);
  delete handle.clock;
}

// Whichever allocation fails, one string is missing and all others are in order.
TEST(StringArrayAllocation, EachFailureLosesOneStringOnly) {
  for (long k = 0;; ++k) {
    CapturedOutput captured;
    StringArray strings;
    int added = 0;
    bool happened;
    {
      allocations::FailAt trap(k);
      for (int i = 0; i < 20; ++i) {
        const char text[] = {static_cast<char>('a' + i), '\0'};
        const char* const copy = strings.add(text);
        if (!copy) continue;
        EXPECT_STREQ(copy, text);
        ++added;
      }
      happened = trap.happened();
    }
    EXPECT_EQ(strings.count, added);
    EXPECT_EQ(added, happened ? 19 : 20);
    EXPECT_EQ(captured.err(), happened ? report : "");
    EXPECT_LE(strings.count, strings.capacity);
    for (int i = 1; i < added; ++i) EXPECT_LT(std::strcmp(strings.items[i - 1], strings.items[i]), 0);
    if (!happened) break;
  }
}

}  // namespace
