// Numbers in text files: the whole word must be a number.

#include "numbers.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/Tolerance.h"

namespace {

TEST(Numbers, RealsAreWholeFiniteDecimalWords) {
  const struct {
    const char* word;
    double value;
  } good[] = {{"0", 0},
              {"-0", -0.0},
              {"+1", 1},
              {".5", .5},
              {"5.", 5},
              {"-1e3", -1000},
              {"1E-2", 0.01},
              {"+.25e+1", 2.5},
              {"1e-400", 0.0},
              {"-1e-400", -0.0},
              {"4.9e-324", 4.9e-324},
              {"1.7976931348623157e308", std::numeric_limits<double>::max()}};
  for (const auto& one : good) {
    double value = 7.0;
    EXPECT_TRUE(parseReal(one.word, &value)) << one.word;
    EXPECT_TRUE(tolerance::sameBits(value, one.value)) << one.word;
  }
  for (const char* bad : {"",    "+",    "-",   "+-1",      "--1",   "1e",     "1,5",   "1.5x", "0x10",
                          "nan", "-nan", "inf", "Infinity", "1e400", "-1e400", ".",     "e5",   "1 2",
                          "D",   "1D",   "D5",  "1D2D3",    "1d2e3", "1e2D3",  "1D400", "nanD"}) {
    double value;
    EXPECT_FALSE(parseReal(bad, &value)) << bad;
    EXPECT_FALSE(parseFortranReal(bad, &value)) << bad;
  }
}

TEST(Numbers, OnlyRealsOfFortranHaveExponentsWithD) {
  const struct {
    const char* word;
    double value;
  } good[] = {{"1.5D+03", 1500}, {"-.5d1", -5}, {"2D-400", 0.0}};
  for (const auto& one : good) {
    double value = 7.0;
    EXPECT_TRUE(parseFortranReal(one.word, &value)) << one.word;
    EXPECT_TRUE(tolerance::sameBits(value, one.value)) << one.word;
    EXPECT_FALSE(parseReal(one.word, &value)) << one.word;
  }
  double value;
  EXPECT_TRUE(parseFortranReal("1.5e3", &value));
  EXPECT_EQ(1500, value);
}

TEST(Numbers, IntegersAreWholeWordsThatFit) {
  const struct {
    const char* word;
    int value;
  } good[] = {
      {"0", 0},  {"+12", 12}, {"-7", -7}, {"2147483647", 2147483647}, {"-2147483648", -2147483647 - 1},
      {"007", 7}};
  for (const auto& one : good) {
    int value = 9;
    EXPECT_TRUE(parseInt(one.word, &value)) << one.word;
    EXPECT_EQ(value, one.value);
  }
  for (const char* bad :
       {"", "+", "-", "+-1", "1.0", "1e3", "12a", "0x1", "2147483648", "-2147483649", " 1"}) {
    int value;
    EXPECT_FALSE(parseInt(bad, &value)) << bad;
  }
  const long most = std::numeric_limits<long>::max();
  long value;
  EXPECT_TRUE(parseInt(("+" + std::to_string(most)).c_str(), &value));
  EXPECT_EQ(value, most);
  for (const std::string& bad : {std::to_string(most) + "0", std::string("+-1")}) {
    EXPECT_FALSE(parseInt(bad.c_str(), &value)) << bad;
  }
}

}  // namespace
