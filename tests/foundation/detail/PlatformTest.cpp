#include "limber/foundation/detail/Platform.h"

#include <gtest/gtest.h>

#include <ctime>

#include "tests/support/TemporaryFile.h"

namespace {

TEST(Platform, CounterRunsAtTenMillionTicksASecond) {
  EXPECT_EQ(limber::detail::counterFrequency(), 10000000);
  timespec before, after;
  clock_gettime(CLOCK_MONOTONIC, &before);
  const std::int64_t ticks = limber::detail::counterTicks();
  clock_gettime(CLOCK_MONOTONIC, &after);
  EXPECT_GE(ticks, before.tv_sec * 10000000 + before.tv_nsec / 100);
  EXPECT_LE(ticks, after.tv_sec * 10000000 + after.tv_nsec / 100);
}

TEST(Platform, ClockIsGivenInMilliseconds) {
  const auto ticks = CLOCKS_PER_SEC / 1000;  // in a millisecond
  const std::int64_t before = std::clock() / ticks;
  const std::int64_t now = limber::detail::clockMilliseconds();
  EXPECT_GE(now, before);
  EXPECT_LE(now, std::clock() / ticks);
}

TEST(Platform, TellsDirectories) {
  const TemporaryDirectory directory;
  const std::string file = directory.write("file", "x");
  EXPECT_TRUE(limber::detail::isDirectory(directory.path().c_str()));
  EXPECT_TRUE(limber::detail::isDirectory((directory.path() + "/").c_str()));
  EXPECT_FALSE(limber::detail::isDirectory(file.c_str()));
  EXPECT_FALSE(limber::detail::isDirectory((directory / "absent").c_str()));
  EXPECT_FALSE(limber::detail::isDirectory(""));
}

TEST(Platform, TellsKindsOfFiles) {
  using limber::detail::FileKind;
  const TemporaryDirectory directory;
  EXPECT_EQ(limber::detail::fileKind(directory.write("file", "x").c_str()), FileKind::Regular);
  EXPECT_EQ(limber::detail::fileKind((directory / "absent").c_str()), FileKind::None);
  EXPECT_EQ(limber::detail::fileKind(directory.path().c_str()), FileKind::Other);
#if defined(_WIN32)
  // Some versions of Windows do not report their devices as files. They must not be taken for files that can
  // be removed.
  EXPECT_NE(limber::detail::fileKind("NUL"), FileKind::Regular);
#else
  EXPECT_EQ(limber::detail::fileKind("/dev/null"), FileKind::CharacterDevice);
#endif
}

}  // namespace
