#include "limber/foundation/Text.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using Owned = std::unique_ptr<char[]>;

TEST(NameString, JoinsWhatIsNotNull) {
  EXPECT_STREQ(
      Owned(nameString("ab", nullptr, "cd", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr))
          .get(),
      "abcd");
  EXPECT_STREQ(Owned(nameString(nullptr, "", "x", "", nullptr, "yz")).get(), "xyz");
  EXPECT_STREQ(Owned(nameString("1", "2", "3", "4", "5", "6", "7", "8", "9", "10")).get(), "12345678910");
}

TEST(NameString, OneArgumentIsDuplicated) {
  const char text[] = "duplicate";
  const Owned copy(nameString(text));
  EXPECT_STREQ(copy.get(), text);
  EXPECT_NE(copy.get(), text);
}

TEST(NameString, NothingGivesTheEmptyString) {
  EXPECT_STREQ(Owned(nameString(nullptr)).get(), "");
  EXPECT_STREQ(Owned(nameString("")).get(), "");
}

// The ninth and tenth arguments count for the size too. If they did not, the address sanitizer would find it.
TEST(NameString, LongLastArgumentsFit) {
  const std::string long1(100, 'p'), long2(200, 'q');
  const Owned joined(nameString("a", "", "", "", "", "", "", "", long1.c_str(), long2.c_str()));
  EXPECT_EQ(std::string(joined.get()), "a" + long1 + long2);
}

}  // namespace
