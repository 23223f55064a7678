#include <gtest/gtest.h>

#include <vector>

#include "limber/foundation/detail/Sharing.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/allocations/Allocations.h"

using limber::detail::holders;
using limber::detail::share;
using limber::detail::unshare;

namespace {

// A pointer that cannot be counted is not shared. All pointers counted before keep their counts.
TEST(SharingAllocation, FailedNoteIsReportedAndLosesNothing) {
  const std::vector<int> storage(1000);
  for (long k = 0;; ++k) {
    CapturedOutput captured;
    bool shared[1000];
    int refused = 0;
    bool happened;
    {
      allocations::FailAt trap(k);
      for (int i = 0; i < 1000; ++i) {
        const long before = allocations::count();
        shared[i] = share(&storage[static_cast<std::size_t>(i)]);
        if (before == allocations::count()) continue;
        refused += !shared[i];
      }
      happened = trap.happened();
    }
    if (happened) {
      EXPECT_EQ(refused, 1);
      EXPECT_EQ(captured.err(), "FATAL ERROR:NEW fails - memory problem\n");
    }
    for (int i = 0; i < 1000; ++i) {
      const void* const p = &storage[static_cast<std::size_t>(i)];
      ASSERT_EQ(holders(p), shared[i] ? 2 : 1);
      ASSERT_EQ(unshare(p), !shared[i]);
    }
    if (!happened) break;
  }
}

TEST(SharingAllocation, PointerThatCannotBeNotedIsNotCopied) {
  CapturedOutput captured;
  std::vector<int> storage(5000);  // more than earlier tests can have made room for
  std::vector<int*> copies(storage.size());
  bool happened = false;
  for (std::size_t i = 0; i < storage.size(); ++i) {
    allocations::FailAt trap(0);
    limber::detail::copyShared(copies[i], &storage[i]);
    EXPECT_EQ(copies[i], trap.happened() ? nullptr : &storage[i]);
    happened |= trap.happened();
  }
  EXPECT_TRUE(happened);
  for (std::size_t i = 0; i < storage.size(); ++i) EXPECT_EQ(unshare(&storage[i]), copies[i] == nullptr);
}

TEST(SharingAllocation, OnlyCopyingAllocates) {
  const int x = 0;
  const long before = allocations::count();
  EXPECT_TRUE(unshare(&x));
  EXPECT_EQ(holders(&x), 1);
  EXPECT_TRUE(share(nullptr));
  EXPECT_EQ(allocations::count(), before);
}

}  // namespace
