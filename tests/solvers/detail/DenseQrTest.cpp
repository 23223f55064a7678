#include "limber/solvers/detail/DenseQr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

// A matrix of the given rank whose columns have norms near 1.
Dense ofRank(Dice* dice, int m, int n, int rank) {
  Dense left(m, rank), right(rank, n);
  for (int i = 0; i < m; ++i) {
    for (int k = 0; k < rank; ++k) left(i, k) = dice->value();
  }
  for (int k = 0; k < rank; ++k) {
    for (int j = 0; j < n; ++j) right(k, j) = dice->value();
  }
  return left.times(right);
}

TEST(DenseQr, FindsTheRankTheSolutionAndTheNullSpace) {
  for (unsigned seed = 1; seed <= 200; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int m = 1 + dice.below(15), n = 1 + dice.below(15), rank = dice.below(std::min(m, n) + 1);
    const Dense A = ofRank(&dice, m, n, rank);
    DenseQr qr(A.rows());
    ASSERT_EQ(rank, qr.rank());
    const std::vector<double> b = dice.vector(m);
    std::vector<double> d(static_cast<std::size_t>(n)), residual(b);
    qr.solve(b.data(), d.data());
    const std::vector<double> product = A.times(d);
    for (std::size_t i = 0; i < b.size(); ++i) residual[i] -= product[i];
    double most = 1.0;
    for (const double x : d) most = std::max(most, std::fabs(x));
    EXPECT_LE(farthest(A.transposed().times(residual), std::vector<double>(d.size())), 1e-11 * most);
    EXPECT_LE(std::count_if(d.begin(), d.end(), [](double x) { return x != 0.0; }), rank);

    for (int k = 0; k < n - rank; ++k) {
      std::vector<double> z(d.size());
      qr.nullVector(k, z.data());
      double size = 0.0;
      for (const double x : z) size = std::max(size, std::fabs(x));
      EXPECT_GE(size, 1.0);
      EXPECT_LE(farthest(A.times(z), std::vector<double>(b.size())), 1e-10 * size);
      // Each of them has a 1 where all the others have a 0, so they are independent.
      bool own = false;
      for (int j = 0; j < n && !own; ++j) {
        own = z[static_cast<std::size_t>(j)] == 1.0;
        for (int other = 0; other < n - rank && own; ++other) {
          std::vector<double> w(d.size());
          qr.nullVector(other, w.data());
          own = other == k || w[static_cast<std::size_t>(j)] == 0.0;
        }
      }
      EXPECT_TRUE(own);
    }
  }
}

TEST(DenseQr, SolvesSquareSystems) {
  Dice dice(4);
  const Dense A = ofRank(&dice, 9, 9, 9);
  const std::vector<double> x = dice.vector(9), b = A.times(x);
  DenseQr qr(A.rows());
  std::vector<double> d(9);
  qr.solve(b.data(), d.data());
  EXPECT_LE(farthest(A.times(d), b), 1e-12);
}

TEST(DenseQr, HasNoRankForZeros) {
  const Dense A(3, 2);
  DenseQr qr(A.rows());
  EXPECT_EQ(0, qr.rank());
  std::vector<double> d = {7.0, 7.0};
  const std::vector<double> b = {1.0, 2.0, 3.0};
  qr.solve(b.data(), d.data());
  EXPECT_EQ(std::vector<double>(2), d);
}

// The unknowns of the solution with dependent columns are those of the largest columns.
TEST(DenseQr, TakesTheLargestColumnsFirst) {
  Dense A(2, 4);
  for (int i = 0; i < 2; ++i) {
    A(i, 0) = 0.25, A(i, 1) = -1.0, A(i, 2) = 0.5;
  }
  A(0, 3) = 0.75, A(1, 3) = -0.5;
  DenseQr qr(A.rows());
  ASSERT_EQ(2, qr.rank());
  const std::vector<double> b = {1.0, 2.0};
  std::vector<double> d(4);
  qr.solve(b.data(), d.data());
  EXPECT_EQ(0.0, d[0]);
  EXPECT_NE(0.0, d[1]);
  EXPECT_EQ(0.0, d[2]);
  EXPECT_NE(0.0, d[3]);
  EXPECT_LE(farthest(A.times(d), b), 1e-14);
}

TEST(DenseQr, CountsItsOperations) {
  EXPECT_EQ(5.0 * 7 * 3 * 3, DenseQr::operations(7, 3));
  EXPECT_EQ(5.0 * 7 * 3 * 3, DenseQr::operations(3, 7));
}

}  // namespace
