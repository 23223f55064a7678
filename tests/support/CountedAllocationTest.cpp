#include "tests/support/allocations/Allocations.h"

#include <gtest/gtest.h>

#include <new>

namespace {

int* volatile sink;

bool allocates() {
  sink = new (std::nothrow) int[3];
  const bool got = sink != nullptr;
  delete[] sink;
  return got;
}

TEST(Allocations, CountsEachOne) {
  const long before = allocations::count();
  allocates();
  EXPECT_EQ(allocations::count(), before + 1);
  EXPECT_EQ(allocations::lastSize(), 3 * sizeof(int));
}

TEST(Allocations, FailsTheKthOnly) {
  bool got[3];
  bool happened;
  {
    allocations::FailAt trap(1);
    for (bool& g : got) g = allocates();
    happened = trap.happened();
  }
  EXPECT_TRUE(happened);
  EXPECT_TRUE(got[0]);
  EXPECT_FALSE(got[1]);
  EXPECT_TRUE(got[2]);
  EXPECT_TRUE(allocates());
}

TEST(Allocations, FailsAllAfterWhenAsked) {
  bool got[3];
  {
    allocations::FailAt trap(1, true);
    for (bool& g : got) g = allocates();
  }
  EXPECT_TRUE(got[0]);
  EXPECT_FALSE(got[1]);
  EXPECT_FALSE(got[2]);
}

}  // namespace
