#include "limber/foundation/Clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <ctime>
#include <thread>

#include "limber/foundation/ClockPtr.h"
#include "limber/foundation/List.h"
#include "tests/support/CapturedOutput.h"

namespace {

static_assert(offsetof(Clock, count) == 0 && offsetof(Clock, total) == 8 &&
              offsetof(Clock, startTicks) == 16);
static_assert(offsetof(Clock, stopTicks) == 24 && offsetof(Clock, frequency) == 32);
static_assert(offsetof(Clock, name) == 40 && offsetof(Clock, maxTicks) == 48 &&
              offsetof(Clock, minTicks) == 56);
static_assert(sizeof(ClockPtr) == sizeof(Clock*) && offsetof(ClockPtr, clock) == 0);

// Uses the counter of the machine. Exact intervals are tested with a fake counter.
TEST(Clock, MeasuresWithTheMonotonicCounter) {
  Clock clock("sleep");
  using std::chrono::steady_clock;
  const auto before = steady_clock::now();
  clock.start();
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  clock.stop();
  const auto after = steady_clock::now();
  EXPECT_EQ(clock.frequency, 10000000);
  EXPECT_EQ(clock.count, 1);
  EXPECT_EQ(clock.total, clock.stopTicks - clock.startTicks);
  EXPECT_GE(clock.total, 5 * 10000 - 1);
  const auto outside = std::chrono::duration_cast<std::chrono::nanoseconds>(after - before).count();
  EXPECT_LE(clock.total, outside / 100 + 1);
}

TEST(Clock, WithoutCounterMeasuresProcessorMilliseconds) {
  Clock clock;
  clock.frequency = 0;
  clock.startTicks = 3;
  const auto milliseconds = [] { return static_cast<std::int64_t>(std::clock()) / (CLOCKS_PER_SEC / 1000); };
  const std::int64_t before = milliseconds();
  clock.stop();
  const std::int64_t after = milliseconds();
  EXPECT_GE(clock.stopTicks, before);
  EXPECT_LE(clock.stopTicks, after);
  EXPECT_EQ(clock.total, clock.stopTicks - 3);
}

TEST(Clock, CopiesHaveAllFieldsAndRunOnTheirOwn) {
  Clock first("first");
  first.start();
  first.stop();
  first.stop();
  Clock copy(first), assigned("other");
  assigned = first;
  for (const Clock* each : {&copy, &assigned}) {
    EXPECT_EQ(each->count, 2);
    EXPECT_EQ(each->total, first.total);
    EXPECT_EQ(each->startTicks, first.startTicks);
    EXPECT_EQ(each->stopTicks, first.stopTicks);
    EXPECT_EQ(each->frequency, first.frequency);
    EXPECT_EQ(each->maxTicks, first.maxTicks);
    EXPECT_EQ(each->minTicks, first.minTicks);
    EXPECT_STREQ(each->name, "first");
  }
  copy.stop();
  EXPECT_EQ(copy.count, 3);
  EXPECT_EQ(first.count, 2);
}

TEST(Clock, PrintsSecondsOfTicks) {
  CapturedOutput captured;
  Clock clock("solve");
  clock.count = 3;
  clock.total = 45000000000;  // beyond 32 bits
  clock.frequency = 10000000;
  clock.minTicks = 5000000;
  clock.maxTicks = 44990000000;
  clock.print();
  EXPECT_EQ(captured.outCalls(),
            std::vector<std::string>{
                "Clock <solve> 45000000000 ticks / 3 times = 1500.000 sec per (0.500 - 4499.000)\n"});
}

TEST(Clock, PrintsSecondsOfMilliseconds) {
  CapturedOutput captured;
  Clock clock;
  clock.count = 4;
  clock.total = 1000;
  clock.minTicks = 12;
  clock.maxTicks = 700;
  clock.print();
  EXPECT_EQ(captured.out(), "Clock <UnNamed> 1000 ticks / 4 times = 0.250 sec per (0.012 - 0.700)\n");
}

TEST(Clock, PrintsZerosWithoutAnInterval) {
  CapturedOutput captured;
  Clock clock("idle");
  clock.print();
  clock.total = 77;
  clock.maxTicks = 5000;
  clock.frequency = 100;
  clock.print();
  clock.count = -1;
  clock.print();
  EXPECT_EQ(captured.out(),
            "Clock <idle> 0 ticks / 0 times = 0.000 sec per (0.000 - 0.000)\n"
            "Clock <idle> 77 ticks / 0 times = 0.000 sec per (0.000 - 0.000)\n"
            "Clock <idle> 77 ticks / -1 times = 0.000 sec per (0.000 - 0.000)\n");
}

TEST(ClockPtr, EmptyHandleIgnoresEverything) {
  CapturedOutput captured;
  ClockPtr handle;
  EXPECT_EQ(handle.clock, nullptr);
  handle.start();
  handle.stop();
  handle.reset();
  handle.print();
  EXPECT_EQ(handle.clock, nullptr);
  EXPECT_EQ(captured.out() + captured.err(), "");
}

TEST(ClockPtr, CompactionClockIsEmptyAtLoad) { EXPECT_EQ(ncompact_clock.clock, nullptr); }

TEST(ClockPtr, ForwardsToItsClock) {
  CapturedOutput captured;
  Clock clock("held");
  ClockPtr handle(static_cast<const Clock*>(&clock));
  EXPECT_EQ(handle.clock, &clock);
  handle.start();
  EXPECT_NE(clock.frequency, 0);
  EXPECT_EQ(clock.count, 0);
  handle.stop();
  EXPECT_EQ(clock.count, 1);
  handle.print();
  EXPECT_EQ(captured.out().substr(0, 13), "Clock <held> ");
  handle.reset();
  EXPECT_EQ(clock.count, 0);
}

TEST(ClockPtr, CopiesShareTheClock) {
  Clock clock;
  ClockPtr one(&clock), two;
  two = one;
  const ClockPtr three(one);
  two.start();
  two.stop();
  EXPECT_EQ(clock.count, 1);
  EXPECT_EQ(three.clock, &clock);
}

TEST(ClockPtr, InitMakesAClockOnce) {
  ClockPtr handle;
  handle.init("first");
  Clock* const made = handle.clock;
  ASSERT_NE(made, nullptr);
  EXPECT_STREQ(made->name, "first");
  EXPECT_EQ(made->minTicks, 60000000);
  handle.init("second");
  EXPECT_EQ(handle.clock, made);
  EXPECT_STREQ(made->name, "first");
  delete made;
}

// Every call adds to the list, even if the clock already exists.
TEST(ClockPtr, RepeatedInitListsTheClockAgain) {
  ClockPtr handle, other;
  List<Clock*> clocks;
  handle.init("a", clocks);
  other.init("b", clocks);
  EXPECT_EQ(clocks.head(), other.clock);
  handle.init("ignored", clocks);
  EXPECT_EQ(clocks.count(), 3);
  EXPECT_EQ(clocks.elt(0), handle.clock);
  EXPECT_EQ(clocks.elt(1), other.clock);
  EXPECT_EQ(clocks.elt(2), handle.clock);
  clocks.uncons();
  delete handle.clock;
  delete other.clock;
}

}  // namespace
