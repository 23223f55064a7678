// The sparse factors, each against the dense matrix that it was made of.
#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

#include "limber/solvers/detail/IncompleteLu.h"
#include "limber/solvers/detail/SmallCholesky.h"
#include "limber/solvers/detail/SparseCholesky.h"
#include "limber/solvers/detail/SparseLu.h"
#include "limber/solvers/detail/SparseQr.h"
#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

// Small integers, so that elements and quotients of exactly 1 and 0 occur on the way.
Dense randomSquare(Dice* dice, int n, int perRow) {
  Dense A(n, n);
  for (int i = 0; i < n; ++i) {
    for (int k = 0; k < perRow; ++k) A(i, dice->below(n)) = dice->below(5) - 2;
    A(i, i) += dice->below(3) == 0 ? 0.0 : 7.0 + dice->below(4);
  }
  return A;
}

std::vector<double> smallIntegers(Dice* dice, int n) {
  std::vector<double> b(static_cast<std::size_t>(n));
  for (double& x : b) x = dice->below(3) - 1;
  return b;
}

// The error of A z = b for a backward stable solve of a matrix with elements below 20.
double bound(const std::vector<double>& z, int n) {
  double most = 1.0;
  for (const double x : z) most = std::fmax(most, std::fabs(x));
  return 1e-13 * n * n * 20.0 * most;
}

TEST(SparseLu, SolvesWhatItFactors) {
  int solved = 0;
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 1 + dice.below(30);
    const Dense A = randomSquare(&dice, n, 1 + dice.below(4));
    SparseLu lu;
    ASSERT_TRUE(lu.factor(A.rows(), Allowance()));
    if (lu.defects() > 0) continue;
    for (int turn = 0; turn < 2; ++turn) {
      const std::vector<double> b = smallIntegers(&dice, n);
      std::vector<double> z(b.size());
      if (!lu.apply(b.data(), z.data())) continue;
      EXPECT_LE(farthest(A.times(z), b), bound(z, n));
      ++solved;
    }
  }
  EXPECT_GT(solved, 200);
}

TEST(SparseLu, ClosesColumnsOfStoredZeros) {
  SparseRows A;
  A.height = A.width = 2;
  for (const int column : {0, 1}) {
    A.index.push(column);
    A.value.push(0.0);
  }
  A.start.assign(3, 2);
  A.start[0] = 0;
  SparseLu lu;
  ASSERT_TRUE(lu.factor(A, Allowance()));
  EXPECT_EQ(2, lu.defects());
}

TEST(SparseLu, ChoosesLargePivots) {
  Dense A(3, 3);
  A(0, 0) = 1e-18, A(0, 1) = 1.0;
  A(1, 0) = 1.0, A(1, 1) = 1.0, A(1, 2) = 2.0;
  A(2, 1) = 1.0, A(2, 2) = 1.0;
  SparseLu lu;
  ASSERT_TRUE(lu.factor(A.rows(), Allowance()));
  EXPECT_EQ(0, lu.defects());
  const std::vector<double> b = {1.0, 2.0, 3.0};
  std::vector<double> z(3);
  ASSERT_TRUE(lu.apply(b.data(), z.data()));
  EXPECT_LE(farthest(A.times(z), b), 1e-14);
}

TEST(SparseLu, CountsColumnsWithoutAPivot) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 4 + dice.below(20);
    Dense A(n, n);
    for (int i = 0; i < n; ++i) {
      A(i, i) = 8.0;
      A(i, dice.below(n)) += 1.0;
    }
    // Without its first column the matrix has dominant diagonal elements, so only that column has no pivot.
    for (int i = 0; i < n; ++i) A(i, 0) = 0.0;
    SparseLu lu;
    ASSERT_TRUE(lu.factor(A.rows(), Allowance()));
    EXPECT_EQ(1, lu.defects());
    std::vector<double> b(static_cast<std::size_t>(n), 1.0), z(b.size());
    EXPECT_TRUE(lu.apply(b.data(), z.data()));
  }
}

// `missing` rows and columns of zeros at random places, and large elements that pair the other ones.
Dense randomSingular(Dice* dice, int n, int missing, int perRow) {
  const auto shuffled = [dice, n] {
    std::vector<int> order(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
      const int other = dice->below(i + 1);
      order[static_cast<std::size_t>(i)] = order[static_cast<std::size_t>(other)];
      order[static_cast<std::size_t>(other)] = i;
    }
    return order;
  };
  const std::vector<int> rows = shuffled(), columns = shuffled();
  Dense A(n, n);
  for (std::size_t k = static_cast<std::size_t>(missing); k < rows.size(); ++k) {
    for (int e = 0; e < perRow; ++e) {
      A(rows[k], columns[static_cast<std::size_t>(missing + dice->below(n - missing))]) = dice->value();
    }
    A(rows[k], columns[k]) = 2.0 * perRow;
  }
  return A;
}

TEST(SparseLu, FindsTheRankAndSolvesConsistentSingularSystems) {
  for (const int perRow : {1, 3, 30}) {
    for (unsigned seed = 1; seed <= 30; ++seed) {
      SCOPED_TRACE(seed);
      Dice dice(seed);
      const int n = 10 + dice.below(100), missing = 1 + dice.below(8);
      const Dense A = randomSingular(&dice, n, missing, perRow);
      SparseLu lu;
      ASSERT_TRUE(lu.factor(A.rows(), Allowance()));
      EXPECT_EQ(missing, lu.defects());
      const std::vector<double> b = A.times(std::vector<double>(static_cast<std::size_t>(n), 1.0));
      std::vector<double> z(b.size());
      ASSERT_TRUE(lu.apply(b.data(), z.data()));
      EXPECT_LE(farthest(A.times(z), b), bound(z, n));
    }
  }
}

TEST(SparseLu, GivesUpWhereItCostsMoreThanAllowed) {
  Dice dice(3);
  const Dense A = randomSquare(&dice, 20, 4);
  SparseLu lu;
  EXPECT_TRUE(lu.factor(A.rows(), Allowance{400.0, 20.0 * 20.0 * 20.0}));
  EXPECT_FALSE(lu.factor(A.rows(), Allowance{15.0, 1e9}));
  EXPECT_FALSE(lu.factor(A.rows(), Allowance{1e9, 20.0}));
}

// A^T A + I for a random A, scaled to a diagonal near 1.
Dense randomDefinite(Dice* dice, int n, double shift) {
  Dense A(n, n);
  for (int i = 0; i < n; ++i) {
    for (int k = 0; k < 2; ++k) A(i, dice->below(n)) = dice->value();
  }
  Dense normal = A.transposed().times(A);
  for (int i = 0; i < n; ++i) normal(i, i) += shift;
  return normal;
}

TEST(SparseCholesky, SolvesWhatItFactors) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 1 + dice.below(30);
    const Dense A = randomDefinite(&dice, n, 0.5);
    for (const bool banded : {false, true}) {
      Elimination elimination = bandElimination(n, n);
      if (!banded) {
        ASSERT_TRUE(eliminateSymmetric(A.rows(), Allowance(), &elimination));
      }
      SparseCholesky cholesky;
      ASSERT_TRUE(cholesky.factor(A.rows(), std::move(elimination)));
      EXPECT_EQ(0, cholesky.defects());
      for (int turn = 0; turn < 2; ++turn) {
        const std::vector<double> b = dice.vector(n);
        std::vector<double> z(b.size());
        ASSERT_TRUE(cholesky.apply(b.data(), z.data()));
        EXPECT_LE(farthest(A.times(z), b), bound(z, n));
      }
    }
  }
}

TEST(SparseCholesky, CountsTheDefectsOfASemidefiniteMatrix) {
  // Two groups of unknowns that are only determined up to a constant each, and one that is determined.
  Dense A(5, 5);
  for (const int i : {0, 2}) {
    A(i, i) = A(i + 1, i + 1) = 1.0;
    A(i, i + 1) = A(i + 1, i) = -1.0;
  }
  A(4, 4) = 1.0;
  Elimination elimination;
  ASSERT_TRUE(eliminateSymmetric(A.rows(), Allowance(), &elimination));
  SparseCholesky cholesky;
  ASSERT_TRUE(cholesky.factor(A.rows(), std::move(elimination)));
  EXPECT_EQ(2, cholesky.defects());
  const std::vector<double> b = {1.0, -1.0, 3.0, -3.0, 5.0};
  std::vector<double> z(5);
  ASSERT_TRUE(cholesky.apply(b.data(), z.data()));
  EXPECT_LE(farthest(A.times(z), b), 1e-14);
}

TEST(SparseCholesky, RefusesAnIndefiniteMatrix) {
  Dense A(3, 3);
  for (int i = 0; i < 3; ++i) A(i, i) = 1.0;
  A(0, 2) = A(2, 0) = 1.001;
  Elimination elimination;
  ASSERT_TRUE(eliminateSymmetric(A.rows(), Allowance(), &elimination));
  SparseCholesky cholesky;
  EXPECT_FALSE(cholesky.factor(A.rows(), std::move(elimination)));
}

TEST(SmallCholesky, SolvesWhatItFactors) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 1 + dice.below(64);
    Dense A = randomDefinite(&dice, n, 0.5);
    // an envelope of changing height
    for (int i = 0; i < n; ++i) {
      const int first = dice.below(i + 1);
      for (int j = 0; j < first; ++j) A(i, j) = A(j, i) = 0.0;
      A(i, i) += n;
    }
    SmallCholesky cholesky;
    ASSERT_TRUE(cholesky.factor(A.rows()));
    const std::vector<double> b = dice.vector(n);
    std::vector<double> z = b;
    cholesky.solve(z.data());
    EXPECT_LE(farthest(A.times(z), b), bound(z, n));
  }
}

TEST(SmallCholesky, RefusesAMatrixThatMayBeSingularOrIndefinite) {
  for (const double diagonal : {1.0 + 1e-6, 1.0, 1.0 - 1e-6, 0.0, -1.0}) {
    Dense A(3, 3);
    A(0, 0) = A(1, 1) = 1.0;
    A(2, 2) = diagonal;
    A(0, 2) = A(2, 0) = 1.0;
    EXPECT_FALSE(SmallCholesky().factor(A.rows(true))) << diagonal;
  }
}

TEST(SmallCholesky, IsCheapForFewUnknownsWithinANarrowEnvelope) {
  const auto arrow = [](int n, bool wide) {
    Dense A(n, n);
    for (int i = 0; i < n; ++i) A(i, i) = 1.0;
    for (int i = 1; i < n && wide; ++i) A(i, 0) = A(0, i) = 0.01;
    return A.rows();
  };
  EXPECT_TRUE(SmallCholesky::isCheap(arrow(64, false)));
  EXPECT_FALSE(SmallCholesky::isCheap(arrow(65, false)));
  EXPECT_TRUE(SmallCholesky::isCheap(arrow(30, true)));
  EXPECT_FALSE(SmallCholesky::isCheap(arrow(64, true)));
}

Dense randomTall(Dice* dice, int m, int n) {
  Dense A(m, n);
  for (int i = 0; i < m; ++i) {
    for (int k = 0; k < 3; ++k) A(i, dice->below(n)) = dice->value();
    if (i < n) A(i, i) += 1.5;
  }
  return A;
}

TEST(SparseQr, SolvesTheNormalEquations) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 1 + dice.below(20), m = n + dice.below(20);
    const Dense A = randomTall(&dice, m, n);
    Elimination elimination;
    ASSERT_TRUE(eliminateColumns(A.rows(), Allowance(), &elimination));
    SparseQr qr;
    qr.factor(A.rows(), std::move(elimination), 1e-12);
    if (qr.defects() > 0) continue;
    NormalInverse inverse(qr, n);
    const std::vector<double> b = dice.vector(n);
    std::vector<double> z(b.size()), y(b.size());
    ASSERT_TRUE(inverse.apply(b.data(), z.data()));
    EXPECT_LE(farthest(A.transposed().times(A.times(z)), b), 10.0 * bound(z, m));
    // R^T (R z) is the same, one factor after the other
    qr.solveTransposed(b.data(), y.data());
    std::vector<double> again(b.size());
    qr.solve(y.data(), again.data());
    EXPECT_EQ(z, again);
  }
}

TEST(SparseQr, ConditionsTheMap) {
  Dice dice(5);
  const Dense A = randomTall(&dice, 30, 12);
  const SparseRows rows = A.rows();
  Elimination elimination;
  ASSERT_TRUE(eliminateColumns(rows, Allowance(), &elimination));
  SparseQr qr;
  qr.factor(rows, std::move(elimination), 1e-12);
  ASSERT_EQ(0, qr.defects());
  RowsMap map(rows);
  ConditionedMap conditioned(map, qr);
  EXPECT_EQ(30, conditioned.height());
  EXPECT_EQ(12, conditioned.width());
  // Q = A P R^-1 has orthonormal columns.
  for (int j = 0; j < 12; ++j) {
    std::vector<double> unit(12), column(30), row(12);
    unit[static_cast<std::size_t>(j)] = 1.0;
    conditioned.multiply(unit.data(), column.data());
    conditioned.multiplyTransposed(column.data(), row.data());
    EXPECT_LE(farthest(row, unit), 1e-12);
  }
  EXPECT_EQ(24, conditioned.products);
}

TEST(SparseQr, AddsARowForEachDependentColumn) {
  Dense A(6, 4);
  for (int i = 0; i < 6; ++i) A(i, i % 3) = 1.0;
  A(0, 1) = A(4, 2) = 0.5;
  for (int i = 0; i < 6; ++i) A(i, 3) = 0.0;  // no entry at all
  Elimination elimination;
  ASSERT_TRUE(eliminateColumns(A.rows(), Allowance(), &elimination));
  SparseQr qr;
  qr.factor(A.rows(), std::move(elimination), 1e-12);
  EXPECT_EQ(1, qr.defects());
  for (int i = 0; i < 6; ++i) A(i, 3) = A(i, 0) - A(i, 2);
  ASSERT_TRUE(eliminateColumns(A.rows(), Allowance(), &elimination));
  qr.factor(A.rows(), std::move(elimination), 1e-12);
  EXPECT_EQ(1, qr.defects());
  // With that row the normal matrix is regular, and a right-hand side in its range is met.
  const std::vector<double> x = {1.0, -2.0, 3.0, 0.5};
  const std::vector<double> b = A.transposed().times(A.times(x));
  std::vector<double> z(4);
  NormalInverse inverse(qr, 4);
  ASSERT_TRUE(inverse.apply(b.data(), z.data()));
  EXPECT_LE(farthest(A.transposed().times(A.times(z)), b), 1e-12);
}

TEST(IncompleteLu, IsExactWhereNothingFillsIn) {
  Dice dice(11);
  for (const int n : {1, 2, 3, 10, 40}) {
    SCOPED_TRACE(n);
    Dense A(n, n);
    for (int i = 0; i < n; ++i) {
      A(i, i) = 1.0 + 0.25 * dice.value();
      if (i > 0) A(i, i - 1) = 0.4 * dice.value();
      if (i > 0) A(i - 1, i) = 0.4 * dice.value();
    }
    IncompleteLu lu;
    ASSERT_TRUE(lu.factor(A.rows(true)));
    for (int turn = 0; turn < 2; ++turn) {
      const std::vector<double> b = dice.vector(n);
      std::vector<double> z(b.size());
      ASSERT_TRUE(lu.apply(b.data(), z.data()));
      EXPECT_LE(farthest(A.times(z), b), 1e-13);
    }
  }
}

// (L U)_ij = a_ij for every place of the pattern, which is what ILU(0) means.
void expectProductInPattern(const Dense& A, int n) {
  IncompleteLu lu;
  ASSERT_TRUE(lu.factor(A.rows(true)));
  // The columns of the inverse, whose own inverse is L U.
  Dense inverse(n, n);
  for (int j = 0; j < n; ++j) {
    std::vector<double> unit(static_cast<std::size_t>(n)), z(unit.size());
    unit[static_cast<std::size_t>(j)] = 1.0;
    ASSERT_TRUE(lu.apply(unit.data(), z.data()));
    for (int i = 0; i < n; ++i) inverse(i, j) = z[static_cast<std::size_t>(i)];
  }
  SparseLu exact;
  ASSERT_TRUE(exact.factor(inverse.rows(true), Allowance()));
  for (int j = 0; j < n; ++j) {
    std::vector<double> unit(static_cast<std::size_t>(n)), column(unit.size());
    unit[static_cast<std::size_t>(j)] = 1.0;
    ASSERT_TRUE(exact.apply(unit.data(), column.data()));
    for (int i = 0; i < n; ++i) {
      if (A(i, j) != 0.0) {
        EXPECT_NEAR(A(i, j), column[static_cast<std::size_t>(i)], 1e-12);
      }
    }
  }
}

TEST(IncompleteLu, AgreesWithTheMatrixInItsPattern) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 2 + dice.below(12);
    Dense A(n, n);
    for (int i = 0; i < n; ++i) {
      for (int k = 0; k < 3; ++k) A(i, dice.below(n)) = 0.2 * dice.value();
      A(i, i) = 1.0;
    }
    expectProductInPattern(A, n);
  }
}

TEST(IncompleteLu, AgreesWithTheMatrixInItsPatternBelowAFullRow) {
  Dice dice(5);
  const int n = 150;
  Dense A(n, n);
  for (int i = 0; i < n; ++i) {
    A(0, i) = 0.1 * dice.value();
    for (const int j : {0, dice.below(n)}) A(i, j) = 0.1 * dice.value();
    A(i, i) = 1.0;
  }
  expectProductInPattern(A, n);
}

TEST(IncompleteLu, ReplacesAPivotOfZeroAndNeedsAStoredDiagonal) {
  Dense A(2, 2);
  A(0, 1) = A(1, 0) = 1.0;
  IncompleteLu lu;
  EXPECT_FALSE(lu.factor(A.rows()));
  ASSERT_TRUE(lu.factor(A.rows(true)));
  const std::vector<double> b = {1.0, 1.0};
  std::vector<double> z(2);
  ASSERT_TRUE(lu.apply(b.data(), z.data()));
  EXPECT_TRUE(std::isfinite(z[0]) && std::isfinite(z[1]));
  A(0, 0) = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(lu.factor(A.rows(true)));
}

}  // namespace
