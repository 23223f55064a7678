#include <gtest/gtest.h>

#include <string>

#include "tests/io/Readers.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/allocations/Allocations.h"

namespace {

TEST(Reader, ReportsAFailedAllocationOfTheName) {
  TemporaryDirectory directory;
  const std::string path = directory.write("text", "one two");
  for (const bool searched : {false, true}) {
    CapturedOutput output;
    bool failed, ok;
    {
      allocations::FailAt trap(0, true);
      Reader r(path.c_str(), searched ? "" : static_cast<const char*>(nullptr));
      failed = trap.happened();
      ok = r.ok();
    }
    EXPECT_TRUE(failed);
    const std::string report = output.err();
    EXPECT_EQ(report.rfind(searched ? "FATAL ERROR@(Reader:" : "FATAL ERROR:", 0), 0u) << report;
    EXPECT_NE(report.find(":NEW fails - memory problem\n"), std::string::npos) << report;
    EXPECT_EQ(output.errCalls().size(), 1u);
    // Without memory for the path it does not open the file. Without memory for the name it still reads.
    EXPECT_EQ(ok, !searched);
  }
}

// A copy counts two holders, one of the file and one of the name.
TEST(Reader, ACopyWhoseHoldersCannotBeCountedIsAtEndAndTakesNothingAway) {
  FileReader file("one two");
  for (long k = 0;; ++k) {
    CapturedOutput output;
    Reader other(nullptr, "x");
    bool happened;
    {
      const allocations::FailAt trap(k, true);
      other = file.reader;
      happened = trap.happened();
    }
    if (!happened) {
      EXPECT_GE(k, 2);
      EXPECT_EQ(other.file, file.reader.file);
      EXPECT_EQ(other.name, file.reader.name);
      break;
    }
    EXPECT_EQ(other.ok(), 0);
    EXPECT_EQ(other.file, nullptr);
    EXPECT_EQ(other.name, nullptr);
  }
  EXPECT_STREQ(file.reader.getWord(), "one");
  EXPECT_STREQ(file.reader.name, file.path.c_str());
}

TEST(Reader, ReadingAllocatesNothing) {
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "1.5 word 12\n";
  FileReader file(text);
  Reader& r = file.reader;
  double d;
  int n;
  r.getReal(d, 1);
  const long before = allocations::count();
  while (r.getWord() && r.getInt(n, 1) && r.getReal(d, 0)) {
  }
  EXPECT_EQ(allocations::count(), before);
}

}  // namespace
