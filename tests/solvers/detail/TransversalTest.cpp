// The order of the rows against the plain search for a largest matching.
#include "limber/solvers/detail/Transversal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

// Whether column j finds a row, possibly by moving other columns to other rows.
bool findsRow(const Dense& A, int j, std::vector<bool>* tried, std::vector<int>* columnOf) {
  for (int i = 0; i < A.height(); ++i) {
    const std::size_t at = static_cast<std::size_t>(i);
    if (A(i, j) == 0.0 || (*tried)[at]) continue;
    (*tried)[at] = true;
    if ((*columnOf)[at] < 0 || findsRow(A, (*columnOf)[at], tried, columnOf)) {
      (*columnOf)[at] = j;
      return true;
    }
  }
  return false;
}

int largestMatching(const Dense& A) {
  std::vector<int> columnOf(static_cast<std::size_t>(A.height()), -1);
  int found = 0;
  for (int j = 0; j < A.width(); ++j) {
    std::vector<bool> tried(static_cast<std::size_t>(A.height()));
    found += findsRow(A, j, &tried, &columnOf);
  }
  return found;
}

void expectRows(const Dense& A) {
  Ints row;
  const int matched = transversal(A.rows(), &row);
  EXPECT_EQ(largestMatching(A), matched);
  ASSERT_EQ(A.width(), row.size());
  EXPECT_EQ(static_cast<std::size_t>(A.width()), std::set<int>(row.begin(), row.end()).size());
  int nonZero = 0;
  for (int j = 0; j < A.width(); ++j) {
    ASSERT_TRUE(row[j] >= 0 && row[j] < A.height());
    nonZero += A(row[j], j) != 0.0;
  }
  EXPECT_GE(nonZero, matched);
}

TEST(Transversal, FindsALargestMatching) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 1 + dice.below(25), perRow = 1 + dice.below(3);
    Dense A(n, n);
    for (int i = 0; i < n; ++i) {
      for (int k = 0; k < perRow; ++k) A(i, dice.below(n)) = std::pow(10.0, 3.0 * dice.value());
    }
    expectRows(A);
  }
}

TEST(Transversal, FindsAHiddenPermutation) {
  for (unsigned seed = 1; seed <= 100; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 2 + dice.below(40);
    std::vector<int> permutation(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) permutation[static_cast<std::size_t>(i)] = i;
    for (int i = n - 1; i > 0; --i) {
      std::swap(permutation[static_cast<std::size_t>(i)],
                permutation[static_cast<std::size_t>(dice.below(i + 1))]);
    }
    Dense A(n, n);
    for (int i = 0; i < n; ++i) A(i, permutation[static_cast<std::size_t>(i)]) = 1.0 + dice.below(5);
    for (int k = 0; k < n; ++k) A(dice.below(n), dice.below(n)) = 1.0;
    Ints row;
    EXPECT_EQ(n, transversal(A.rows(), &row));
    for (int j = 0; j < n; ++j) EXPECT_NE(0.0, A(row[j], j));
  }
}

// A chain in which every column but the last must move to another row: the path is as long as the matrix.
TEST(Transversal, MovesAllColumnsOfAChain) {
  const int n = 50;
  Dense A(n, n);
  for (int j = 0; j + 1 < n; ++j) A(j, j) = A(j + 1, j) = 1.0;
  A(0, n - 1) = 1.0;
  Ints row;
  EXPECT_EQ(n, transversal(A.rows(), &row));
  for (int j = 0; j + 1 < n; ++j) EXPECT_EQ(j + 1, row[j]);
  EXPECT_EQ(0, row[n - 1]);
}

TEST(Transversal, KeepsADiagonalElementOfATenthOfItsColumn) {
  Dense A(2, 2);
  A(0, 0) = A(1, 1) = 1.0;
  A(1, 0) = A(0, 1) = 8.0;
  Ints row;
  EXPECT_EQ(2, transversal(A.rows(), &row));
  EXPECT_EQ(0, row[0]);
  EXPECT_EQ(1, row[1]);
  A(1, 0) = A(0, 1) = -16.0;
  EXPECT_EQ(2, transversal(A.rows(), &row));
  EXPECT_EQ(1, row[0]);
  EXPECT_EQ(0, row[1]);
}

TEST(Transversal, PrefersLargeElements) {
  // Column 0 could take any row, column 1 only two of them; the large elements lie on one permutation.
  Dense A(3, 3);
  A(0, 0) = 0.01, A(1, 0) = 0.02, A(2, 0) = 1.0;
  A(0, 1) = 1.0, A(1, 1) = 0.03;
  A(1, 2) = 1.0, A(2, 2) = 0.04;
  Ints row;
  EXPECT_EQ(3, transversal(A.rows(), &row));
  EXPECT_EQ(2, row[0]);
  EXPECT_EQ(0, row[1]);
  EXPECT_EQ(1, row[2]);
}

TEST(Transversal, DoesNotCountAStoredZero) {
  const Dense A(3, 3);
  Ints row;
  EXPECT_EQ(0, transversal(A.rows(true), &row));
  EXPECT_EQ(3u, std::set<int>(row.begin(), row.end()).size());
}

}  // namespace
