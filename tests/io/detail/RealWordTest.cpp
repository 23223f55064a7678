#include "limber/io/detail/RealWord.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "tests/support/DecimalPoint.h"
#include "tests/support/Tolerance.h"

namespace {

// Words of all forms that begin like a number.
std::string randomWord(std::mt19937_64& random) {
  char text[64];
  double value;
  switch (random() % 10) {
    case 0: {  // any bits at all: every exponent, subnormals, infinities, not-a-numbers
      const unsigned long long bits = random();
      std::memcpy(&value, &bits, sizeof value);
      std::snprintf(text, sizeof text, "%.17g", value);
      break;
    }
    case 1:
      std::snprintf(text, sizeof text, "%.6g", static_cast<double>(random()) / 1e16);
      break;
    case 2:
      std::snprintf(text, sizeof text, "-%.17g", static_cast<double>(random()) / 1e19);
      break;
    case 3:
      std::snprintf(text, sizeof text, "%.30f", static_cast<double>(random()) / 1e19);
      break;
    case 4:
      std::snprintf(text, sizeof text, "%llue%d", static_cast<unsigned long long>(random()),
                    static_cast<int>(random() % 700) - 350);
      break;
    case 5:
      std::snprintf(text, sizeof text, "%a", static_cast<double>(random()) / 1e10);
      break;
    case 6: {  // up to 22 digits, the point anywhere
      const int length = 1 + static_cast<int>(random() % 22), point = static_cast<int>(random() % 24);
      std::string digits = random() % 2 ? "-" : "";
      for (int i = 0; i < length; ++i) {
        if (i == point) digits += '.';
        digits += static_cast<char>('0' + random() % 10);
      }
      return digits;
    }
    case 7: {  // near the middle of two doubles: the nearest one is hard to find
      const auto odd = (UINT64_C(1) << 53 | random() >> 11) << 1 | 1;
      std::snprintf(text, sizeof text, "%llu", static_cast<unsigned long long>(odd + random() % 3 - 1));
      std::string digits = text;
      digits.insert(1 + random() % (digits.size() - 1), random() % 2 ? "." : "");
      return digits;
    }
    default: {  // characters of numbers in random order
      static const char characters[] = "0123456789..--++eExXpPinfaNt";
      const int length = 1 + static_cast<int>(random() % 12);
      for (int i = 0; i < length; ++i) text[i] = characters[random() % (sizeof characters - 1)];
      text[length] = 0;
    }
  }
  return text;
}

TEST(RealWord, HasTheValueOfStrtodOverRandomWords) {
  const DecimalPoint point;  // for strtod
  std::mt19937_64 random(20);
  int compared = 0;
  for (int i = 0; i < 300000; ++i) {
    char padded[96] = "";
    char* const text = padded + 8;
    const std::string word = randomWord(random);
    std::memcpy(text, word.c_str(), word.size() + 1);
    if (!(word[0] >= '0' && word[0] <= '9') && word[0] != '-') continue;
    ++compared;
    ASSERT_TRUE(tolerance::sameBits(limber::detail::realWord(text, text + word.size(), text),
                                    std::strtod(word.c_str(), nullptr)))
        << word;
  }
  EXPECT_GT(compared, 150000);
}

}  // namespace
