#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

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

TEST(Reader, ACopyThatCannotBeNotedIsAtEndAndTakesNothingAway) {
  FileReader file("one two");
  for (const long k : {0L, 1L}) {
    CapturedOutput output;
    Reader other(nullptr, "x");
    {
      allocations::FailAt trap(k, true);
      other = file.reader;
      if (!trap.happened()) continue;
    }
    EXPECT_EQ(other.ok(), 0);
    EXPECT_EQ(other.file, nullptr);
    EXPECT_EQ(other.name, nullptr);
  }
  EXPECT_STREQ(file.reader.getWord(), "one");
  EXPECT_STREQ(file.reader.name, file.path.c_str());
}

// A copy of a reader counts two holders, one of the file and one of the name. Copies of new readers are kept
// until one of these counts needs memory. After a reader without a name this is the count of the name,
// otherwise that of the file.
TEST(Reader, ACopyWhoseHoldersCannotBeCountedSharesNeitherFileNorName) {
  TemporaryDirectory directory;
  const std::string path = directory.write("text", "one two");
  for (const bool nameless : {false, true}) {
    CapturedOutput output;
    std::vector<std::unique_ptr<Reader>> readers;
    if (nameless) {
      const allocations::FailAt fail(1);  // the first allocation is the reader itself
      readers.push_back(std::make_unique<Reader>(path.c_str(), nullptr));
      EXPECT_EQ(readers.back()->name, nullptr);
    }
    if (nameless) readers.push_back(std::make_unique<Reader>(*readers.back()));
    bool happened = false;
    while (!happened && readers.size() < 300) {
      readers.push_back(std::make_unique<Reader>(path.c_str(), nullptr));
      Reader& original = *readers.back();
      auto copy = std::make_unique<Reader>(nullptr, "x");
      {
        const allocations::FailAt fail(0);
        *copy = original;
        happened = fail.happened();
      }
      if (happened) {
        EXPECT_EQ(copy->ok(), 0);
        EXPECT_EQ(copy->file, nullptr);
        EXPECT_EQ(copy->name, nullptr);
        copy.reset();
        EXPECT_STREQ(original.getWord(), "one");
        EXPECT_STREQ(original.name, path.c_str());
      } else {
        EXPECT_EQ(copy->file, original.file);
        readers.push_back(std::move(copy));
      }
    }
    EXPECT_TRUE(happened);
  }
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
