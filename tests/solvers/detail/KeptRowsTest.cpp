#include "limber/solvers/detail/KeptRows.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using limber::detail::KeptRows;

// The n x n matrix with s on the diagonal.
void copyDiagonal(int n, double s, KeptRows* out) {
  std::vector<int> starts, indices;
  std::vector<double> values(static_cast<std::size_t>(n), s);
  for (int i = 0; i <= n; ++i) starts.push_back(i);
  for (int i = 0; i < n; ++i) indices.push_back(i);
  out->copy(starts.data(), indices.data(), values.data(), n, n);
}

double productWithOnes(const KeptRows& rows, int n) {
  const std::vector<double> x(static_cast<std::size_t>(n), 1.0);
  std::vector<double> y(x);
  rows.get()->multiply(x.data(), y.data());
  double sum = 0.0;
  for (const double v : y) sum += v;
  return sum;
}

TEST(KeptRows, HasNoRowsBeforeTheCopy) { EXPECT_EQ(KeptRows().get(), nullptr); }

TEST(KeptRows, LendsItsStorageAgain) {
  const void* first = nullptr;
  {
    KeptRows rows;
    copyDiagonal(8, 2.0, &rows);
    first = rows.get();
  }
  KeptRows rows;
  copyDiagonal(5, 3.0, &rows);
  EXPECT_EQ(rows.get(), first);
  EXPECT_EQ(rows.get()->height(), 5);
  EXPECT_EQ(productWithOnes(rows, 5), 15.0);
}

TEST(KeptRows, OfTwoSolvesAtOnceDoNotShare) {
  KeptRows one, other;
  copyDiagonal(4, 2.0, &one);
  copyDiagonal(6, 5.0, &other);
  EXPECT_EQ(productWithOnes(one, 4), 8.0);
  EXPECT_EQ(productWithOnes(other, 6), 30.0);
}

}  // namespace
