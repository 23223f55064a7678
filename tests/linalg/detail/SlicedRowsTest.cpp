#include "limber/linalg/detail/SlicedRows.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "tests/support/Tolerance.h"

using limber::detail::SlicedRows;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

// A matrix whose rows have up to `longest` entries. Some rows are empty and some are null.
struct Case {
  Case(unsigned seed, int height, int width, int longest) : engine(seed), matrix(height) {
    std::normal_distribution<double> normal;
    for (int i = 0; i < height; ++i) {
      if (engine() % 17 == 0) continue;
      auto row = std::make_unique<SpVec>();
      const int entries = static_cast<int>(engine() % static_cast<unsigned>(longest + 1));
      for (int k = 0; k < entries; ++k) {
        row->ins(normal(engine), static_cast<int>(engine() % static_cast<unsigned>(width)));
      }
      if (engine() % 19 == 0) row->numEntries = -2;
      matrix.rows[i] = row.get();
      owned.push_back(std::move(row));
    }
    auto widest = std::make_unique<SpVec>();
    widest->ins(1.0, width - 1);
    matrix.rows[height - 1] = widest.get();
    owned.push_back(std::move(widest));
  }

  Vector operand(int n) {
    std::normal_distribution<double> normal;
    Vector v(n);
    for (int i = 0; i < n; ++i) {
      const unsigned kind = static_cast<unsigned>(engine() % 12);
      v[i] = kind == 0 ? 0.0 : kind == 1 ? -1e-12 : kind == 2 ? -0.0 : kind == 3 ? 1.1e-12 : normal(engine);
    }
    return v;
  }

  std::mt19937_64 engine;
  HSpMat matrix;
  std::vector<std::unique_ptr<SpVec>> owned;
};

::testing::AssertionResult sameBits(const Vector& expected, const std::vector<double>& values) {
  for (int i = 0; i < expected.size(); ++i) {
    const double x = values[static_cast<std::size_t>(i)];
    if (std::isnan(expected[i]) && std::isnan(x)) continue;
    if (!tolerance::sameBits(expected[i], x)) {
      return ::testing::AssertionFailure() << i << ": " << expected[i] << " and " << x;
    }
  }
  return ::testing::AssertionSuccess();
}

// Compares all three products with those of the rows.
void expectSameProducts(SlicedRows& sliced, Case& c, const Vector& x, const Vector& z) {
  const int height = c.matrix.height(), width = c.matrix.width();
  ASSERT_TRUE(sliced.copy(c.matrix.rows, height, width));
  std::vector<double> y(static_cast<std::size_t>(height), 7.0), t = y;
  std::vector<double> yT(static_cast<std::size_t>(width), 7.0);
  Vector expected, expectedT;
  c.matrix.mult(&x, &expected);
  sliced.multiply(x.data, y.data());
  EXPECT_TRUE(sameBits(expected, y));
  c.matrix.multT(&z, &expectedT);
  sliced.multiplyTransposed(z.data, yT.data());
  EXPECT_TRUE(sameBits(expectedT, yT));
  for (const double shift : {0.0, 0.25}) {
    sliced.multiplyNormal(x.data, shift, t.data(), yT.data());
    Vector shifted = expected;
    for (int i = 0; i < height && shift != 0.0; ++i) shifted[i] += shift;
    c.matrix.multT(&shifted, &expectedT);
    EXPECT_TRUE(sameBits(shifted, t)) << shift;
    EXPECT_TRUE(sameBits(expectedT, yT)) << shift;
  }
}

// Uses one copy for all, so its storage is reused for larger and smaller matrices.
TEST(SlicedRows, ProductsHaveTheBitsOfTheRows) {
  SlicedRows sliced;
  unsigned seed = 0;
  for (const int height : {1, 2, 3, 4, 5, 9, 1023, 2500, 1024, 1025, 70}) {
    for (const int longest : {0, 1, 7, 40}) {
      Case c(++seed, height, 90, longest);
      const Vector x = c.operand(90), z = c.operand(height);
      expectSameProducts(sliced, c, x, z);
    }
  }
}

TEST(SlicedRows, WhatIsNotFiniteGoesWhereItGoesInTheRows) {
  SlicedRows sliced;
  Case c(5, 40, 30, 12);
  for (auto& row : c.owned) {
    if (row->numEntries > 2) row->e(1) = c.engine() % 2 ? infinity : std::nan("");
  }
  Vector x = c.operand(30), z = c.operand(40);
  x[3] = -infinity, z[4] = infinity, z[5] = std::nan("");
  expectSameProducts(sliced, c, x, z);
}

TEST(SlicedRows, KeepsTheOrderOfEntriesThatAreNotSorted) {
  SlicedRows sliced;
  Case c(6, 8, 20, 0);
  for (auto& row : c.owned) {
    for (const int j : {9, 2, 9, 17}) row->insEnd(std::ldexp(1.0 + j, 40 * (j % 3)), j);
  }
  c.owned.back()->width = 20;
  const Vector x = c.operand(20), z = c.operand(8);
  expectSameProducts(sliced, c, x, z);
}

TEST(SlicedRows, RefusesWhatItCannotHold) {
  SlicedRows sliced;
  Case c(7, 50, 30, 8);
  HSpMat& m = c.matrix;
  ASSERT_TRUE(sliced.copy(m.rows, 50, 30));
  EXPECT_FALSE(sliced.copy(m.rows, 0, 30));
  EXPECT_FALSE(sliced.copy(m.rows, 50, 0));
  EXPECT_FALSE(sliced.copy(m.rows, 50, 29)) << "the last row has an entry at 29";
  SpVec& last = *c.owned.back();
  for (const int index : {-1, 30, INT_MAX, INT_MIN}) {
    last.indices[0] = index;
    EXPECT_FALSE(sliced.copy(m.rows, 50, 30)) << index;
  }
  double untouched = 7.0;
  sliced.multiplyTransposed(nullptr, &untouched);
  sliced.multiply(nullptr, &untouched);
  EXPECT_EQ(untouched, 7.0);
  last.indices[0] = 29;
  const Vector x = c.operand(30), z = c.operand(50);
  expectSameProducts(sliced, c, x, z);
}

TEST(SlicedRows, DoesNotFollowTheRows) {
  SlicedRows sliced;
  SpVec row;
  row.ins(2.0, 0);
  SpVec* rows[] = {&row};
  ASSERT_TRUE(sliced.copy(rows, 1, 1));
  row.e(0) = 5.0;
  const double x = 3.0;
  double y = 0.0;
  sliced.multiply(&x, &y);
  EXPECT_EQ(y, 6.0);
}

TEST(SlicedRows, HoldZeroOutsideTheMatrix) {
  Case c(5, 40, 30, 6);
  SlicedRows rows;
  ASSERT_TRUE(rows.copy(c.matrix.rows, 40, 30));
  for (const int i : {-1, 40, INT_MIN, INT_MAX}) EXPECT_EQ(rows.at(i, 29), 0.0) << i;
  for (const int j : {-1, 30, INT_MIN, INT_MAX}) EXPECT_EQ(rows.at(39, j), 0.0) << j;
  EXPECT_EQ(rows.at(39, 29), 1.0);
}

}  // namespace
