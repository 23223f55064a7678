#include "limber/linalg/Compact.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "limber/foundation/Clock.h"
#include "limber/foundation/ClockPtr.h"
#include "limber/linalg/ResizeMatrix.h"
#include "tests/linalg/Matrices.h"

namespace {

using Rows = std::vector<std::vector<double>>;

Rows denseOf(const SpMat& m, int w) {
  Rows rows;
  for (int i = 0; i < m.height(); ++i) {
    rows.emplace_back();
    for (int j = 0; j < w; ++j) rows.back().push_back(m.acc(i, j));
  }
  return rows;
}

TEST(Compact, DenseImageHoldsWhatIsAtLeast1em12) {
  FullMatrix m = matrixOf({{1, 1e-13, -2}, {0, -1e-13, 2e-12}});
  SpMat* const image = m.compact(0.0, 7, 7);
  EXPECT_EQ(denseOf(*image, 3), (Rows{{1, 0, -2}, {0, 0, 2e-12}}));
  EXPECT_EQ(static_cast<HSpMat*>(image)->row(0)->numEntries, 2);
  deleteImage(image);
}

TEST(Compact, DenseImageAddsToTheDiagonalBeforeTheTest) {
  FullMatrix m = matrixOf({{-0.5, 1}, {0, 0}});
  SpMat* const image = m.compact(0.5, 0, 0);
  EXPECT_EQ(denseOf(*image, 2), (Rows{{0, 1}, {0, 0.5}}));
  deleteImage(image);
}

TEST(Compact, DenseImagesBelongToTheCaller) {
  FullMatrix m = matrixOf({{1}});
  SpMat* const first = m.compact(0.0, 0, 0);
  SpMat* const second = m.compact(0.0, 0, 0);
  EXPECT_NE(first, second);
  EXPECT_NE(first, static_cast<SpMat*>(naiveCompact(&m, 0.0, 0, 1)));
  deleteImage(first);
  deleteImage(second);
}

TEST(Compact, NaiveImageIsOneMatrixForAllCalls) {
  FullMatrix a = matrixOf({{1, 2}, {0, 3}, {4, 0}}), b = matrixOf({{5}});
  HSpMat* const first = naiveCompact(&a, 0.0, 0, 1);
  EXPECT_EQ(denseOf(*first, 2), (Rows{{1, 2}, {0, 3}, {4, 0}}));
  HSpMat* const second = naiveCompact(&b, 0.25, 0, 1);
  EXPECT_EQ(second, first);
  EXPECT_EQ(denseOf(*second, 2), (Rows{{5.25, 0}}));
}

TEST(Compact, NaiveImageLeavesOutTinyValuesAndAddsToTheDiagonal) {
  FullMatrix m = matrixOf({{1e-13, 2}, {3, -1}});
  HSpMat* const image = naiveCompact(&m, 1.0, 0, 1);
  EXPECT_EQ(denseOf(*image, 2), (Rows{{1.0 + 1e-13, 2}, {3, 0}}));
  EXPECT_EQ(image->row(1)->numEntries, 1);
}

TEST(Compact, NaiveImageWithoutResetAppendsToTheRowsAndListsThemAgain) {
  FullMatrix a = matrixOf({{1, 0}, {0, 2}}), b = matrixOf({{0, 0, 3}, {0, 0, 4}});
  HSpMat* const image = naiveCompact(&a, 0.0, 0, 1);
  naiveCompact(&b, 0.0, 0, 0);
  ASSERT_EQ(image->height(), 4);
  EXPECT_EQ(image->row(2), image->row(0));
  EXPECT_EQ(image->row(3), image->row(1));
  EXPECT_EQ(denseOf(*image, 3), (Rows{{1, 0, 3}, {0, 2, 4}, {1, 0, 3}, {0, 2, 4}}));
}

TEST(Compact, NaiveImageWithoutResetGoesOnWithNewRowsWhenTheOldRunOut) {
  FullMatrix small = matrixOf({{1}});
  naiveCompact(&small, 0.0, 0, 1)->clear();
  ResizeMatrix tall(5000, 1);
  for (int i = 0; i < 5000; ++i) tall.e(i, 0) = i + 1;
  HSpMat* const image = naiveCompact(&tall, 0.0, 0, 0);
  ASSERT_EQ(image->height(), 5000);
  for (int i = 0; i < 5000; ++i) ASSERT_EQ(image->acc(i, 0), i + 1);
  naiveCompact(&small, 0.0, 0, 1);
  EXPECT_EQ(image->height(), 1);
}

TEST(Compact, NaiveImageIsTimedOnlyWithReset) {
  FullMatrix m = matrixOf({{1}});
  ncompact_clock.init("compact");
  ncompact_clock.reset();
  naiveCompact(&m, 0.0, 0, 1);
  EXPECT_EQ(ncompact_clock.clock->count, 1);
  naiveCompact(&m, 0.0, 0, 0);
  EXPECT_EQ(ncompact_clock.clock->count, 1);
  naiveCompact(&m, 0.0, 0, 1);
  EXPECT_EQ(ncompact_clock.clock->count, 2);
}

// Waits before it answers.
class SlowMatrix : public FullMatrix {
 public:
  using FullMatrix::FullMatrix;
  double acc(int, int) const override {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return 1.0;
  }
};

// Both counters take a real interval, and the clock's lies inside the other.
TEST(Compact, NaiveImageIsTimedFromItsFirstRowToItsLast) {
  SlowMatrix m(2, 1);
  ncompact_clock.init("compact");
  ncompact_clock.reset();
  Clock around;
  around.start();
  naiveCompact(&m, 0.0, 0, 1);
  around.stop();
  const Clock& clock = *ncompact_clock.clock;
  const std::int64_t ticks = clock.frequency ? clock.frequency : 1000;
  EXPECT_GE(clock.total, ticks / 1000 * 39) << "two elements of 20 ms";
  EXPECT_LE(clock.total, around.total);
}

}  // namespace
