// Includes both headers, the C library's first: the two pairs of functions must stay separate.
#include <strings.h>

#include "limber/foundation/CaseCompare.h"

#include <gtest/gtest.h>
#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <climits>
#include <cstring>

namespace {

// What the library exports under this name.
void* exported(const char* name) {
#if defined(_WIN32)
  return reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("liblimber.dll"), name));
#else
  return dlsym(RTLD_DEFAULT, name);
#endif
}

int sign(int x) { return (x > 0) - (x < 0); }

// Contract: the sign is the opposite of the usual one: 1 if the first sorts before the second.
TEST(CaseCompare, SignIsTurnedRound) {
  EXPECT_EQ(limber::strcasecmp("abc", "ABC"), 0);
  EXPECT_EQ(limber::strcasecmp("abc", "abd"), 1);
  EXPECT_EQ(limber::strcasecmp("abd", "abc"), -1);
  EXPECT_EQ(limber::strcasecmp("ab", "abc"), 1);
  EXPECT_EQ(limber::strcasecmp("abc", "ab"), -1);
  EXPECT_EQ(limber::strcasecmp("", ""), 0);
  EXPECT_EQ(limber::strcasecmp("", "a"), 1);
  EXPECT_EQ(limber::strcasecmp("a", ""), -1);
  EXPECT_EQ(limber::strcasecmp("Zebra", "aardvark"), -1);
}

TEST(CaseCompare, LettersFoldToUpperCase) {
  EXPECT_EQ(limber::strcasecmp("[", "a"), -1);  // 91 against 65, not against 97
  EXPECT_EQ(limber::strcasecmp("_", "z"), -1);
  EXPECT_EQ(limber::strcasecmp("`", "a"), -1);
  EXPECT_EQ(limber::strcasecmp("{", "z"), -1);
  EXPECT_EQ(limber::strcasecmp("@", "a"), 1);
}

TEST(CaseCompare, OnlyAsciiLettersFold) {
  for (int c = 1; c < 256; ++c) {
    for (int d = 1; d < 256; ++d) {
      const char a[] = {static_cast<char>(c), 0}, b[] = {static_cast<char>(d), 0};
      const int fa = c >= 'a' && c <= 'z' ? c - 32 : c, fb = d >= 'a' && d <= 'z' ? d - 32 : d;
      const int sa = fa > 127 ? fa - 256 : fa, sb = fb > 127 ? fb - 256 : fb;
      ASSERT_EQ(limber::strcasecmp(a, b), sign(sb - sa)) << c << " " << d;
    }
  }
}

TEST(CaseCompare, HighCharactersSortBeforeAscii) {
  EXPECT_EQ(limber::strcasecmp("\xff", "\x01"), 1);
  EXPECT_EQ(limber::strcasecmp("\x80", "\xff"), 1);
  EXPECT_EQ(limber::strcasecmp("\xe4", "\xc4"), -1);  // no folding of accented letters
}

// As signed values, these characters are less than the terminating zero.
TEST(CaseCompare, APrefixSortsBeforeHighCharactersToo) {
  EXPECT_EQ(limber::strcasecmp("", "\xe9"), 1);
  EXPECT_EQ(limber::strcasecmp("\xe9", ""), -1);
  EXPECT_EQ(limber::strcasecmp("a", "a\xe9"), 1);
  EXPECT_EQ(limber::strncasecmp("a\xe9", "a", 2), -1);
}

TEST(CaseCompare, LimitCountsPositions) {
  EXPECT_EQ(limber::strncasecmp("abcx", "ABCY", 3), 0);
  EXPECT_EQ(limber::strncasecmp("abcx", "ABCY", 4), 1);
  EXPECT_EQ(limber::strncasecmp("abcy", "ABCX", 4), -1);
  EXPECT_EQ(limber::strncasecmp("ab", "abc", 2), 0);
  EXPECT_EQ(limber::strncasecmp("ab", "abc", 3), 1);
  EXPECT_EQ(limber::strncasecmp("ab", "AB", 100), 0);
}

TEST(CaseCompare, ZeroLimitReadsNothing) {
  EXPECT_EQ(limber::strncasecmp(nullptr, nullptr, 0), 0);
  EXPECT_EQ(limber::strncasecmp("a", "b", 0), 0);
}

TEST(CaseCompare, NegativeLimitNeverEndsEarly) {
  for (const int n : {-1, -2, INT_MIN}) {
    EXPECT_EQ(limber::strncasecmp("abcx", "ABCX", n), 0);
    EXPECT_EQ(limber::strncasecmp("abcx", "ABCY", n), 1);
    EXPECT_EQ(limber::strncasecmp("abcy", "ABCX", n), -1);
    EXPECT_EQ(limber::strncasecmp("abc", "ab", n), -1);
  }
}

// A plain definition at global scope would have replaced these for the whole process.
TEST(CaseCompare, TheCLibraryKeepsItsOwn) {
  int (*volatile plain)(const char*, const char*) = ::strcasecmp;
  int (*volatile limited)(const char*, const char*, size_t) = ::strncasecmp;
  EXPECT_LT(plain("abc", "ABD"), 0);
  EXPECT_GT(plain("abd", "ABC"), 0);
  EXPECT_EQ(plain("abc", "ABC"), 0);
  EXPECT_LT(limited("abcx", "ABCY", 4), 0);
  EXPECT_EQ(limited("abcx", "ABCY", 3), 0);
}

TEST(CaseCompare, ExportedUnderTheirPlainNames) {
  using Compare = int (*)(const char*, const char*);
  using Limited = int (*)(const char*, const char*, int);
  const auto compare = reinterpret_cast<Compare>(exported("_Z10strcasecmpPKcS0_"));
  const auto limited = reinterpret_cast<Limited>(exported("_Z11strncasecmpPKcS0_i"));
  ASSERT_NE(compare, nullptr);
  ASSERT_NE(limited, nullptr);
  EXPECT_EQ(compare, &limber::strcasecmp);
  EXPECT_EQ(limited, &limber::strncasecmp);
  EXPECT_EQ(compare("abc", "ABD"), 1);
  EXPECT_EQ(limited("abcx", "ABCY", -1), 1);
}

}  // namespace
