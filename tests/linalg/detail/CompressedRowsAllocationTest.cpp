#include <gtest/gtest.h>

#include "limber/linalg/detail/CompressedRows.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/allocations/Allocations.h"

using limber::detail::CompressedRows;

namespace {

// Calls `take` with its k-th allocation failing for every k until none does: it says so each time.
template <class Take>
void expectEachFailureIsTold(Take take) {
  for (int k = 0;; ++k) {
    ASSERT_LT(k, 20);
    CompressedRows rows;
    allocations::FailAt trap(k);
    const bool taken = take(rows);
    EXPECT_EQ(taken, !trap.happened()) << k;
    if (!trap.happened()) {
      EXPECT_GT(k, 0);
      break;
    }
  }
}

TEST(CompressedRows, TellThatThereIsNoMemory) {
  OwnRows sparse({{{0, 1.0}, {2, 2.0}}, {{1, 4.0}, {7, 1.0}}, {{3, 1.0}}});
  expectEachFailureIsTold([&](CompressedRows& rows) { return rows.takeRows(sparse.matrix); });
  expectEachFailureIsTold([&](CompressedRows& rows) { return rows.takeElements(sparse.matrix); });
  CompressedRows taken;
  ASSERT_TRUE(taken.takeRows(sparse.matrix));
  expectEachFailureIsTold([&](CompressedRows& rows) { return rows.takeTransposed(taken, 8); });
}

}  // namespace
