#include "limber/foundation/StringArray.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>

namespace {

static_assert(offsetof(StringArray, count) == 0 && offsetof(StringArray, capacity) == sizeof(int));
static_assert(offsetof(StringArray, items) == 2 * sizeof(int));
static_assert(!std::is_copy_constructible_v<StringArray> && !std::is_copy_assignable_v<StringArray>);

TEST(StringArray, StartsEmpty) {
  const StringArray strings;
  EXPECT_EQ(strings.count, 0);
  EXPECT_EQ(strings.capacity, 0);
  EXPECT_EQ(strings.items, nullptr);
}

TEST(StringArray, GrowsToSixThenEighteen) {
  StringArray strings;
  for (int i = 0; i < 19; ++i) {
    const std::string text = "string " + std::to_string(i);
    const char* const copy = strings.add(text.c_str());
    EXPECT_NE(copy, text.c_str());
    EXPECT_EQ(copy, strings.items[i]);
    EXPECT_EQ(strings.count, i + 1);
    EXPECT_EQ(strings.capacity, i < 6 ? 6 : i < 18 ? 18 : 42);
  }
  for (int i = 0; i < 19; ++i) EXPECT_EQ(strings.items[i], "string " + std::to_string(i));
}

TEST(StringArray, NullIsStoredAsTheEmptyString) {
  StringArray strings;
  EXPECT_STREQ(strings.add(nullptr), "");
  EXPECT_EQ(strings.count, 1);
}

}  // namespace
