#include "limber/foundation/detail/CLocale.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

#include "tests/support/CommaLocale.h"
#include "tests/support/TemporaryFile.h"

namespace {

std::string formatted(const char* format, ...) {
  char text[100];
  va_list arguments;
  va_start(arguments, format);
  limber::detail::cVsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

TEST(CLocale, NumbersHaveAPointWhateverTheProcessUses) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "localedef cannot make a locale here";
  EXPECT_EQ(formatted("%g|%5.2f|%e", 1.5, -0.25, 1e30), "1.5|-0.25|1.000000e+30");
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
  EXPECT_EQ(limber::detail::cFprintf(file, "%g %d", 0.125, 12), 8);
  std::fclose(file);
  EXPECT_EQ(readFile(directory / "numbers"), "0.125 12");
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
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);  // the locale of the process does not change
  }
  std::snprintf(text, sizeof text, "%g", 1.5);
  EXPECT_STREQ(text, "1,5");
}

}  // namespace
