#include "limber/foundation/Report.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/CapturedOutput.h"

namespace {

using Calls = std::vector<std::string>;

TEST(Report, ErrorIsOneCall) {
  CapturedOutput captured;
  errReport("x", "f", 3);
  EXPECT_EQ(captured.errCalls(), Calls{"ERR: x @ (f:3)\n"});
  EXPECT_TRUE(captured.outCalls().empty());
}

TEST(Report, WarningIsThreeCalls) {
  CapturedOutput captured;
  warnReport("Function (%s) not implemented", "generic sparse matrix height", "Vectors", 566);
  EXPECT_EQ(
      captured.errCalls(),
      (Calls{"WARNING @ (Vectors:566) :", "Function (generic sparse matrix height) not implemented", "\n"}));
  EXPECT_TRUE(captured.outCalls().empty());
}

TEST(Report, WarningWithoutPlaceForTheArgumentPrintsTheFormat) {
  CapturedOutput captured;
  warnReport("plain words", "ignored", "f", 1);
  EXPECT_EQ(captured.errCalls(), (Calls{"WARNING @ (f:1) :", "plain words", "\n"}));
}

TEST(Report, FatalErrorPrintsAndReturns) {
  CapturedOutput captured;
  FATAL_ERROR("!this (vector)");
  FATAL_ERROR("f", 7, "boom");
  EXPECT_EQ(captured.errCalls(), (Calls{"FATAL ERROR:!this (vector)\n", "FATAL ERROR@(f:7):boom\n"}));
}

TEST(Report, PercentSignsInMessagesAreText) {
  CapturedOutput captured;
  errReport("100%s", "a%d", 3);
  warnReport("%s", "50%n", "%s", 2);
  FATAL_ERROR("%x");
  EXPECT_EQ(captured.errCalls(),
            (Calls{"ERR: 100%s @ (a%d:3)\n", "WARNING @ (%s:2) :", "50%n", "\n", "FATAL ERROR:%x\n"}));
}

TEST(Report, LongMessagesAreCutAndTheRestOfAWarningFollows) {
  CapturedOutput captured;
  const std::string text(600, 'm');
  warnReport("%s", text.c_str(), "f", 1);
  EXPECT_EQ(captured.errCalls(), (Calls{"WARNING @ (f:1) :", text.substr(0, 499), "\n"}));
  captured.clear();
  errReport(text.c_str(), "f", 1);
  EXPECT_EQ(captured.err(), ("ERR: " + text).substr(0, 499));
}

}  // namespace
