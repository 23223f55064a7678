#include "limber/solvers/BuildJJt.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "limber/linalg/BandedCholesky.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SparseDot.h"
#include "tests/solvers/RandomJacobian.h"
#include "tests/support/Tolerance.h"

using tolerance::sameBits;

namespace {

using Made = std::unique_ptr<ResizeMatrix>;

// d(i) and the dot products, computed by the row kernels.
double expected(const Jacobian& J, int i, int j, Vector* weights, Vector* damp, double shift) {
  SpVec* const a = J.matrix.row(std::min(i, j));
  SpVec* const b = J.matrix.row(std::max(i, j));
  if (i != j) return sdot(a, b, weights);
  double d = a->weightedL2(weights);
  if (damp) d += (*damp)[i];
  return d + shift;
}

// Many patterns: dense blocks in frame order, scattered rows, empty rows, far columns, with and without
// weights.
template <class Check>
void forEachCase(Check check) {
  for (unsigned seed = 0; seed < 12; ++seed) {
    for (bool weighted : {false, true}) {
      for (int pattern = 0; pattern < 4; ++pattern) {
        const int rows = static_cast<int>(seed) * 3;  // 0, 3, ..., 33: panels that are full and that are not
        Jacobian J(seed);
        int width = 1;
        for (int i = 0; i < rows; ++i) {
          if (pattern == 0) J.addRow(5 * (i / 4), 9, 1.0);
          if (pattern == 1) J.addRow(0, 60, 0.2);
          if (pattern == 2) J.addRow(3 * i, i % 3 ? 7 : 0, 1.0);
          if (pattern == 3) J.addRow(i % 2 ? 200000 : 0, 5, 0.8);
          width = std::max(width, J.matrix.row(i)->width);
        }
        Vector weights(width), damp(rows);
        for (int k = 0; k < width; ++k) weights[k] = 0.5 + 0.01 * (k % 90);
        for (int i = 0; i < rows; ++i) damp[i] = 0.1 * i;
        check(J, weighted ? &weights : nullptr, weighted ? &damp : nullptr, weighted ? 0.25 : 0.0);
      }
    }
  }
}

}  // namespace

TEST(BuildJJt, WholeMatrixHasTheBitsOfTheRowKernels) {
  forEachCase([](Jacobian& J, Vector* weights, Vector* damp, double shift) {
    const Made out(buildJJt(&J.matrix, nullptr, weights, damp, shift));
    const int n = J.matrix.height();
    ASSERT_EQ(out->rows(), n);
    ASSERT_EQ(out->columns(), n);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) {
        ASSERT_TRUE(sameBits(out->e(i, j), expected(J, i, j, weights, damp, shift)))
            << i << " " << j << " of " << n;
      }
    }
  });
}

TEST(BuildJJt, BandHoldsEachDotInTheRowOfTheLaterAndZerosElsewhere) {
  forEachCase([](Jacobian& J, Vector* weights, Vector* damp, double shift) {
    const int n = J.matrix.height();
    for (int bandwidth : {0, 1, 2, 7, 8, 9, 40}) {
      const Made out(buildJJtBand(&J.matrix, bandwidth, nullptr, weights, damp, shift));
      ASSERT_EQ(out->rows(), n);
      ASSERT_EQ(out->columns(), bandwidth + 1);
      for (int j = 0; j < n; ++j) {
        for (int t = 0; t <= bandwidth; ++t) {
          const int i = j - bandwidth + t;
          const double value = i < 0 ? 0.0 : expected(J, i, j, weights, damp, shift);
          ASSERT_TRUE(sameBits(out->e(j, t), value))
              << i << " " << j << " of " << n << ", band " << bandwidth;
        }
      }
    }
  });
}

TEST(BuildJJt, BandedPutsTheDotsOfRowIDeliberatelyIntoTheNextRow) {
  forEachCase([](Jacobian& J, Vector* weights, Vector* damp, double shift) {
    const int n = J.matrix.height();
    for (int bandwidth : {0, 1, 2, 8, 40}) {
      const Made out(buildJJtBanded(&J.matrix, bandwidth, nullptr, weights, damp, shift));
      FullMatrix plain(n, bandwidth + 1);
      for (int i = 0; i < n; ++i) {
        plain.e(i, bandwidth) = expected(J, i, i, weights, damp, shift);
        for (int k = 0; k < bandwidth && i + 1 + k < n; ++k) {
          plain.e(i + 1, bandwidth - 1 - k) = expected(J, i, i + 1 + k, weights, damp, shift);
        }
      }
      ASSERT_EQ(out->rows(), n);
      ASSERT_EQ(out->columns(), bandwidth + 1);
      ASSERT_TRUE(sameBits(out->data, plain.data, n * (bandwidth + 1)));
    }
  });
}

TEST(BuildJJt, ARowThatIsMissingHasOnlyTheShift) {
  for (const bool weighted : {false, true}) {
    Jacobian J(11);
    for (int i = 0; i < 13; ++i) J.addRow(0, 9, 1.0);
    Vector weights(9);
    for (int j = 0; j < 9; ++j) weights[j] = 1.0 + j;
    Vector* const w = weighted ? &weights : nullptr;
    const Made whole(buildJJt(&J.matrix, nullptr, w, nullptr, 0.25));
    for (const int missing : {0, 3, 4, 12}) {
      SpVec* const row = J.matrix.rows[missing];
      J.matrix.rows[missing] = nullptr;
      const Made out(buildJJt(&J.matrix, nullptr, w, nullptr, 0.25));
      J.matrix.rows[missing] = row;
      for (int i = 0; i < 13; ++i) {
        for (int j = 0; j < 13; ++j) {
          const bool without = i == missing || j == missing;
          EXPECT_EQ(out->e(i, j), without ? (i == j ? 0.25 : 0.0) : whole->e(i, j)) << i << ' ' << j;
        }
      }
    }
  }
}

TEST(BuildJJt, BandedIsTheBandAtBandwidthOneAndAnotherMatrixAtTwo) {
  Jacobian J(3);
  for (int i = 0; i < 6; ++i) J.addRow(0, 8, 1.0);
  const Made one(buildJJtBanded(&J.matrix, 1, nullptr, nullptr, nullptr, 0.0));
  const Made oneBand(buildJJtBand(&J.matrix, 1, nullptr, nullptr, nullptr, 0.0));
  EXPECT_TRUE(sameBits(one->data, oneBand->data, 12));
  const Made two(buildJJtBanded(&J.matrix, 2, nullptr, nullptr, nullptr, 0.0));
  const Made twoBand(buildJJtBand(&J.matrix, 2, nullptr, nullptr, nullptr, 0.0));
  EXPECT_EQ(two->e(1, 0), twoBand->e(2, 0));
  EXPECT_NE(two->e(1, 0), twoBand->e(1, 0));
}

TEST(BuildJJt, AGivenMatrixTakesTheShapeAndIsOverwrittenWhole) {
  Jacobian J(4);
  for (int i = 0; i < 5; ++i) J.addRow(2 * i, 3, 1.0);
  for (auto* build : {&buildJJtBand, &buildJJtBanded}) {
    ResizeMatrix out(20, 20);
    for (int k = 0; k < 400; ++k) out.data[k] = 77.0;
    double* const storage = out.data;
    EXPECT_EQ(build(&J.matrix, 3, &out, nullptr, nullptr, 0.5), &out);
    EXPECT_EQ(out.data, storage);
    const Made fresh(build(&J.matrix, 3, nullptr, nullptr, nullptr, 0.5));
    ASSERT_EQ(out.rows(), 5);
    ASSERT_EQ(out.columns(), 4);
    EXPECT_TRUE(sameBits(out.data, fresh->data, 20));
  }
  ResizeMatrix out(1);
  EXPECT_EQ(buildJJt(&J.matrix, &out, nullptr, nullptr, 0.0), &out);
  EXPECT_EQ(out.rows(), 5);
  EXPECT_EQ(out.columns(), 5);
}

TEST(BuildJJt, InfinitiesAndNaNsStayInTheDotsTheyBelongTo) {
  Jacobian J(5);
  for (int i = 0; i < 12; ++i) J.addRow(2 * i, 4, 1.0);
  J.matrix.row(5)->e(2) = std::numeric_limits<double>::infinity();
  J.matrix.row(9)->e(0) = std::nan("");
  const Made out(buildJJtBand(&J.matrix, 4, nullptr, nullptr, nullptr, 0.0));
  for (int j = 0; j < 12; ++j) {
    for (int k = 0; k < 4 && j - 1 - k >= 0; ++k) {
      const double value = expected(J, j - 1 - k, j, nullptr, nullptr, 0.0);
      const double got = out->e(j, 3 - k);
      EXPECT_TRUE(std::isnan(value) ? std::isnan(got) : sameBits(got, value)) << j << " " << k;
    }
  }
  EXPECT_FALSE(std::isfinite(out->e(6, 3)));
  EXPECT_EQ(out->e(8, 1), 0.0) << "rows 5 and 8 have no column in common";
}

TEST(BuildJJt, RowsOutOfOrderAndNullRowsAreSafe) {
  HSpMat J(0);
  SpVec disordered(4), plain(4);
  disordered.insEnd(1.0, 7);
  disordered.insEnd(2.0, -3);
  disordered.insEnd(3.0, -100000000);
  plain.ins(1.0, 2);
  J.add(&disordered);
  J.add(nullptr);
  J.add(&plain);
  const Made out(buildJJtBand(&J, 2, nullptr, nullptr, nullptr, 1.0));
  EXPECT_EQ(out->e(0, 2), 15.0) << "the whole squared norm, though a merge of the row with itself is 0";
  EXPECT_EQ(out->e(1, 2), 1.0) << "an empty row and the shift";
  EXPECT_EQ(out->e(2, 2), 2.0);
  Vector weights(1);
  const Made weighted(buildJJtBand(&J, 2, nullptr, &weights, nullptr, 0.0));
  EXPECT_EQ(weighted->e(2, 2), 0.0) << "a weight outside its vector counts as 0";
}

TEST(BuildJJt, RowsListedTwiceAndRepeatedIndicesHaveTheirMergedDots) {
  HSpMat J(0);
  SpVec disordered(4), repeated(4), plain(4);
  disordered.insEnd(2.0, 7);
  disordered.insEnd(3.0, 1);
  repeated.insEnd(1.0, 9);
  repeated.insEnd(2.0, 9);
  plain.ins(5.0, 9);
  for (SpVec* const row : {&disordered, &disordered, &repeated, &plain}) J.add(row);
  const Made out(buildJJtBand(&J, 1, nullptr, nullptr, nullptr, 0.0));
  EXPECT_EQ(out->e(0, 1), 13.0);
  EXPECT_EQ(out->e(1, 0), dot(disordered, disordered)) << "not the squared norm";
  EXPECT_EQ(out->e(1, 0), 0.0);
  EXPECT_EQ(out->e(2, 1), 5.0);
  EXPECT_EQ(out->e(3, 0), 5.0) << "1 x 5: the second entry at 9 has no partner";
}

TEST(BuildJJt, NegativeBandwidthGivesAMatrixWithoutColumns) {
  Jacobian J(6);
  for (int i = 0; i < 3; ++i) J.addRow(i, 2, 1.0);
  for (int bandwidth : {-1, -7}) {
    const Made out(buildJJtBand(&J.matrix, bandwidth, nullptr, nullptr, nullptr, 0.0));
    EXPECT_EQ(out->rows(), 3);
    EXPECT_EQ(out->columns(), 0);
  }
}

TEST(BuildJJt, TheWidestBandOfNoRowsKeepsAWidth) {
  const HSpMat J(0);
  const Made out(buildJJtBand(&J, std::numeric_limits<int>::max(), nullptr, nullptr, nullptr, 0.0));
  EXPECT_EQ(out->columns(), std::numeric_limits<int>::max());
}

TEST(BuildJJt, FullBandIsWhatTheBandedFactorizationTakes) {
  Jacobian J(7);
  for (int i = 0; i < 20; ++i) J.addRow(3 * (i / 4), 6, 1.0);
  const Made band(buildJJtBand(&J.matrix, 7, nullptr, nullptr, nullptr, 1.0));
  const Made full(buildJJt(&J.matrix, nullptr, nullptr, nullptr, 1.0));
  FullMatrix copied(20, 8);
  compactBanded(full.get(), &copied, 20, 7);
  EXPECT_TRUE(sameBits(band->data, copied.data, 160));
}

TEST(BuildJJt, HalfBandwidthIsTheFurthestPairOfRowsWithACommonIndex) {
  forEachCase([](Jacobian& J, Vector*, Vector*, double) {
    int furthest = 0;
    for (int i = 0; i < J.matrix.numRows; ++i) {
      for (int j = i; j < J.matrix.numRows; ++j) {
        for (const auto [index, value] : J.matrix.row(i)->entries()) {
          if (J.matrix.row(j)->v(index) != 0.0) furthest = std::max(furthest, j - i);
        }
      }
    }
    EXPECT_EQ(halfBandwidth(&J.matrix), furthest);
  });
}

TEST(BuildJJt, HalfBandwidthTakesAnyRows) {
  EXPECT_EQ(halfBandwidth(nullptr), 0);
  HSpMat empty(0), slots(4);
  EXPECT_EQ(halfBandwidth(&empty), 0);
  EXPECT_EQ(halfBandwidth(&slots), 0);
  SpVec far, unsorted, low;
  far.ins(1.0, std::numeric_limits<int>::max());
  far.ins(2.0, 3);
  unsorted.insEnd(1.0, 9);
  unsorted.insEnd(1.0, 3);
  low.insEnd(1.0, -5);
  SpVec* const rows[] = {&low, &unsorted, nullptr, &far, &low, nullptr, &far};
  HSpMat J(0);
  for (SpVec* const row : rows) J.add(row);
  EXPECT_EQ(halfBandwidth(&J), 5);
  J.numRows = 4;
  EXPECT_EQ(halfBandwidth(&J), 2);
}

// With this bandwidth the band is the whole matrix, so the factor solves the system.
TEST(BuildJJt, BandOfTheHalfBandwidthLeavesNothingOut) {
  forEachCase([](Jacobian& J, Vector* weights, Vector* damp, double shift) {
    const int n = J.matrix.numRows, bandwidth = halfBandwidth(&J.matrix);
    const Made full(buildJJt(&J.matrix, nullptr, weights, damp, shift));
    const Made band(buildJJtBand(&J.matrix, bandwidth, nullptr, weights, damp, shift));
    for (int i = 0; i < n; ++i) {
      for (int j = i; j < n; ++j) {
        const double inBand = j - i <= bandwidth ? band->e(j, bandwidth - (j - i)) : 0.0;
        EXPECT_TRUE(sameBits(inBand, full->e(i, j)) || (inBand == 0.0 && full->e(i, j) == 0.0));
      }
    }
  });
}

// A run of rows with the same indices may begin and end anywhere in the groups of eight rows that are
// processed together.
TEST(BuildJJt, RunsOfEqualPatternsHaveTheBitsOfThePlainDotsWhereverTheyBegin) {
  for (int lead = 0; lead <= 8; ++lead) {
    for (int run = 1; run <= 19; ++run) {
      Jacobian J(static_cast<unsigned>(100 * lead + run));
      for (int i = 0; i < lead; ++i) J.addRow(i, 3 + i % 2, 1.0);
      for (int i = 0; i < run; ++i) J.addRow(2, 9, 1.0);
      for (int i = 0; i < 5; ++i) J.addRow(1 + i, 4, 1.0);
      Vector weights(20);
      for (int k = 0; k < 20; ++k) weights[k] = 0.5 + 0.1 * k;
      for (Vector* const w : {static_cast<Vector*>(nullptr), &weights}) {
        const Made full(buildJJt(&J.matrix, nullptr, w, nullptr, 0.0));
        for (int i = 0; i < J.matrix.numRows; ++i) {
          for (int j = 0; j < J.matrix.numRows; ++j) {
            ASSERT_TRUE(sameBits(full->e(i, j), expected(J, i, j, w, nullptr, 0.0))) << lead << " " << run;
          }
        }
      }
    }
  }
}
