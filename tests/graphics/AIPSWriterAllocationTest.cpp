#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "limber/foundation/ConsCell.h"
#include "limber/foundation/Output.h"
#include "limber/graphics/AIPSWriter.h"
#include "limber/linalg/WierdMatrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/EmptyPool.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/allocations/Allocations.h"

namespace {

int failures = 0;
int counting(const char*) { return failures++; }

// Draws, copies and pops while the k-th allocation fails. Returns true if one failed.
bool drawWithout(long k, const char* path) {
  const EmptyPool guard;  // the pool's refill is one of the allocations
  allocations::FailAt trap(k, true);
  AIPSWriter writer(path);
  writer.push();
  writer.line(2, 0, 0, 1, 1);
  AIPSWriter copy(writer);
  copy.push();
  copy.setBox(0, 0, 1, 1);
  copy.line(2, 0, 0, 1, 1);
  copy.pop();
  copy.pop();
  copy.pop();
  copy.push();
  return trap.happened();
}

TEST(AIPSWriter, SurvivesEveryFailedAllocation) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "alloc.ai";
  stderrF = stdoutF = counting;
  long k = 0;
  for (; drawWithout(k, path.c_str()); ++k) {
    EXPECT_GT(failures, 0) << "the failure of allocation " << k << " was not reported";
    failures = 0;
    ASSERT_LT(k, 100);
  }
  EXPECT_GE(k, 4) << "a name, a cell batch and matrices are allocated";
}

TEST(AIPSWriter, APushWithoutMemoryIsReportedAndPushesNothing) {
  TemporaryDirectory directory;
  CapturedOutput output;
  AIPSWriter writer((directory / "alloc.ai").c_str());
  const ConsCell* const top = writer.stack.cell;
  for (const long k : {0, 1}) {
    const EmptyPool guard;
    {
      allocations::FailAt trap(k);
      writer.push();
      EXPECT_TRUE(trap.happened());
    }
    EXPECT_EQ(writer.stack.cell, top) << k;
    EXPECT_NE(output.err(), "") << k;
    output.clear();
  }
}

// The sixteen pushes make the table of holders grow at different moments of copying the stack.
TEST(AIPSWriter, ACopyThatCannotBeNotedLeavesTheOriginalWhole) {
  TemporaryDirectory directory;
  const std::string path = directory / "alloc.ai";
  for (int depth = 1; depth <= 16; ++depth) {
    for (long k = 0;; ++k) {
      CapturedOutput output;
      bool happened;
      {
        AIPSWriter writer(path.c_str());
        for (int i = 1; i < depth; ++i) writer.push();
        {
          allocations::FailAt trap(k);
          const AIPSWriter copy(writer);
          happened = trap.happened();
          EXPECT_TRUE(copy.stream == writer.stream || (happened && !copy.stream));
          EXPECT_TRUE(copy.stack.cell == writer.stack.cell || (happened && !copy.stack.cell));
        }
        EXPECT_EQ(output.out(), "") << "the trailer is the last one's";
        const ConsCell* const top = writer.stack.cell;
        writer.pop();
        EXPECT_EQ(consPool, top) << "nobody else holds the matrix, so its cell is free again";
      }
      EXPECT_EQ(output.out(), "AIPS finished file " + path + "\n");
      EXPECT_EQ(output.err().empty(), !happened);
      if (!happened) break;
    }
  }
}

// Keeps copies of new writers until there is no memory to count one of their holders. Writers of different
// depths have different numbers of holders, so a different holder fails each time.
TEST(AIPSWriter, ACopyWhoseHoldersCannotBeCountedDrawsNothing) {
  TemporaryDirectory directory;
  const std::string path = directory / "copy.ai";
  for (const int depth : {1, 2, 3}) {
    CapturedOutput output;
    std::vector<std::unique_ptr<AIPSWriter>> writers;
    bool happened = false;
    while (!happened && writers.size() < 300) {
      writers.push_back(std::make_unique<AIPSWriter>(path.c_str()));
      AIPSWriter& original = *writers.back();
      for (int i = 1; i < depth; ++i) original.push();
      void* const place = ::operator new(sizeof(AIPSWriter));
      std::unique_ptr<AIPSWriter> copy;
      {
        const allocations::FailAt fail(0);
        copy.reset(new (place) AIPSWriter(original));
        happened = fail.happened();
      }
      if (!happened) {
        EXPECT_EQ(copy->stream, original.stream);
        writers.push_back(std::move(copy));
        continue;
      }
      EXPECT_EQ(copy->stream, nullptr);
      EXPECT_EQ(copy->stack.cell, nullptr);
      copy.reset();
      EXPECT_NE(original.stream, nullptr);
      const ConsCell* const top = original.stack.cell;
      original.pop();
      EXPECT_EQ(consPool, top) << "nobody else holds the matrix, so its cell is free again";
    }
    EXPECT_TRUE(happened) << depth;
  }
}

// Fills the table of holders with other shared objects, one by one, so that each of the copy's holders in
// turn makes the table grow. Earlier tests of the process may have made the table larger.
TEST(AIPSWriter, ACopyDrawsNothingWhicheverOfItsHoldersCannotBeCounted) {
  TemporaryDirectory directory;
  const std::string path = directory / "copy.ai";
  CapturedOutput output;
  std::vector<std::unique_ptr<DiagonalMatrix>> others;
  std::set<std::size_t> refused;
  while (refused.size() < 3 && others.size() < 20000) {
    AIPSWriter writer(path.c_str());
    {
      allocations::FailAt fail(0);
      const AIPSWriter copy(writer);
      EXPECT_EQ(copy.stream, fail.happened() ? nullptr : writer.stream);
      if (fail.happened()) refused.insert(others.size() / 2);
    }
    const ConsCell* const top = writer.stack.cell;
    writer.pop();
    EXPECT_EQ(consPool, top) << "nobody else holds the matrix, so its cell is free again";
    others.push_back(std::make_unique<DiagonalMatrix>(1));
    others.push_back(std::make_unique<DiagonalMatrix>(*others.back()));
  }
  EXPECT_EQ(refused.size(), 3U) << "the name, the stream and a matrix are counted";
}

}  // namespace
