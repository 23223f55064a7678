#include "limber/foundation/detail/CLocale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "tests/support/CommaLocale.h"
#include "tests/support/TemporaryFile.h"

namespace {

TEST(CLocale, NumbersAreReadWithAPointWhateverTheProcessUses) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "localedef cannot make a locale here";
  char* end;
  const char text[] = "2.5,7";
  EXPECT_EQ(limber::detail::cStrtod(text, &end), 2.5);
  EXPECT_STREQ(end, ",7");
}

TEST(CLocale, FilesGetAPoint) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "localedef cannot make a locale here";
  const TemporaryDirectory directory;
  FILE* const file = std::fopen((directory / "numbers").c_str(), "w");
  EXPECT_EQ(limber::detail::cFprintf(file, "%g|%5.2f|%e %d", 1.5, -0.25, 1e30, 12), 25);
  std::fclose(file);
  EXPECT_EQ(readFile(directory / "numbers"), "1.5|-0.25|1.000000e+30 12");
}

TEST(CLocale, TheProcessesLocaleIsBackAfterwardsAlsoWhenNested) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "localedef cannot make a locale here";
  const std::string before = std::setlocale(LC_ALL, nullptr);
  char text[20];
  {
    const limber::detail::CLocale outer;
    { const limber::detail::CLocale inner; }
    std::snprintf(text, sizeof text, "%g", 1.5);
    EXPECT_STREQ(text, "1.5");
#if !defined(_WIN32)
    // The locale of the process does not change. On Windows the name is that of the thread's locale.
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
#endif
  }
  std::snprintf(text, sizeof text, "%g", 1.5);
  EXPECT_STREQ(text, "1,5");
  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

}  // namespace
