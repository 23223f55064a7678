#include "limber/linalg/BandedMatrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <optional>

#include "limber/linalg/Compact.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/OwnProcess.h"

namespace {

// Fills every stored place inside the matrix.
void fill(BandedMatrix& m, std::mt19937_64& random) {
  std::uniform_real_distribution<double> value(-1.0, 1.0);
  for (int i = 0; i < m.rows; ++i)
    for (int j = std::max(0, i - m.bw); j < std::min(i + m.bw, m.rows); ++j) m.e(i, j) = value(random);
}

TEST(BandedMatrix, NewOneHasHalfTheWidthAsBand) {
  BandedMatrix m(5, 7);
  EXPECT_EQ(m.maxRows, 5);
  EXPECT_EQ(m.rows, 5);
  EXPECT_EQ(m.maxWidth, 7);
  EXPECT_EQ(m.bw, 3);
  EXPECT_EQ(m.height(), 5);
  EXPECT_EQ(m.width(), 5);
}

TEST(BandedMatrix, BandReachesFurtherLeftThanRight) {
  BandedMatrix m(5, 6);
  m.zero();
  m.e(2, 4) = 1.0;
  m.e(4, 1) = 2.0;
  EXPECT_EQ(m.acc(2, 4), 1.0);
  EXPECT_EQ(m.data[2][5], 1.0);
  EXPECT_EQ(m.acc(4, 1), 2.0);
  EXPECT_EQ(m.data[4][0], 2.0);
  EXPECT_EQ(m.acc(2, 5), 0.0);
  EXPECT_EQ(m.acc(4, 0), 0.0);
}

// This is a single test, because earlier reports count for the whole process: the positions here are the
// first ones that lie 6 or more places right of a band.
TEST(BandedMatrix, WritesOutsideTheBandAreReportedOnlyFurtherRightThanBefore) {
  if (!inOwnProcess()) return;
  BandedMatrix m(2000, 6);
  CapturedOutput output;
  double* const spare = &m.e(4, 0);
  EXPECT_EQ(output.out() + output.err(), "");
  EXPECT_EQ(&m.e(2, 5), spare);
  EXPECT_EQ(output.out(), "(6 of 6 max [2 5 in bw=3]) ");
  EXPECT_EQ(output.err(),
            "ERR: Out of bounds banded access (further problems not reported) @ (WierdMatrices:314)\n");
  output.clear();
  EXPECT_EQ(&m.e(3, 6), spare);
  EXPECT_EQ(&m.e(9, 0), spare);
  EXPECT_EQ(output.out() + output.err(), "");
  EXPECT_EQ(&m.e(2, 6), spare);
  EXPECT_EQ(output.out(), "(7 of 6 max [2 6 in bw=3]) ");
  output.clear();
  m.e(0, 1900) = 5.0;
  EXPECT_EQ(output.out(), "(1903 of 6 max [0 1900 in bw=3]) ");
  output.clear();
  m.e(2, 6) = 1.0;
  EXPECT_EQ(output.out() + output.err(), "");
}

TEST(BandedMatrix, ReachesTheInterfaceThroughTheBase) {
  BandedMatrix m(3, 4);
  SpMat& base = m;
  CapturedOutput output;
  EXPECT_EQ(base.height(), 0);
  EXPECT_EQ(base.width(), 0);
  EXPECT_EQ(base.acc(0, 0), 0.0);
  EXPECT_EQ(output.errCalls().size(), 9u);
}

TEST(BandedMatrix, ProductsAgreeWithItsElements) {
  std::mt19937_64 random(41);
  for (int n = 1; n <= 14; ++n) {
    BandedMatrix m(n, 1 + n % 9);
    m.zero();
    fill(m, random);
    const Vector x = randomVector(random, n);
    Vector y(20), yT;
    m.mult(&x, &y);
    m.multT(&x, &yT);
    ASSERT_EQ(y.size(), n);
    ASSERT_EQ(yT.size(), n);
    for (int i = 0; i < n; ++i) {
      double sum = 0.0, sumT = 0.0;
      for (int j = 0; j < n; ++j) {
        sum += m.acc(i, j) * x[j];
        sumT += m.acc(j, i) * x[j];
      }
      EXPECT_EQ(y[i], sum);
      EXPECT_EQ(yT[i], sumT);
    }
  }
}

TEST(BandedMatrix, ScalarAndPrintCoverTheStoredPlaces) {
  BandedMatrix m(2, 5);
  m.zero();
  for (int k = 0; k < 4; ++k) m.data[1][k] = k;
  m.data[1][4] = 100.0;  // allocated, but not in the band
  m.scalar(2.0);
  EXPECT_EQ(m.data[1][4], 100.0);
  CapturedOutput output;
  m.printVals();
  EXPECT_EQ(output.out(), "0 0 0 0 \n0 2 4 6 \n");
}

TEST(BandedMatrix, ZeroReportsWhatDoesNotFitAndStaysInside) {
  BandedMatrix m(2, 4);
  m.e(1, 1) = 5.0;
  m.rows = 3;
  m.bw = 4;
  CapturedOutput output;
  m.zero();
  EXPECT_EQ(output.err(),
            "ERR: Too many rows for Banded Matrix! @ (WierdMatrices:288)\n"
            "ERR: Too wide a bandwidth for Banded Matrix! @ (WierdMatrices:290)\n");
  m.bw = 2;
  EXPECT_EQ(m.acc(1, 1), 0.0);
}

TEST(BandedMatrix, GrowBeyondTheRowsKeepsThemAndAddsTenMore) {
  BandedMatrix m(5, 6);
  m.zero();
  m.e(3, 3) = 4.0;
  double *const first = m.data[0], *const third = m.data[3];
  CapturedOutput output;
  m.growbw(12, 2);
  EXPECT_EQ(output.out(), "Expanding Banded Matrix from 5 to 22 rows!\n");
  EXPECT_EQ(output.err(), "");
  EXPECT_EQ(m.maxRows, 22);
  EXPECT_EQ(m.rows, 12);
  EXPECT_EQ(m.bw, 2);
  EXPECT_EQ(m.data[0], first);
  EXPECT_EQ(m.data[3], third);
  EXPECT_EQ(m.acc(3, 4), 4.0);  // values keep their places, which are now one place right of the diagonal
  for (int i = 5; i < 22; ++i)
    for (int k = 0; k < 6; ++k) EXPECT_EQ(m.data[i][k], 0.0);
}

TEST(BandedMatrix, GrowWithinTheRowsOnlyTakesTheSizes) {
  BandedMatrix m(5, 6);
  CapturedOutput output;
  m.growbw(3, 1);
  EXPECT_EQ(output.out() + output.err(), "");
  EXPECT_EQ(m.maxRows, 5);
  EXPECT_EQ(m.height(), 3);
}

TEST(BandedMatrix, TooWideABandIsReportedAndTakenAndNothingLeavesTheRows) {
  BandedMatrix m(4, 4);
  CapturedOutput output;
  m.growbw(4, 9);
  EXPECT_EQ(output.err(), "ERR: Bad max bandwidth for banded matrix, can't expand! @ (WierdMatrices:341)\n");
  EXPECT_EQ(m.bw, 9);
  m.zero();
  m.scalar(2.0);
  m.printVals();
  const Vector x = vectorOf({1, 1, 1, 1});
  Vector y;
  m.mult(&x, &y);
  m.multT(&x, &y);
  m.compact(0.0, 0, 1);
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      m.e(i, j) = 1.0;
      m.acc(i, j);
    }
  }
}

TEST(BandedMatrix, TheWidestBandThereIsIsReportedAndStaysInTheRows) {
  for (const int bw : {INT_MAX, INT_MIN}) {
    BandedMatrix m(3, 4);
    for (int i = 0; i < 3; ++i)
      for (int k = 0; k < 4; ++k) m.data[i][k] = 1.0;
    CapturedOutput output;
    m.growbw(3, bw);
    m.zero();
    EXPECT_EQ(output.err(),
              bw < 0 ? ""
                     : "ERR: Bad max bandwidth for banded matrix, can't expand! @ (WierdMatrices:341)\n"
                       "ERR: Too wide a bandwidth for Banded Matrix! @ (WierdMatrices:290)\n");
    const Vector x = vectorOf({1, 2, 3});
    Vector y;
    m.mult(&x, &y);
    expectElements(y, {0, 0, 0});
    m.multT(&x, &y);
    expectElements(y, {0, 0, 0});
    EXPECT_EQ(m.acc(0, 0), 0.0);
    EXPECT_EQ(m.acc(INT_MIN, INT_MAX), 0.0);
    EXPECT_EQ(m.compact(1.0, 0, 1)->acc(1, 1), 1.0);
    for (int i = 0; i < 3; ++i)
      for (int k = 0; k < 4; ++k) EXPECT_EQ(m.data[i][k], bw < 0 ? 1.0 : 0.0);
  }
}

TEST(BandedMatrix, CopiesShareTheRowsUntilTheLastGoes) {
  std::optional<BandedMatrix> m(std::in_place, 3, 4);
  m->zero();
  BandedMatrix copy(*m), assigned(1, 2);
  assigned = copy;
  BandedMatrix& same = assigned;
  assigned = same;
  EXPECT_EQ(assigned.data, m->data);
  copy.e(1, 1) = 6.0;
  EXPECT_EQ(m->acc(1, 1), 6.0);
  m.reset();
  EXPECT_EQ(assigned.acc(1, 1), 6.0);
}

TEST(BandedMatrix, GrownCopyStillSharesTheOldRows) {
  BandedMatrix m(3, 4);
  m.zero();
  {
    BandedMatrix copy(m);
    CapturedOutput output;
    copy.growbw(6, 2);
    EXPECT_NE(copy.data, m.data);
    EXPECT_EQ(copy.data[1], m.data[1]);
    copy.e(1, 1) = 3.0;
    copy.e(5, 5) = 7.0;
    EXPECT_EQ(copy.acc(5, 5), 7.0);
  }
  EXPECT_EQ(m.acc(1, 1), 3.0);
  EXPECT_EQ(m.height(), 3);
}

TEST(BandedMatrix, CompactIsTheSharedRowSparseImage) {
  std::mt19937_64 random(42);
  BandedMatrix m(9, 6);
  m.zero();
  fill(m, random);
  m.e(4, 4) = 1e-13;
  SpMat* const image = m.compact(0.25, 0, 1);
  ASSERT_EQ(image->height(), 9);
  for (int i = 0; i < 9; ++i)
    for (int j = 0; j < 9; ++j) EXPECT_EQ(image->acc(i, j), m.acc(i, j) + (i == j ? 0.25 : 0.0));
  m.compact(0.0, 0, 1);
  EXPECT_EQ(image->acc(4, 4), 0.0);
  FullMatrix other = matrixOf({{1}});
  EXPECT_EQ(static_cast<SpMat*>(naiveCompact(&other, 0.0, 0, 1)), image);
}

TEST(BandedMatrix, CompactLeavesOutWhatIsStoredBehindTheLastColumn) {
  BandedMatrix m(3, 4);
  m.zero();
  m.e(2, 2) = 5.0;
  m.e(2, 3) = 7.0;
  EXPECT_EQ(static_cast<HSpMat*>(m.compact(0.0, 0, 1))->row(2)->numEntries, 1);
}

TEST(BandedMatrix, CompactOfNoBandHasTheDiagonalThatIsAdded) {
  BandedMatrix m(2, 0);
  SpMat* const image = m.compact(2.0, 0, 1);
  EXPECT_EQ(image->acc(0, 0), 2.0);
  EXPECT_EQ(image->acc(1, 1), 2.0);
  EXPECT_EQ(static_cast<HSpMat*>(image)->row(0)->numEntries, 1);
}

TEST(BandedMatrix, DegenerateSizes) {
  BandedMatrix none(0, 4), negative(-3, -2);
  for (BandedMatrix* const m : {&none, &negative}) {
    CapturedOutput output;
    m->zero();
    m->scalar(2.0);
    Vector x(4), y(4);
    m->mult(&x, &y);
    EXPECT_EQ(y.size(), 0);
    EXPECT_EQ(m->acc(0, 0), 0.0);
    m->e(0, 0) = 1.0;
  }
}

}  // namespace
