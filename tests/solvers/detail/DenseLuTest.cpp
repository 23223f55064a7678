#include "limber/solvers/detail/DenseLu.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "limber/solvers/detail/SparseLu.h"
#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

using Columns = std::vector<std::vector<double>>;

std::size_t at(int i) { return static_cast<std::size_t>(i); }

Columns randomColumns(Dice* dice, int n) {
  Columns A(at(n), std::vector<double>(at(n)));
  for (std::vector<double>& column : A) {
    for (double& x : column) x = dice->value();
  }
  return A;
}

void copy(const Columns& A, DenseLu* lu) {
  const int n = static_cast<int>(A.size());
  lu->clear(n);
  for (int j = 0; j < n; ++j) std::copy(A[at(j)].begin(), A[at(j)].end(), lu->column(j));
}

Ints natural(int n) {
  Ints rows(n);
  for (int i = 0; i < n; ++i) rows[i] = i;
  return rows;
}

// The elimination one pivot after the other. Returns the rows in the order of their pivots.
Ints eliminate(Columns* A) {
  const int n = static_cast<int>(A->size());
  Ints rows = natural(n);
  for (int k = 0; k < n; ++k) {
    std::vector<double>& own = (*A)[at(k)];
    int best = k;
    for (int i = k + 1; i < n; ++i) {
      if (std::fabs(own[at(i)]) > std::fabs(own[at(best)])) best = i;
    }
    for (std::vector<double>& column : *A) std::swap(column[at(k)], column[at(best)]);
    std::swap(rows[k], rows[best]);
    for (int i = k + 1; i < n; ++i) own[at(i)] /= own[at(k)];
    for (int j = k + 1; j < n; ++j) {
      std::vector<double>& other = (*A)[at(j)];
      for (int i = k + 1; i < n; ++i) {
        const volatile double product = own[at(i)] * other[at(k)];  // not fused with the subtraction
        other[at(i)] -= product;
      }
    }
  }
  return rows;
}

TEST(DenseLu, HasTheBitsOfThePlainElimination) {
  for (const int n : {1, 2, 5, 31, 32, 33, 63, 64, 70, 101}) {
    SCOPED_TRACE(n);
    Dice dice(static_cast<unsigned>(n));
    Columns A = randomColumns(&dice, n);
    DenseLu lu;
    copy(A, &lu);
    Ints rows = natural(n);
    EXPECT_EQ(0, lu.factor(&rows));
    const Ints expected = eliminate(&A);
    for (int j = 0; j < n; ++j) {
      ASSERT_EQ(expected[j], rows[j]);
      for (int i = 0; i < n; ++i) ASSERT_EQ(A[at(j)][at(i)], lu.column(j)[i]) << i << ' ' << j;
    }
  }
}

TEST(DenseLu, Solves) {
  const int n = 77;
  Dice dice(4);
  const Columns A = randomColumns(&dice, n);
  DenseLu lu;
  copy(A, &lu);
  Ints rows = natural(n);
  lu.factor(&rows);
  std::vector<double> b(at(n)), x(at(n));
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) b[at(i)] += A[at(j)][at(i)] * (j + 1.0);
  }
  for (int i = 0; i < n; ++i) x[at(i)] = b[at(rows[i])];
  lu.solveLower(x.data());
  lu.solveUpper(x.data());
  for (int j = 0; j < n; ++j) EXPECT_NEAR(j + 1.0, x[at(j)], 1e-8);
}

TEST(DenseLu, MovesColumnsWithoutAPivotToTheEnd) {
  const int n = 40;
  Dice dice(5);
  Columns A = randomColumns(&dice, n);
  A[0].assign(at(n), 0.0);
  A[17].assign(at(n), 0.0);
  DenseLu lu;
  copy(A, &lu);
  Ints rows = natural(n);
  EXPECT_EQ(2, lu.factor(&rows));
  EXPECT_EQ(1.0, lu.column(38)[38]);
  EXPECT_EQ(1.0, lu.column(39)[39]);
}

TEST(DenseLu, SolvesConsistentSingularSystems) {
  for (const int n : {3, 40, 70, 100}) {
    for (const int missing : {1, 2, n / 2, n}) {
      SCOPED_TRACE(n);
      Dice dice(static_cast<unsigned>(n + missing));
      // zeros in the last rows and in columns from the front, so each column needs the pivot row that it
      // finds
      Columns A = randomColumns(&dice, n);
      for (int j = 0; j < n; ++j) {
        for (int i = 0; i < n; ++i) {
          if (i >= n - missing || (j * 7 + 3) % n < missing) A[at(j)][at(i)] = 0.0;
        }
      }
      int zeros = 0;
      for (const auto& column : A) {
        zeros += std::all_of(column.begin(), column.end(), [](double v) { return v == 0.0; });
      }
      if (zeros != missing) continue;
      DenseLu lu;
      copy(A, &lu);
      Ints rows = natural(n);
      EXPECT_EQ(missing, lu.factor(&rows));
      std::vector<double> b(at(n)), x(at(n));
      for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) b[at(i)] += A[at(j)][at(i)];
      }
      for (int k = 0; k < n; ++k) x[at(k)] = b[at(rows[k])];
      lu.solveLower(x.data());
      lu.solveUpper(x.data());
      for (int i = 0; i < n; ++i) {
        double sum = 0.0;
        for (int j = 0; j < n; ++j) sum += A[at(j)][at(i)] * x[at(j)];
        EXPECT_NEAR(b[at(i)], sum, 1e-8);
      }
    }
  }
}

// Nearly full columns, which the sparse factor hands over to the dense one.
TEST(SparseLu, SolvesSystemsWithAFullRest) {
  for (const int n : {70, 100, 150}) {
    SCOPED_TRACE(n);
    Dice dice(static_cast<unsigned>(n));
    Dense A(n, n);
    for (int i = 0; i < n; ++i) {
      for (int k = 0; k < 12; ++k) A(i, dice.below(n)) = dice.value();
      A(i, (i + 1) % n) += 2.0;
    }
    std::vector<double> ones(at(n), 1.0), z(at(n));
    const std::vector<double> b = A.times(ones);
    SparseLu lu;
    for (int turn = 0; turn < 2; ++turn) {
      ASSERT_TRUE(lu.factor(A.rows(), Allowance()));
      EXPECT_EQ(0, lu.defects());
      ASSERT_TRUE(lu.apply(b.data(), z.data()));
      for (int i = 0; i < n; ++i) EXPECT_NEAR(1.0, z[at(i)], 1e-9);
    }
    EXPECT_FALSE(lu.factor(A.rows(), Allowance{n * n / 4.0, 1e9}));
    EXPECT_FALSE(lu.factor(A.rows(), Allowance{1e9, n * n / 4.0}));
    for (int i = 0; i < n; ++i) A(i, n / 2) = 0.0;
    ASSERT_TRUE(lu.factor(A.rows(), Allowance()));
    EXPECT_EQ(1, lu.defects());
  }
}

}  // namespace
