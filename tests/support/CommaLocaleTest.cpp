#include "tests/support/CommaLocale.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

TEST(CommaLocale, NumbersHaveACommaWhileItLives) {
  char text[20];
  {
    const CommaLocale comma;
    if (!comma.active()) GTEST_SKIP() << "localedef cannot make a locale here";
    std::snprintf(text, sizeof text, "%g", 1.5);
    EXPECT_STREQ(text, "1,5");
  }
  std::snprintf(text, sizeof text, "%g", 1.5);
  EXPECT_STREQ(text, "1.5");
}

}  // namespace
