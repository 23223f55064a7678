#include <gtest/gtest.h>

#include "limber/foundation/Clock.h"
#include "tests/foundation/detail/clock/FakePlatform.h"
#include "tests/support/CapturedOutput.h"

namespace {

class ClockIntervals : public ::testing::Test {
 protected:
  void SetUp() override { fakePlatform = {10000000, 1000, 50}; }

  static void interval(Clock& clock, std::int64_t ticks) {
    clock.start();
    fakePlatform.counter += ticks;
    clock.stop();
  }
};

TEST_F(ClockIntervals, FreshClockIsZeroButForTheMinimum) {
  const Clock clock("n");
  EXPECT_EQ(clock.count, 0);
  EXPECT_EQ(clock.total, 0);
  EXPECT_EQ(clock.startTicks, 0);
  EXPECT_EQ(clock.stopTicks, 0);
  EXPECT_EQ(clock.frequency, 0);
  EXPECT_STREQ(clock.name, "n");
  EXPECT_EQ(clock.maxTicks, 0);
  EXPECT_EQ(clock.minTicks, 60000000);
  EXPECT_STREQ(Clock().name, "UnNamed");
}

TEST_F(ClockIntervals, NameIsNotCopied) {
  const char label[] = "mine";
  EXPECT_EQ(Clock(label).name, label);
}

TEST_F(ClockIntervals, KeepsShortestAndLongest) {
  Clock clock;
  interval(clock, 10);
  interval(clock, 70000000);
  interval(clock, 300);
  EXPECT_EQ(clock.count, 3);
  EXPECT_EQ(clock.total, 70000310);
  EXPECT_EQ(clock.minTicks, 10);
  EXPECT_EQ(clock.maxTicks, 70000000);
}

// Contract: until a reset, an interval longer than 60000000 never becomes the minimum.
TEST_F(ClockIntervals, LongSingleIntervalLeavesTheInitialMinimum) {
  Clock clock;
  interval(clock, 70000000);
  EXPECT_EQ(clock.minTicks, 60000000);
  EXPECT_EQ(clock.maxTicks, 70000000);
  clock.reset();
  EXPECT_EQ(clock.minTicks, 0);
  interval(clock, 80000000);
  EXPECT_EQ(clock.minTicks, 80000000);
}

TEST_F(ClockIntervals, ResetKeepsStopReadingFrequencyAndName) {
  Clock clock("kept");
  interval(clock, 25);
  const std::int64_t stop = clock.stopTicks;
  EXPECT_EQ(stop, 1025);
  clock.reset();
  EXPECT_EQ(clock.total, 0);
  EXPECT_EQ(clock.startTicks, 0);
  EXPECT_EQ(clock.maxTicks, 0);
  EXPECT_EQ(clock.count, 0);
  EXPECT_EQ(clock.stopTicks, stop);
  EXPECT_EQ(clock.frequency, 10000000);
  EXPECT_STREQ(clock.name, "kept");
}

// 0 means that there is no minimum yet, so the next interval replaces an interval of length 0.
TEST_F(ClockIntervals, MinimumOfZeroCountsAsUnset) {
  Clock clock;
  interval(clock, 0);
  EXPECT_EQ(clock.minTicks, 0);
  interval(clock, 500);
  EXPECT_EQ(clock.minTicks, 500);
}

TEST_F(ClockIntervals, StopWithoutStartMeasuresFromTheLastStart) {
  Clock clock;
  fakePlatform.milliseconds = 40;
  clock.stop();  // never started: no frequency yet, from 0
  EXPECT_EQ(clock.total, 40);
  clock.start();
  fakePlatform.counter += 7;
  clock.stop();
  fakePlatform.counter += 5;
  clock.stop();
  EXPECT_EQ(clock.count, 3);
  EXPECT_EQ(clock.total, 40 + 7 + 12);
}

TEST_F(ClockIntervals, ReadingsBeyond32BitsStayExact) {
  Clock clock;
  fakePlatform.counter = INT64_C(1) << 53;
  interval(clock, (INT64_C(1) << 53) + 1);
  EXPECT_EQ(clock.total, (INT64_C(1) << 53) + 1);
}

TEST_F(ClockIntervals, WithoutCounterFallsBackToMilliseconds) {
  CapturedOutput captured;
  fakePlatform = {0, 123456, 2000};
  Clock clock("slow");
  clock.start();
  EXPECT_EQ(clock.frequency, 0);
  EXPECT_EQ(clock.startTicks, 2000);
  fakePlatform.milliseconds = 3500;
  clock.stop();
  EXPECT_EQ(clock.stopTicks, 3500);
  clock.print();
  EXPECT_EQ(captured.out(), "Clock <slow> 1500 ticks / 1 times = 1.500 sec per (1.500 - 1.500)\n");
}

TEST_F(ClockIntervals, EveryStartAsksForTheFrequency) {
  Clock clock;
  clock.start();
  EXPECT_EQ(clock.frequency, 10000000);
  fakePlatform.frequency = 3;
  clock.stop();
  EXPECT_EQ(clock.frequency, 10000000);
  clock.start();
  EXPECT_EQ(clock.frequency, 3);
}

TEST_F(ClockIntervals, AssignmentCopiesAllFields) {
  Clock one("one"), two("two");
  interval(one, 42);
  two = one;
  const Clock three(one);
  for (const Clock* copy : {static_cast<const Clock*>(&two), &three}) {
    EXPECT_EQ(copy->count, 1);
    EXPECT_EQ(copy->total, 42);
    EXPECT_EQ(copy->startTicks, 1000);
    EXPECT_EQ(copy->stopTicks, 1042);
    EXPECT_EQ(copy->frequency, 10000000);
    EXPECT_EQ(copy->name, one.name);
    EXPECT_EQ(copy->maxTicks, 42);
    EXPECT_EQ(copy->minTicks, 42);
  }
}

}  // namespace
