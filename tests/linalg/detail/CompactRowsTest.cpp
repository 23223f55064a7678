#include "limber/linalg/detail/CompactRows.h"

#include <gtest/gtest.h>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "tests/support/OwnProcess.h"

namespace {

// Row i holds `value` in columns 0 ... i.
class Triangle : public limber::detail::RowSource {
 public:
  explicit Triangle(double v) : value(v) {}
  void appendRow(int i, SpVec& row) const override {
    for (int j = 0; j <= i; ++j) limber::detail::appendCompacted(row, i, j, value, 0.0);
  }
  double value;
};

// The process has only one state of the conversion.
TEST(CompactRows, CountsEntriesSinceTheLastResetIntoAMatrixMadeWithRoom) {
  if (!inOwnProcess()) return;
  using limber::detail::compactedEntries;
  using limber::detail::compactRows;
  EXPECT_EQ(compactedEntries(), 0);
  HSpMat* const image = compactRows(3, Triangle(2.0), 1);
  ASSERT_EQ(image->height(), 3);
  EXPECT_EQ(image->rowCapacity, 2000);
  EXPECT_GE(image->row(0)->indices.capacity, 200);
  EXPECT_GE(image->row(0)->values.capacity, 200);
  EXPECT_EQ(compactedEntries(), 6);
  compactRows(2, Triangle(2.0), 0);
  EXPECT_EQ(compactedEntries(), 9) << "continues without a reset";
  compactRows(1, Triangle(0.9e-12), 1);
  EXPECT_EQ(compactedEntries(), 0);
  compactRows(1, Triangle(-1e-12), 1);
  EXPECT_EQ(compactedEntries(), 1) << "counted, though a row stores nothing that small";
  EXPECT_EQ(image->row(0)->numEntries, 0);
}

}  // namespace
