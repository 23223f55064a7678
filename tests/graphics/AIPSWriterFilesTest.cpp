// The files and streams that writers open, share and leave alone.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "limber/graphics/AIPSWriter.h"
#include "tests/graphics/Drawings.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/TemporaryFile.h"

namespace fs = std::filesystem;

namespace {

TEST(AIPSWriter, RemovesAnExistingFileEvenWhenAStreamIsGiven) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string old = directory.write("old.ai", "old");
  FILE* const stream = std::fopen((directory / "other.ai").c_str(), "w");
  { AIPSWriter writer(stream, old.c_str(), 0, 0, 1, 1); }
  EXPECT_EQ(std::fopen(old.c_str(), "r"), nullptr);
  EXPECT_EQ(readText(directory / "other.ai"), header + pen + trailer);
  EXPECT_EQ(output.out(), "AIPS finished file " + old + "\n");
}

TEST(AIPSWriter, DoesNotRemoveTheFileThatIsTheGivenStream) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "same.ai";
  FILE* const stream = std::fopen(path.c_str(), "w");
  { AIPSWriter writer(stream, path.c_str(), 0, 0, 1, 1); }
  EXPECT_EQ(readText(path), header + pen + trailer);
}

TEST(AIPSWriter, ANullNameWithAStreamRemovesNothingAndSaysNothing) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "unnamed.ai";
  FILE* const stream = std::fopen(path.c_str(), "w");
  {
    AIPSWriter writer(stream, nullptr, 0, 0, 1, 1);
    EXPECT_EQ(writer.name, nullptr);
  }
  EXPECT_EQ(readText(path), header + pen + trailer);
  EXPECT_EQ(output.out(), "");
  EXPECT_EQ(output.err(), "");
}

TEST(AIPSWriter, WithoutAFileReportsAndWritesToStandardOutput) {
  CapturedOutput output;
  const std::string path = "/nonexistent-directory/drawing.ai";
  const std::string bytes = capturedStdout([&] {
    AIPSWriter writer(path.c_str());
    EXPECT_EQ(writer.stream, stdout);
  });
  EXPECT_EQ(bytes, header + pen + trailer);
  EXPECT_EQ(output.err(), "ERR: Bad file to AIPSWriter @ (AIPS:28)\n");
  EXPECT_EQ(output.out(), "AIPS finished file " + path + "\n");
  EXPECT_GE(std::fputs("", stdout), 0) << "standard output must stay open";
}

TEST(AIPSWriter, ANullNameAndNoStreamReportsAndWritesToStandardOutput) {
  CapturedOutput output;
  const std::string bytes = capturedStdout([] { AIPSWriter writer(nullptr); });
  EXPECT_EQ(bytes, header + pen + trailer);
  EXPECT_EQ(output.err(), "ERR: Bad file to AIPSWriter @ (AIPS:28)\n");
  EXPECT_EQ(output.out(), "");
}

// A second init completes the first drawing. It may be given the writer's own stream and name.
TEST(AIPSWriter, InitGoesOnInItsOwnStream) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "two.ai", second = directory / "second.ai";
  {
    AIPSWriter writer(path.c_str());
    writer.push();
    writer.init(writer.stream, second.c_str(), 0, 0, 10, 20);
    EXPECT_EQ(writer.stack.count(), 1);
    EXPECT_EQ(writer.top()->y1, 20);
  }
  EXPECT_EQ(readText(path), header + pen + trailer + header + pen + trailer);
  EXPECT_EQ(output.out(), "AIPS finished file " + path + "\nAIPS finished file " + second + "\n");
}

TEST(AIPSWriter, InitTakesItsOwnName) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "again.ai";
  {
    AIPSWriter writer(path.c_str());
    writer.setWidth(7);
    writer.init(nullptr, writer.name, 0, 0, 10, 20);
    writer.setWidth(8);
  }
  EXPECT_EQ(readText(path), header + pen + "8 w\n" + trailer);
  EXPECT_EQ(output.out(), "AIPS finished file " + path + "\nAIPS finished file " + path + "\n");
}

TEST(AIPSWriter, InitInAStreamThatACopyStillHoldsClosesItOnce) {
  for (const bool named : {true, false}) {
    CapturedOutput output;
    TemporaryDirectory directory;
    const std::string path = directory / "held.ai", other = directory / "other.ai";
    {
      AIPSWriter first(std::fopen(path.c_str(), "w"), named ? path.c_str() : nullptr, 0, 0, 1, 1);
      AIPSWriter second(first);
      second.init(second.stream, named ? other.c_str() : nullptr, 0, 0, 10, 20);
    }
    EXPECT_EQ(readText(path), header + pen + header + pen + trailer + trailer) << named;
  }
}

// Copies.

TEST(AIPSWriter, CopiesShareAndTheLastOneWritesTheTrailer) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "shared.ai";
  {
    AIPSWriter first(path.c_str());
    {
      AIPSWriter second(first);
      EXPECT_EQ(second.stream, first.stream);
      EXPECT_EQ(second.stack.cell, first.stack.cell);
      EXPECT_EQ(second.name, first.name);
      second.setWidth(2);
      second.push();
    }
    EXPECT_EQ(output.out(), "");
    EXPECT_EQ(first.stack.count(), 1);
    first.setWidth(3);
  }
  EXPECT_EQ(readText(path), header + pen + "2 w\n3 w\n" + trailer);
  EXPECT_EQ(output.out(), "AIPS finished file " + path + "\n");
}

TEST(AIPSWriter, PoppingASharedMatrixLeavesItToTheOtherCopy) {
  CapturedOutput output;
  TemporaryDirectory directory;
  AIPSWriter first((directory / "pop.ai").c_str());
  first.setCoords(57.6, 72);
  AIPSWriter second(first);
  first.pop();
  EXPECT_EQ(first.top(), nullptr);
  ASSERT_NE(second.top(), nullptr);
  EXPECT_EQ(second.top()->a, 10);
}

TEST(AIPSWriter, AssignmentFinishesTheOldDrawingAndSharesTheNew) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string one = directory / "one.ai", two = directory / "two.ai";
  {
    AIPSWriter first(one.c_str()), second(two.c_str());
    second = first;
    EXPECT_EQ(readText(two), header + pen + trailer);
    EXPECT_EQ(second.stream, first.stream);
    EXPECT_EQ(second.groupCount, first.groupCount);
    const AIPSWriter& self = second;
    second = self;
    EXPECT_EQ(second.stream, first.stream);
  }
  EXPECT_EQ(readText(one), header + pen + trailer);
}

// Checks that a writer to this path does not remove what is there, whether or not it is given a stream as
// well.
void expectLeftAlone(const std::string& path) {
  CapturedOutput output;
  { AIPSWriter writer(path.c_str()); }  // opening a FIFO would block until someone reads it
  EXPECT_EQ(output.err(), "ERR: Bad file to AIPSWriter @ (AIPS:28)\n");
  EXPECT_TRUE(fs::exists(path)) << path;
  output.clear();
  { AIPSWriter writer(std::tmpfile(), path.c_str(), 0, 0, 1, 1); }
  EXPECT_EQ(output.err(), "");
  EXPECT_TRUE(fs::exists(path)) << path;
}

TEST(AIPSWriter, RemovesOnlyRegularFiles) {
  const TemporaryDirectory directory;
  const std::string inside = directory / "directory", file = directory.write("file", "old");
  ASSERT_TRUE(fs::create_directory(inside));
  expectLeftAlone(inside);
  CapturedOutput output;
  { AIPSWriter writer(nullptr, file.c_str(), 0, 0, 1, 1); }
  EXPECT_EQ(readText(file).substr(0, 4), "%!PS");
  { AIPSWriter writer(std::tmpfile(), file.c_str(), 0, 0, 1, 1); }
  EXPECT_FALSE(fs::exists(file));
}

TEST(AIPSWriter, LeavesFifosAndDevicesAlone) {
#if defined(_WIN32)
  GTEST_SKIP() << "Windows has neither here";
#else
  const TemporaryDirectory directory;
  const std::string fifo = directory / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  expectLeftAlone(fifo);
  CapturedOutput output;
  { AIPSWriter writer("/dev/null"); }
  EXPECT_EQ(output.err(), "");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
#endif
}

}  // namespace
