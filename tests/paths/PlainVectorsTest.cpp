// On machines without 256-bit vectors the plain forms run and give the same numbers.

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "limber/foundation/detail/WideVectors.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/linalg/Vector.h"
#include "limber/ode/RK4Solver.h"
#include "limber/solvers/detail/DenseLu.h"
#include "tests/ode/Systems.h"
#include "tests/paths/HideWideVectors.h"
#include "tests/solvers/detail/RowWalkCases.h"
#include "tests/support/OwnProcess.h"

using namespace limber::detail;

#if defined(__x86_64__) && !defined(_WIN32)

namespace {

TEST(PlainVectors, DenseFactorsSubtractThePivotsInAscendingOrder) {
  if (!inOwnProcess()) return;
  hideWideVectors();
  ASSERT_FALSE(useWideVectors());
  constexpr int n = 131;
  std::mt19937_64 random(5);
  std::normal_distribution<double> normal;
  DenseLu lu;
  lu.clear(n);
  std::vector<std::vector<double>> columns;
  Ints rows(n);
  for (int j = 0; j < n; ++j) {
    rows[j] = j;
    for (int i = 0; i < n; ++i) lu.column(j)[i] = normal(random) + (i == j ? 4.0 * n : 0.0);
    columns.emplace_back(lu.column(j), lu.column(j) + n);
  }
  EXPECT_EQ(lu.factor(&rows), 0);
  for (std::size_t k = 0; k < n; ++k) {
    ASSERT_EQ(rows[static_cast<int>(k)], static_cast<int>(k)) << "large diagonals need no exchange";
    for (std::size_t i = k + 1; i < n; ++i) columns[k][i] /= columns[k][k];
    for (std::size_t j = k + 1; j < n; ++j) {
      for (std::size_t i = k + 1; i < n; ++i) columns[j][i] -= columns[k][i] * columns[j][k];
    }
  }
  for (int j = 0; j < n; ++j) {
    const double* const column = lu.column(j);
    EXPECT_EQ(std::vector<double>(column, column + n), columns[static_cast<std::size_t>(j)]) << j;
  }
}

TEST(PlainVectors, RowWalksSumInTheOrderOfTheEntries) {
  if (!inOwnProcess()) return;
  hideWideVectors();
  row_walk::expectPlainBits();
}

TEST(PlainVectors, AStepOfRungeKuttaHasTheBitsOfShortStates) {
  if (!inOwnProcess()) return;
  hideWideVectors();
  Decay decay;
  Vector whole(20), part(10);
  for (int i = 0; i < 20; ++i) whole[i] = part[i % 10] = 1.0 / (i % 10 + 3);
  RK4Solver(&decay, 20).step(&whole, 0.0, 0.1);
  RK4Solver(&decay, 10).step(&part, 0.0, 0.1);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(whole[i], part[i % 10]) << i;
}

TEST(PlainVectors, ScaledTurnsAreInvertedExactly) {
  if (!inOwnProcess()) return;
  hideWideVectors();
  const double back[4][4] = {{0, 1, 0, 0}, {0, 0, -0.25, 0}, {0.5, 0, 0, 0}, {0, 0, 0, 1}};
  Matrix4x4 m;
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) m.m[j][i] = back[i][j] != 0.0 ? 1.0 / back[i][j] : 0.0;
  }
  EXPECT_EQ(invertMatrix(&m, 1), 1);
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) EXPECT_EQ(m.m[i][j], back[i][j]) << i << " " << j;
  }
}

}  // namespace

#endif
