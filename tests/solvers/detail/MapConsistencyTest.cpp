// The maps with which the front door multiplies: their products and their transposes fit together.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/solvers/detail/ConstraintMap.h"
#include "limber/solvers/detail/IncompleteLu.h"
#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/PowersOfTwo.h"
#include "limber/solvers/detail/SparseRows.h"

using namespace limber::detail;

namespace {

// All elements, pairwise different, with a large diagonal.
SparseRows full(int height, int width) {
  SparseRows rows(height, width);
  for (int i = 0; i < height; ++i) {
    for (int j = 0; j < width; ++j) {
      rows.append(j, (i == j ? 50.0 : 0.0) + 1.0 / (1.0 + i + 2.0 * j));
    }
    rows.endRow();
  }
  return rows;
}

TEST(MapConsistency, TheIncompleteFactorKeepsRowsOfZerosAsTheyAre) {
  SparseRows A(2, 2);
  for (int i = 0; i < 2; ++i) {
    A.append(i, i == 0 ? 4.0 : 0.0);
    A.endRow();
  }
  IncompleteLu lu;
  ASSERT_TRUE(lu.factor(A));
  const double r[2] = {8.0, 3.0};
  double z[2];
  EXPECT_TRUE(lu.apply(r, z));
  EXPECT_EQ(z[0], 2.0);
  EXPECT_EQ(z[1], 3.0);
  A.index[1] = 0;  // no diagonal
  EXPECT_FALSE(lu.factor(A));
}

// <A x, y> = <x, A^T y>, and the product both ways is the two products after each other.
void expectConsistent(LinearMap& A) {
  const int m = A.height(), n = A.width();
  std::mt19937 random(7);
  const auto vector = [&random](int size) {
    std::vector<double> v;
    for (int i = 0; i < size; ++i) v.push_back(static_cast<double>(random()) * 0x1p-31 - 1.0);
    return v;
  };
  const std::vector<double> x = vector(n), y = vector(m);
  std::vector<double> Ax(y), Aty(x), u(y), w(n), r(m), g(n), expected(n);
  A.multiply(x.data(), Ax.data());
  A.multiplyTransposed(y.data(), Aty.data());
  double left = 0.0, right = 0.0;
  for (std::size_t i = 0; i < Ax.size(); ++i) left += Ax[i] * y[i];
  for (std::size_t j = 0; j < Aty.size(); ++j) right += Aty[j] * x[j];
  EXPECT_NEAR(left, right, 1e-12 * (1.0 + std::fabs(left)));

  const double square = A.multiplyBothWays(x.data(), 0.5, u.data(), w.data());
  double sum = 0.0;
  for (std::size_t i = 0; i < u.size(); ++i) {
    EXPECT_NEAR(u[i], Ax[i] - 0.5 * y[i], 1e-12);
    sum += u[i] * u[i];
  }
  EXPECT_NEAR(square, sum, 1e-12 * sum);
  A.multiplyTransposed(u.data(), expected.data());
  for (std::size_t j = 0; j < w.size(); ++j) EXPECT_NEAR(w[j], expected[j], 1e-12 * (1.0 + sum));

  A.preciseResidual(y.data(), x.data(), r.data(), g.data());
  for (std::size_t i = 0; i < r.size(); ++i) EXPECT_NEAR(r[i], y[i] - Ax[i], 1e-12);
  A.multiplyTransposed(r.data(), expected.data());
  for (std::size_t j = 0; j < g.size(); ++j) EXPECT_NEAR(g[j], expected[j], 1e-10);
}

TEST(MapConsistency, MapsMultiplyByTheirTranspose) {
  const SparseRows A = full(5, 3);
  RowsMap rows(A);
  expectConsistent(rows);
  Doubles scale(3);
  for (int j = 0; j < 3; ++j) scale[j] = 1.0 + j;
  ScaledColumnsMap scaled(A, scale);
  expectConsistent(scaled);
  NormalMap normal(rows);
  EXPECT_EQ(normal.height(), 3);
  EXPECT_EQ(normal.width(), 3);
  expectConsistent(normal);
  ConstraintMap constraints;
  constraints.rows = full(3, 5);
  constraints.damp.assign(3, 0.5);
  EXPECT_EQ(constraints.height(), 3);
  EXPECT_EQ(constraints.width(), 3);
  expectConsistent(constraints);

  SpVec first, second;
  first.insEnd(2.0, 0);
  first.insEnd(-1.0, 2);
  second.insEnd(3.0, 1);
  HSpMat matrix(0);
  matrix.add(&first);
  matrix.add(&second);
  ForeignMap foreign(matrix, 2, 3);
  foreign.scaleBy(3);
  expectConsistent(foreign);
  // more rows than the matrix has are zeros
  ForeignMap taller(matrix, 4, 3);
  const double x[3] = {1.0, 1.0, 1.0};
  double y[4] = {7.0, 7.0, 7.0, 7.0};
  taller.multiply(x, y);
  EXPECT_EQ(y[0], 1.0);
  EXPECT_EQ(y[1], 3.0);
  EXPECT_EQ(y[2], 0.0);
  EXPECT_EQ(y[3], 0.0);
}

TEST(MapConsistency, PowersOfTwoScaleByMoreThanADoubleHolds) {
  double small[2] = {0x1p-1060, 0x1p-1050}, large[2] = {0x1p1010, 0x1p1000};
  scaleByPowerOfTwo(2, small, 1060);
  EXPECT_EQ(small[0], 1.0);
  EXPECT_EQ(small[1], 0x1p10);
  scaleByPowerOfTwo(2, large, -1010);
  EXPECT_EQ(large[0], 1.0);
  EXPECT_EQ(large[1], 0x1p-10);
}

}  // namespace
