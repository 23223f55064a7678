#include "limber/foundation/Output.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <type_traits>

#include "tests/support/CapturedOutput.h"
#include "tests/support/DecimalPoint.h"
#include "tests/support/TemporaryFile.h"

namespace {

static_assert(std::is_same_v<OutputFunction, int (*)(const char*)>);
static_assert(std::is_same_v<decltype(stmStdOut), FILE*>);
static_assert(std::is_same_v<decltype(numberPrintFormat), char*>);
static_assert(std::is_same_v<decltype(errPtrZero), void*>);

// Opens a fully buffered file as the override stream of both default channels.
class OverrideStream {
 public:
  explicit OverrideStream(const char* mode = "w") {
    directory_.write("out", "");
    stmStdOut = std::fopen((directory_ / "out").c_str(), mode);
  }
  ~OverrideStream() {
    std::fclose(stmStdOut);
    stmStdOut = nullptr;
  }
  // What has been written to the file so far.
  std::string onDisk() const { return readFile(directory_ / "out"); }

 private:
  TemporaryDirectory directory_;
};

std::string lastText;
int answer(const char* text) {
  lastText = text;
  return 17;
}
int otherAnswer(const char*) { return -4; }

TEST(Output, InitialValues) {
  EXPECT_NE(stdoutF, nullptr);
  EXPECT_NE(stderrF, nullptr);
  EXPECT_EQ(stmStdOut, nullptr);
  EXPECT_STREQ(numberPrintFormat, "%g ");
  EXPECT_EQ(errPtrZero, nullptr);
}

TEST(Output, FormatsAndReturnsWhatTheChannelReturns) {
  const DecimalPoint point;
  const OutputFunction out = stdoutF, err = stderrF;
  stdoutF = answer;
  stderrF = otherAnswer;
  EXPECT_EQ(stdoutPrintf("%d-%s|%5.2f", 3, "x", 2.5), 17);
  EXPECT_EQ(lastText, "3-x| 2.50");
  EXPECT_EQ(stderrPrintf("y"), -4);
  stderrF = answer;
  EXPECT_EQ(stderrPrintf("[%c]", 'z'), 17);
  EXPECT_EQ(lastText, "[z]");
  stdoutF = out;
  stderrF = err;
}

TEST(Output, TextIsCutAfter499Characters) {
  CapturedOutput captured;
  for (const int length : {498, 499, 500, 501, 5000}) {
    const std::string text(static_cast<std::size_t>(length), 'a');
    captured.clear();
    stdoutPrintf("%s", text.c_str());
    stderrPrintf("%sz", text.c_str());
    EXPECT_EQ(captured.out(), text.substr(0, 499)) << length;
    EXPECT_EQ(captured.err(), (text + "z").substr(0, 499)) << length;
  }
}

TEST(Output, DefaultChannelsWriteToTheProcessesStreams) {
  const auto both = [] {
    stdoutPrintf("to out %d\n", 1);
    stderrPrintf("to err %d\n", 2);
  };
  EXPECT_EQ(capturedStdout(both), "to out 1\n");
  EXPECT_EQ(capturedStderr(both), "to err 2\n");
}

TEST(Output, OverrideStreamTakesBothInCallOrderAndOnlyErrorsFlush) {
  const OverrideStream stream;
  stdoutPrintf("a");
  EXPECT_EQ(stream.onDisk(), "");
  stderrPrintf("b");
  EXPECT_EQ(stream.onDisk(), "ab");
  stdoutPrintf("c");
  EXPECT_EQ(stream.onDisk(), "ab");
  stderrPrintf("d");
  EXPECT_EQ(stream.onDisk(), "abcd");
}

TEST(Output, ResultOfTheWriteIsReturned) {
  const OverrideStream unwritable("r");
  EXPECT_EQ(stdoutPrintf("a"), EOF);
  EXPECT_EQ(stderrPrintf("a"), EOF);
}

#if defined(__GLIBC__)
FILE* switchTo;
ssize_t switchStreams(void*, const char*, size_t size) {
  stmStdOut = switchTo;
  return static_cast<ssize_t>(size);
}

// stmStdOut is read again for the flush: if a write changes it, the new stream is flushed.
TEST(Output, FlushLooksTheStreamUpAgain) {
  const TemporaryDirectory directory;
  switchTo = std::fopen((directory / "second").c_str(), "w");
  std::fputs("waiting", switchTo);
  FILE* const first = fopencookie(nullptr, "w", {nullptr, switchStreams, nullptr, nullptr});
  std::setvbuf(first, nullptr, _IONBF, 0);
  stmStdOut = first;
  stderrPrintf("x");
  EXPECT_EQ(stmStdOut, switchTo);
  EXPECT_EQ(readFile(directory / "second"), "waiting");
  stmStdOut = nullptr;
  std::fclose(first);
  std::fclose(switchTo);
  stmStdOut = nullptr;
}
#endif

}  // namespace
