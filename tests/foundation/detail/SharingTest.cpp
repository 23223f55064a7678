#include "limber/foundation/detail/Sharing.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

using limber::detail::holders;
using limber::detail::share;
using limber::detail::unshare;

namespace {

TEST(Sharing, WhatWasNeverCopiedHasOneHolder) {
  const int x = 0;
  EXPECT_EQ(holders(&x), 1);
  EXPECT_TRUE(unshare(&x));
}

TEST(Sharing, TheLastHolderReleases) {
  const int x = 0;
  EXPECT_TRUE(share(&x));
  EXPECT_TRUE(share(&x));
  EXPECT_EQ(holders(&x), 3);
  EXPECT_FALSE(unshare(&x));
  EXPECT_FALSE(unshare(&x));
  EXPECT_EQ(holders(&x), 1);
  EXPECT_TRUE(unshare(&x));
}

TEST(Sharing, NullIsSharedFreely) {
  EXPECT_TRUE(share(nullptr));
  EXPECT_TRUE(unshare(nullptr));
}

struct Counted {
  static int alive;
  Counted() { ++alive; }
  ~Counted() { --alive; }
};
int Counted::alive = 0;

TEST(Sharing, PointersLetGoOnceTheLastOneDoes) {
  Counted *one = new Counted, *two = nullptr, *three = new Counted;
  Counted* const object = one;
  limber::detail::copyShared(two, one);
  limber::detail::copyShared(three, two);  // the object that `three` held had no other holder
  EXPECT_EQ(Counted::alive, 1);
  EXPECT_TRUE(two == object && three == object);
  limber::detail::copyShared(three, one);  // `three` already holds it
  EXPECT_EQ(holders(object), 3);
  limber::detail::dropShared(one);
  EXPECT_EQ(one, nullptr);
  limber::detail::copyShared(two, one);  // sharing null releases the object
  EXPECT_EQ(two, nullptr);
  EXPECT_EQ(Counted::alive, 1);
  limber::detail::dropShared(three);
  EXPECT_EQ(Counted::alive, 0);
  limber::detail::dropShared(three);
}

// Compares random operations with a map. There are few enough addresses that slots collide and holes are
// closed.
TEST(Sharing, AgreesWithAMapOverManyOperations) {
  std::mt19937 random(11);
  std::vector<double> storage(300);
  std::map<const void*, int> counts;
  for (int step = 0; step < 200000; ++step) {
    const void* const p = &storage[random() % storage.size()];
    int& others = counts[p];
    if (random() % 2 == 0) {
      ASSERT_TRUE(share(p));
      ++others;
    } else {
      ASSERT_EQ(unshare(p), others == 0);
      if (others > 0) --others;
    }
    ASSERT_EQ(holders(p), others + 1);
  }
  for (const double& s : storage) {
    ASSERT_EQ(holders(&s), counts[&s] + 1);
    while (!unshare(&s)) --counts[&s];
    ASSERT_EQ(counts[&s], 0);
    ASSERT_EQ(holders(&s), 1);
  }
}

}  // namespace
