// Copies share storage, and the library counts its holders. When there is no memory for the count, the copy
// is empty and the original keeps everything.

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <new>
#include <vector>

#include "limber/linalg/STMLapack.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/WierdMatrices.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/OwnProcess.h"
#include "tests/support/allocations/Allocations.h"

namespace {

// Calls copy(original, target) with new originals, whose copies all stay alive, until the count of a holder
// needs memory, which is refused. Then checks the copy and the original.
template <class Matrix, class Make, class Check>
void failToShare(Make make, bool assigned, Check check) {
  std::vector<std::unique_ptr<Matrix>> originals, copies;
  for (int n = 0; n < 20000; ++n) {
    originals.push_back(make());
    std::unique_ptr<Matrix> copy;
    if (assigned) copy = make();
    alignas(Matrix) unsigned char place[sizeof(Matrix)];
    CapturedOutput output;
    bool happened;
    Matrix* made = copy.get();
    {
      const allocations::FailAt fail(0);
      if (assigned) {
        *made = *originals.back();
      } else {
        made = new (place) Matrix(*originals.back());
      }
      happened = fail.happened();
    }
    if (happened) {
      EXPECT_EQ(output.err(), "FATAL ERROR:NEW fails - memory problem\n");
      check(*originals.back(), *made);
    } else {
      EXPECT_EQ(output.err(), "");
      if (!assigned) copy = std::make_unique<Matrix>(*made);
    }
    if (!assigned) made->~Matrix();
    if (happened) return;
    copies.push_back(std::move(copy));
  }
  ADD_FAILURE() << "no count needed memory";
}

TEST(SharedStorageAllocation, ABandedMatrixThatCannotBeSharedIsCopiedAsAnEmptyOne) {
  const auto make = [] {
    auto band = std::make_unique<BandedMatrix>(2, 2);
    band->e(1, 1) = 7.0;
    return band;
  };
  for (const bool assigned : {false, true}) {
    failToShare<BandedMatrix>(make, assigned, [](BandedMatrix& original, BandedMatrix& copy) {
      EXPECT_EQ(copy.data, nullptr);
      EXPECT_EQ(copy.height(), 0);
      EXPECT_EQ(copy.acc(1, 1), 0.0);
      EXPECT_EQ(original.acc(1, 1), 7.0);
    });
  }
}

TEST(SharedStorageAllocation, ADiagonalThatCannotBeSharedIsCopiedAsNone) {
  const auto make = [] {
    auto diagonal = std::make_unique<DiagonalMatrix>(2);
    diagonal->diag->e(1) = 7.0;
    return diagonal;
  };
  for (const bool assigned : {false, true}) {
    failToShare<DiagonalMatrix>(make, assigned, [](DiagonalMatrix& original, DiagonalMatrix& copy) {
      EXPECT_EQ(copy.diag, nullptr);
      EXPECT_EQ(copy.height(), 0);
      EXPECT_EQ(original.acc(1, 1), 7.0);
    });
  }
}

TEST(SharedStorageAllocation, RowsThatCannotBeSharedAreCopiedAsNone) {
  SpVec row = rowOf({{1, 7.0}});
  const auto make = [&row] {
    auto rows = std::make_unique<HSpMat>(0);
    rows->add(&row);
    return rows;
  };
  for (const bool assigned : {false, true}) {
    failToShare<HSpMat>(make, assigned, [](HSpMat& original, HSpMat& copy) {
      EXPECT_EQ(copy.rows, nullptr);
      EXPECT_EQ(copy.height(), 0);
      EXPECT_EQ(copy.acc(0, 1), 0.0);
      EXPECT_EQ(original.acc(0, 1), 7.0);
    });
  }
}

// More rows than allocated move to a longer array. Copies keep the old one, so each row gets another holder.
TEST(SharedStorageAllocation, ASharedBandThatCannotGrowIsEmptyAndItsCopiesKeepTheirRows) {
  int failures = 0;
  for (long k = 0;; ++k) {
    ASSERT_LT(k, 10000);
    BandedMatrix band(40, 2);
    band.e(39, 39) = 7.0;
    const BandedMatrix copy(band);
    CapturedOutput output;
    bool happened;
    {
      const allocations::FailAt fail(k);
      band.growbw(60, 1);
      happened = fail.happened();
    }
    EXPECT_EQ(const_cast<BandedMatrix&>(copy).acc(39, 39), 7.0) << k;
    if (!happened) {
      EXPECT_EQ(band.height(), 60);
      EXPECT_EQ(band.acc(39, 39), 7.0);
      break;
    }
    ++failures;
    EXPECT_EQ(band.data, nullptr) << k;
    EXPECT_EQ(band.height(), 0) << k;
    EXPECT_NE(output.err().find("Can't allocated banded matrix!"), std::string::npos) << k;
  }
  EXPECT_GT(failures, 30);
}

TEST(SharedStorageAllocation, ASlicedMatrixWithoutMemoryHasNoRowsAndNoColumns) {
  OwnRows rows({{{0, 1.0}, {2, 2.0}}, {{1, 4.0}}});
  const FullMatrix dense = matrixOf({{1, 2, 3}, {4, 5, 6}});
  for (const SpMat* source : {static_cast<const SpMat*>(&rows.matrix), static_cast<const SpMat*>(&dense)}) {
    int failures = 0;
    for (long k = 0;; ++k) {
      ASSERT_LT(k, 100);
      CapturedOutput output;
      allocations::FailAt* const fail = new allocations::FailAt(k);
      const SlicedMatrix sliced(*source);
      const bool happened = fail->happened();
      delete fail;
      EXPECT_EQ(sliced.height(), happened ? 0 : 2) << k;
      EXPECT_EQ(sliced.width(), happened ? 0 : 3) << k;
      EXPECT_EQ(output.err().empty(), !happened) << k;
      if (!happened) break;
      ++failures;
      EXPECT_EQ(sliced.acc(0, 0), 0.0);
    }
    EXPECT_GT(failures, 4);
  }
}

TEST(SharedStorageAllocation, AProductWithoutMemoryForItsResultIsEmpty) {
  OwnRows rows;
  for (int i = 0; i < 30; ++i) rows.add(rowOf({{i, 1.0 + i}}));
  const SlicedMatrix sliced(rows.matrix);
  Vector x(30), first;
  x = 1.0;
  sliced.mult(&x, &first);  // the first resize to a size makes its statistics
  for (const bool transposed : {false, true}) {
    CapturedOutput output;
    Vector y;
    {
      const allocations::FailAt fail(0);
      if (transposed) {
        sliced.multT(&x, &y);
      } else {
        sliced.mult(&x, &y);
      }
      EXPECT_TRUE(fail.happened());
    }
    EXPECT_EQ(y.size(), 0);
    EXPECT_NE(output.err().find("NEW fails - memory problem"), std::string::npos);
    sliced.mult(&x, &y);
    EXPECT_EQ(y[29], 30.0);
  }
}

TEST(SharedStorageAllocation, ABandWithoutMemoryForTheMostRowsIsEmpty) {
  BandedMatrix band(2, 2);
  CapturedOutput output;
  {
    const allocations::FailAt fail(0);
    band.growbw(INT_MAX, 1);
  }
  EXPECT_EQ(output.out(), "Expanding Banded Matrix from 2 to 2147483647 rows!\n");
  EXPECT_NE(output.err().find("Can't allocated banded matrix!"), std::string::npos);
  EXPECT_EQ(band.data, nullptr);
}

// The rows at the beginning are wider than the last ones, so the result grows while rows are added to it.
TEST(SharedStorageAllocation, ATransposedProductThatCannotGrowItsResultIsEmpty) {
  for (const bool behindTheWidth : {false, true}) {
    OwnRows rows;
    rows.add(rowOf({{0, 1.0}, {9, 2.0}}));
    if (behindTheWidth) rows.rows[0]->width = 1;
    rows.add(rowOf({{50, 3.0}}));
    for (int i = 0; i < 20; ++i) rows.add(rowOf({{0, 1.0}}));
    Vector x(22);
    x = 1.0;
    int empty = 0;
    for (long k = 0;; ++k) {
      CapturedOutput output;
      Vector y;
      bool happened;
      {
        const allocations::FailAt fail(k);
        rows.matrix.multT(&x, &y);
        happened = fail.happened();
      }
      // the statistics of reallocations may fail silently
      const bool reported = output.err().find("NEW fails - memory problem") != std::string::npos;
      ASSERT_EQ(y.size(), reported ? 0 : 51);
      empty += reported;
      if (happened) continue;
      EXPECT_EQ(y[0], 21.0);
      EXPECT_EQ(y[9], 2.0);
      EXPECT_EQ(y[50], 3.0);
      break;
    }
    EXPECT_EQ(empty, 1);
  }
}

TEST(SharedStorageAllocation, AnInverseWithoutMemoryForItsBookkeepingLeavesTheMatrix) {
  if (!inOwnProcess()) return;  // the shared workspaces only grow
  const int n = 260;            // too many for the fixed bookkeeping
  FullMatrix m(n, n);
  int failures = 0;
  for (long k = 0;; ++k) {
    m.identity();
    m.scale(2.0);
    CapturedOutput output;
    int inverted;
    bool happened;
    {
      const allocations::FailAt fail(k);
      inverted = m.invert();
      happened = fail.happened();
    }
    EXPECT_EQ(inverted, happened ? 0 : 1);
    EXPECT_EQ(m.e(n - 1, n - 1), happened ? 2.0 : 0.5);
    if (!happened) break;
    EXPECT_EQ(output.err(), "FATAL ERROR:NEW fails - memory problem\n");
    ++failures;
  }
  EXPECT_EQ(failures, 2);
}

TEST(SharedStorageAllocation, AFactorizationWithoutMemoryForTauLeavesTheMatrix) {
  FullMatrix a(9, 9);
  a.identity();
  Vector first, tau;
  CapturedOutput output;
  qrFactor(&a, &first);  // the first resize to a size makes its statistics
  a.identity();
  {
    const allocations::FailAt fail(0);
    EXPECT_EQ(qrFactor(&a, &tau), -5);
  }
  EXPECT_EQ(a.e(8, 8), 1.0);
  EXPECT_EQ(tau.size(), 0);
}

TEST(SharedStorageAllocation, AProductWithQWithoutMemoryLeavesItsOperand) {
  if (!inOwnProcess()) return;  // the shared workspaces only grow
  const int n = 900;            // the copied reflectors need more than the fixed workspace
  FullMatrix qr(n, n);
  Vector tau(n), b(n);
  b = 3.0;
  CapturedOutput output;
  {
    const allocations::FailAt fail(0);
    EXPECT_EQ(qtransTimes(&qr, &tau, &b), -11);
  }
  EXPECT_EQ(output.err(), "FATAL ERROR:NEW fails - memory problem\n");
  EXPECT_EQ(b[n - 1], 3.0);
  EXPECT_EQ(qtransTimes(&qr, &tau, &b), 0);
}

// The images of compact share one matrix and a pool of rows, which the first call makes.
TEST(SharedStorageAllocation, TheFirstImageWithoutMemoryIsMissingOrShorter) {
  if (!inOwnProcess()) return;
  BandedMatrix band(3, 2);
  for (int i = 0; i < 3; ++i) band.e(i, i) = 5.0;
  for (long k = 0;; ++k) {
    ASSERT_LT(k, 100);
    CapturedOutput output;
    SpMat* image;
    bool happened;
    {
      const allocations::FailAt fail(k, true);
      image = band.compact(0.0, 0, 1);
      happened = fail.happened();
    }
    EXPECT_EQ(output.err().empty(), !happened) << k;
    if (k == 0) {
      EXPECT_EQ(image, nullptr);
    }
    if (!happened) {
      ASSERT_TRUE(image);
      EXPECT_EQ(image->height(), 3);
      EXPECT_EQ(image->acc(2, 2), 5.0);
      break;
    }
    const int height = image ? image->height() : 0;
    for (int i = 0; i < height; ++i) EXPECT_TRUE(image->acc(i, i) == 5.0 || image->acc(i, i) == 0.0) << k;
    EXPECT_LE(height, 3) << k;
  }
}

TEST(SharedStorageAllocation, ARowOfTheFirstImageWithoutMemoryIsReported) {
  if (!inOwnProcess()) return;
  ASSERT_TRUE(BandedMatrix(0, 0).compact(0.0, 0, 1));  // makes the shared matrix, and no row
  BandedMatrix band(3, 2);
  CapturedOutput output;
  const allocations::FailAt fail(0);
  const SpMat* const image = band.compact(0.0, 0, 1);
  ASSERT_TRUE(image && fail.happened());
  EXPECT_EQ(image->height(), 0);
  EXPECT_NE(output.err().find(":NEW fails - memory problem\n"), std::string::npos) << output.err();
}

}  // namespace
