#include "limber/graphics/AIPSWriter.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <type_traits>

#include "limber/geometry/Pnt3.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/TemporaryFile.h"

namespace fs = std::filesystem;

namespace {

const std::string header =
    "%!PS-Adobe-3.0 \n"
    "%%Creator: Adobe Illustrator(r) 6.0\n"
    "%%BoundingBox: 0 0 504 720\n"
    "%%BeginProlog\n"
    "%%EndProlog\n";
const std::string pen = "0 G\n0 g\n1 w\n[]0 d\n";
const std::string trailer =
    "%%PageTrailer\n"
    "gsave annotatepage grestore showpage\n"
    "%%Trailer\n"
    "Adobe_IllustratorA_AI5 /terminate get exec\n"
    "Adobe_level2_AI5 /terminate get exec\n"
    "%%EOF\n";

// The text that `draw` writes between the first pen settings and the trailer. The file must contain all
// three.
template <class Draw>
std::string drawn(Draw draw) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "drawing.ai";
  {
    AIPSWriter writer(path.c_str());
    draw(writer);
  }
  const std::string bytes = readText(path), before = header + pen;
  EXPECT_EQ(bytes.substr(0, before.size()), before);
  if (bytes.size() < before.size() + trailer.size()) return "(short file)";
  EXPECT_EQ(bytes.substr(bytes.size() - trailer.size()), trailer);
  return bytes.substr(before.size(), bytes.size() - before.size() - trailer.size());
}

TEST(AIPSMatrix, HasTenDoublesInTheDocumentedOrderAndStartsAsIdentity) {
  static_assert(std::is_standard_layout_v<AIPSMatrix> && sizeof(AIPSMatrix) == 10 * sizeof(double));
  const AIPSMatrix t;
  const double expected[] = {0, 0, 0, 0, 1, 0, 0, 1, 0, 0};
  const double* const fields[] = {&t.x0, &t.y0, &t.x1, &t.y1, &t.a, &t.b, &t.c, &t.d, &t.tx, &t.ty};
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(*fields[i], expected[i]) << i;
    EXPECT_EQ(fields[i], &t.x0 + i);
  }
}

TEST(AIPSMatrix, CopiesAllTenValues) {
  AIPSMatrix t;
  double* const v = &t.x0;
  for (int i = 0; i < 10; ++i) v[i] = i + 0.5;
  const AIPSMatrix copy(t);
  AIPSMatrix assigned;
  assigned = t;
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ((&copy.x0)[i], i + 0.5);
    EXPECT_EQ((&assigned.x0)[i], i + 0.5);
  }
}

TEST(AIPSWriter, HasItsFieldsInTheDocumentedOrder) {
  static_assert(std::is_standard_layout_v<AIPSWriter>);
  EXPECT_EQ(offsetof(AIPSWriter, stream), 0u);
  EXPECT_EQ(offsetof(AIPSWriter, stack), sizeof(void*));
  EXPECT_EQ(offsetof(AIPSWriter, name), 2 * sizeof(void*));
  EXPECT_EQ(offsetof(AIPSWriter, groupCount), 3 * sizeof(void*));
}

TEST(AIPSWriter, WritesHeaderPenAndTrailerAroundNothing) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "empty.ai";
  { AIPSWriter writer(path.c_str()); }
  EXPECT_EQ(readText(path), header + pen + trailer);
  EXPECT_EQ(output.out(), "AIPS finished file " + path + "\n");
  EXPECT_EQ(output.err(), "");
}

TEST(AIPSWriter, TheOneArgumentFormHasABoxOf576By720) {
  CapturedOutput output;
  TemporaryDirectory directory;
  AIPSWriter writer((directory / "box.ai").c_str());
  const AIPSMatrix* t = writer.top();
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->x0, 0);
  EXPECT_EQ(t->y0, 0);
  EXPECT_EQ(t->x1, 576);
  EXPECT_EQ(t->y1, 720);
  EXPECT_EQ(t->tx, 0);
  EXPECT_EQ(t->ty, 0);
  EXPECT_EQ(writer.stack.count(), 1);
  EXPECT_EQ(writer.groupCount, 0);
}

TEST(AIPSWriter, TheBoundingBoxIsThePageWhateverTheBox) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "small.ai";
  {
    AIPSWriter writer(nullptr, path.c_str(), 10, 20, 30, 50);
    EXPECT_EQ(writer.top()->x0, 10);
    EXPECT_EQ(writer.top()->y1, 50);
  }
  EXPECT_EQ(readText(path), header + pen + trailer);
}

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

TEST(AIPSWriter, UnbalancedGroupsAreWarnedOfAtTheEnd) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "groups.ai";
  {
    AIPSWriter writer(path.c_str());
    writer.beginGroup();
    writer.beginGroup();
    writer.endGroup();
    EXPECT_EQ(writer.groupCount, 1);
  }
  EXPECT_EQ(readText(path), header + pen + "u\nu\nU\n" + trailer);
  // The message has no placeholder for the count, so it is printed unchanged.
  const std::vector<std::string> expected = {"WARNING @ (AIPS:69) :", "Bogus group count at AIPS close!",
                                             "\n"};
  EXPECT_EQ(output.errCalls(), expected);
}

TEST(AIPSWriter, MoreGroupsEndedThanBegunAreWarnedOfToo) {
  CapturedOutput output;
  TemporaryDirectory directory;
  {
    AIPSWriter writer((directory / "groups.ai").c_str());
    writer.endGroup();
    EXPECT_EQ(writer.groupCount, -1);
  }
  EXPECT_EQ(output.err(), "WARNING @ (AIPS:69) :Bogus group count at AIPS close!\n");
}

TEST(AIPSWriter, PenOperators) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.setWidth(2.5);
              w.stroke();
              w.fill();
              w.closeFillAndStroke();
              w.setLineCap(1);
              w.setLineJoin(2);
              w.reset();
            }),
            "2.5 w\nS\nf\nb\n1 J\n2 j\n" + pen);
}

TEST(AIPSWriter, DashIsSolidWhenOnIsNotPositive) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.setDash(0, 5);
              w.setDash(-1, 5);
              w.setDash(3, 1.5);
            }),
            "[]0 d\n[]0 d\n[3 1.5]0 d\n");
}

TEST(AIPSWriter, GraysGoThroughNormColorWithoutComplement) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.strokeGray(0.25);
              w.fillGray(0.75);
              w.strokeGray(255);
              w.fillGray(51);
              w.strokeGray(1.01);
            }),
            "0.25 G\n0.75 g\n1 G\n0.2 g\n1.01 G\n");
}

TEST(AIPSWriter, ColoursAreWrittenAsTheirComplement) {
  EXPECT_EQ(drawn([](AIPSWriter& w) {
              w.strokeRGB(1, 0, 0, nullptr);
              w.strokeRGB(255, 0, 0, nullptr);
              w.strokeRGB(1.01, 0, 0, nullptr);
              w.fillRGB(0.25, 0.5, 0.75);
              w.strokeRGB(0, 0, 1, "Sky");
              w.fillRGB(0, 255, 0, "Leaf");
              w.fillRGB(1, 1, 1, "");
              w.strokeRGB(Pnt3(0.5, 0, 1));
              w.fillRGB(Pnt3(1, 0.25, 0.5));
            }),
            "0 1 1 0 K\n0 1 1 0 K\n-0.01 1 1 0 K\n0.75 0.5 0.25 0 k\n1 1 0 0 (Sky) 0 X\n1 0 1 0 (Leaf) 0 x\n"
            "0 0 0 0 () 0 x\n"
            "0.5 1 0 0 K\n0 0.75 0.5 0 k\n");
}

TEST(AIPSWriter, NormColorMultipliesByTheStatedConstantAbove101) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const AIPSWriter writer((directory / "n.ai").c_str());
  EXPECT_EQ(writer.normColor(1.01), 1.01);
  EXPECT_EQ(writer.normColor(1.02), 1.02 * 0.00392156862745098);
  EXPECT_EQ(writer.normColor(8.25), 8.25 * 0.00392156862745098);
  EXPECT_NE(writer.normColor(8.25), 8.25 / 255);
  EXPECT_EQ(writer.normColor(-3.0), -3.0);
}

TEST(AIPSWriter, OutputIsInTheCLocale) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "localedef cannot make a locale here";
  EXPECT_EQ(drawn([](AIPSWriter& w) { w.setWidth(1.5); }), "1.5 w\n");
}

TEST(AIPSWriter, AprFormatsToTheStream) {
  EXPECT_EQ(drawn([](AIPSWriter& w) { w.apr("%% %s %d\n", "note", 7); }), "% note 7\n");
}

// A second init completes the first drawing. Its stream and name may be those of the writer.
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

// Writers of this name, with and without a stream of their own, leave what has it alone.
void expectLeftAlone(const std::string& path) {
  CapturedOutput output;
  { AIPSWriter writer(path.c_str()); }  // a FIFO that is opened would wait for its reader
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
