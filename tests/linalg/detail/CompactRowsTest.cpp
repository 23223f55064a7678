#include "limber/linalg/detail/CompactRows.h"

#include <gtest/gtest.h>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "tests/support/OwnProcess.h"

namespace {

// compactRows of a matrix whose row i holds `value` in columns 0 ... i.
HSpMat* compactTriangle(int height, double value, int reset) {
  const auto appendRow = [value](int i, SpVec& row) {
    for (int j = 0; j <= i; ++j) limber::detail::appendCompacted(row, i, j, value, 0.0);
  };
  return limber::detail::compactRows(height, appendRow, reset);
}

// The process has only one state of the conversion.
TEST(CompactRows, CountsEntriesSinceTheLastResetIntoAMatrixMadeWithRoom) {
  if (!inOwnProcess()) return;
  using limber::detail::compactedEntries;
  EXPECT_EQ(compactedEntries(), 0);
  HSpMat* const image = compactTriangle(3, 2.0, 1);
  ASSERT_EQ(image->height(), 3);
  EXPECT_EQ(image->rowCapacity, 2000);
  EXPECT_GE(image->row(0)->indices.capacity, 200);
  EXPECT_GE(image->row(0)->values.capacity, 200);
  EXPECT_EQ(compactedEntries(), 6);
  compactTriangle(2, 2.0, 0);
  EXPECT_EQ(compactedEntries(), 9) << "continues without a reset";
  compactTriangle(1, 0.9e-12, 1);
  EXPECT_EQ(compactedEntries(), 0);
  compactTriangle(1, -1e-12, 1);
  EXPECT_EQ(compactedEntries(), 1) << "counted, though a row stores nothing that small";
  EXPECT_EQ(image->row(0)->numEntries, 0);
}

}  // namespace
