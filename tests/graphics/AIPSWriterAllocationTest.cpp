#include <gtest/gtest.h>

#include "limber/foundation/ConsCell.h"
#include "limber/foundation/Output.h"
#include "limber/graphics/AIPSWriter.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/TemporaryFile.h"
#include "tests/support/allocations/Allocations.h"

namespace {

int failures = 0;
int counting(const char*) { return failures++; }

/// Draws, copies and pops while the k-th allocation fails; returns whether one did.
bool drawWithout(long k, const char* path) {
  consPool = nullptr;  // the pool's refill is one of the allocations
  allocations::FailAt trap(k, true);
  AIPSWriter writer(path);
  writer.push();
  writer.line(2, 0, 0, 1, 1);
  AIPSWriter copy(writer);
  copy.push();
  copy.setBox(0, 0, 1, 1);
  copy.pop();
  copy.pop();
  copy.pop();
  return trap.happened();
}

TEST(AIPSWriter, SurvivesEveryFailedAllocation) {
  CapturedOutput output;
  TemporaryDirectory directory;
  const std::string path = directory / "alloc.ai";
  stderrF = stdoutF = counting;
  long k = 0;
  for (; drawWithout(k, path.c_str()); k++) {
    EXPECT_GT(failures, 0) << "the failure of allocation " << k << " was not reported";
    failures = 0;
    ASSERT_LT(k, 100);
  }
  EXPECT_GE(k, 4) << "a name, a cell batch and matrices are allocated";
}

}  // namespace
