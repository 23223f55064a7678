#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/io/Readers.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/Tolerance.h"

namespace {

struct IntCase {
  const char* word;
  int accepted, value;
};

TEST(ReaderNumbers, GetIntReadsAsAtoiDoesAfterADigitOrMinus) {
  const IntCase cases[] = {{"0", 1, 0},
                           {"12abc", 1, 12},
                           {"-", 1, 0},
                           {"-7", 1, -7},
                           {"007", 1, 7},
                           {"+3", 0, 0},
                           {".5", 0, 0},
                           {"abc", 0, 0},
                           {"--3", 1, 0},
                           {"1.9", 1, 1},
                           {"/1", 0, 0},
                           {":1", 0, 0},
                           {"2147483647", 1, 2147483647}};
  CapturedOutput output;
  for (const IntCase& c : cases) {
    FileReader file(std::string("x\n") + c.word + " next");
    file.reader.getWord();
    int value = 99;
    EXPECT_EQ(file.reader.getInt(value, 1), c.accepted) << c.word;
    EXPECT_EQ(value, c.value) << c.word;
    EXPECT_STREQ(file.reader.word, c.word);
    const std::string refusal = std::string("Expecting int, found `") + c.word + "' (on line 2)\n";
    EXPECT_EQ(output.err(), c.accepted ? "" : refusal);
    output.clear();
  }
}

TEST(ReaderNumbers, GetIntKeepsTheValueOfAtoi) {
  for (const char* word : {"2147483648", "-2147483648", "-2147483649", "4294967297", "99999999999999999999",
                           "-99999999999999999999", "0x1f", "1e3", "010", "-0", "08", "5-3", "-.5", "9,9"}) {
    FileReader file(word);
    int value = 99;
    EXPECT_EQ(file.reader.getInt(value, 1), 1) << word;
    EXPECT_EQ(value, std::atoi(word)) << word;
  }
}

TEST(ReaderNumbers, TheWordAfterARefusedOneIsNext) {
  FileReader file("foo 5");
  int value = 9;
  EXPECT_EQ(file.reader.getInt(value, 0), 0);
  EXPECT_EQ(file.reader.getInt(value, 0), 1);
  EXPECT_EQ(value, 5);
}

TEST(ReaderNumbers, NumbersAtEndArePrintedOnlyOnRequest) {
  CapturedOutput output;
  FileReader file(" \n ");  // not at end before the first read
  int i = 4;
  EXPECT_EQ(file.reader.getInt(i, 1), 0);
  EXPECT_EQ(i, 0);
  double d = 4.0;
  EXPECT_EQ(file.reader.getReal(d, 1), 0);
  EXPECT_TRUE(tolerance::sameBits(d, 0.0));
  EXPECT_EQ(file.reader.getInt(i, 0) + file.reader.getReal(d, 0), 0);
  EXPECT_EQ(output.err(), "Expecting int, found EOF\nExpecting Real, found EOF\n");
}

TEST(ReaderNumbers, RefusalsAreSilentWithoutComplain) {
  CapturedOutput output;
  FileReader file("+3 .5");
  int i;
  double d;
  EXPECT_EQ(file.reader.getInt(i, 0), 0);
  EXPECT_EQ(file.reader.getReal(d, 0), 0);
  EXPECT_EQ(output.err(), "");
}

TEST(ReaderNumbers, GetRealRefusesWhatDoesNotBeginWithADigitOrMinus) {
  for (const char* word : {".5", "+1.0", "inf", "nan", "e5", "x"}) {
    CapturedOutput output;
    FileReader file(word);
    double value = 3.0;
    EXPECT_EQ(file.reader.getReal(value, 1), 0) << word;
    EXPECT_TRUE(tolerance::sameBits(value, 0.0));
    EXPECT_EQ(output.err(), std::string("Expecting Real, found `") + word + "' (on line 1)\n");
  }
}

TEST(ReaderNumbers, GetRealKeepsTheValueOfAtof) {
  for (const char* word : {"0",
                           "-0",
                           "1",
                           "-1.5",
                           "1.",
                           "-.5",
                           "1e5",
                           "1e5x",
                           "1e",
                           "1e+",
                           "1e-5",
                           "1E5",
                           "1d5",
                           "0x1p3",
                           "-0x1.8p-2",
                           "0X.8",
                           "0x",
                           "0xg",
                           "-0x",
                           "-inf",
                           "-INFINITY",
                           "-infx",
                           "-nan",
                           "-nan(12)",
                           "-",
                           "--1",
                           "-x",
                           "1e999",
                           "-1e999",
                           "1e-999",
                           "-1e-999",
                           "4.9e-324",
                           "2.4e-324",
                           "2.5e-324",
                           "2.2250738585072011e-308",
                           "1.7976931348623157e308",
                           "1.7976931348623159e308",
                           "9007199254740993",
                           "9007199254740993.0",  // halves between two doubles, and next to them
                           "-4503599627370497.5",
                           "4503599627370497.500",
                           "4503599627370497.499",
                           "4503599627370497.501",
                           "4503599627370498.50",
                           "281474976710657.03125",
                           "281474976710657.0312",
                           "9223372036854775296.",
                           "0.1000000000000000055",
                           "0.5000000000000000000",
                           "00000000000000000.00",
                           "18014398509481985.1",
                           "0.1",
                           "123456789012345678901234567890",
                           "1,5",
                           "1_000",
                           "1e0x10",
                           "00012",
                           "1.2.3",
                           "0e0"}) {
    FileReader file(word);
    double value = 99.0;
    EXPECT_EQ(file.reader.getReal(value, 1), 1) << word;
    EXPECT_TRUE(tolerance::sameBits(value, standardAtof(word))) << word << " gave " << value;
  }
}

TEST(ReaderNumbers, ThePointIsAPointInEveryLocale) {
  CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "cannot make a locale here";
  FileReader file("1.5 0x1.8p0 1,5");
  double value;
  for (const double expected : {1.5, 1.5, 1.0}) {
    EXPECT_EQ(file.reader.getReal(value, 1), 1);
    EXPECT_TRUE(tolerance::sameBits(value, expected)) << value;
  }
}

TEST(ReaderNumbers, MatchWordFoldsCase) {
  CapturedOutput output;
  FileReader file("end foo");
  EXPECT_EQ(file.reader.matchWord("END", 0), 1);
  EXPECT_EQ(output.err(), "");
}

TEST(ReaderNumbers, MatchWordPrintsAMismatchWhateverComplainSays) {
  for (const int complain : {0, 1}) {
    CapturedOutput output;
    FileReader file("x\nfoo\nmore");
    file.reader.gets();
    EXPECT_EQ(file.reader.matchWord("END", complain), 0);
    EXPECT_EQ(output.err(), "Expecting `END' but found `foo'! (on line 3)\n");
  }
}

TEST(ReaderNumbers, MatchWordPrintsTheEndOnlyOnRequest) {
  for (const char* text : {"", " \n "}) {
    CapturedOutput output;
    FileReader silent(text), loud(text);
    EXPECT_EQ(silent.reader.matchWord("END", 0), 0);
    EXPECT_EQ(output.err(), "");
    EXPECT_EQ(loud.reader.matchWord("END", 1), 0);
    EXPECT_EQ(output.err(), "Expecting `END' but found EOF!\n");
  }
}

}  // namespace
