#include "limber/linalg/SlicedMatrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "limber/linalg/WierdMatrices.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

::testing::AssertionResult same(const Vector& expected, const Vector& found) {
  if (expected.size() != found.size()) {
    return ::testing::AssertionFailure() << "sizes " << expected.size() << " and " << found.size();
  }
  for (int i = 0; i < expected.size(); ++i) {
    if (std::isnan(expected[i]) && std::isnan(found[i])) continue;
    if (!tolerance::sameBits(expected[i], found[i])) {
      return ::testing::AssertionFailure() << i << ": " << expected[i] << " and " << found[i];
    }
  }
  return ::testing::AssertionSuccess();
}

// Zeros, values around the limit of tiny ones, and others.
Vector operand(std::mt19937_64& random, int n) {
  const double odd[] = {0.0, -0.0, 1e-12, -1e-12, 1.1e-12, -5e-13};
  Vector v = randomVector(random, n);
  for (double& x : v) {
    const auto kind = random() % 24;
    if (kind < 6) x = odd[kind];
  }
  return v;
}

// Both products of one matrix, with operands of full size, with operands that are too short, and with results
// that had values before.
void expectSameProducts(const SpMat& expected, const SpMat& found, std::mt19937_64& random) {
  const int h = expected.height(), w = expected.width();
  ASSERT_EQ(found.height(), h);
  ASSERT_EQ(found.width(), w);
  for (const int missing : {0, 1, h / 2}) {
    for (const int extra : {0, 30}) {
      const Vector x = operand(random, std::max(0, w - missing + extra)),
                   xT = operand(random, std::max(0, h - missing));
      Vector y(extra), z(extra), yT(extra), zT(extra);
      for (Vector* v : {&y, &z, &yT, &zT}) *v = 7.0;
      expected.mult(&x, &y);
      found.mult(&x, &z);
      EXPECT_TRUE(same(y, z));
      expected.multT(&xT, &yT);
      found.multT(&xT, &zT);
      EXPECT_TRUE(same(yT, zT));
      for (const Vector* v : {&z, &zT}) {
        if (v->count < v->capacity) {
          EXPECT_EQ(v->data[v->count], 0.0);
        }
      }
    }
  }
}

TEST(SlicedMatrix, ProductsHaveTheBitsOfTheRows) {
  std::mt19937_64 random(31);
  for (const int h : {1, 2, 3, 4, 5, 17, 1023, 1024, 1025, 2600}) {
    for (const int w : {1, 6, 90}) {
      OwnRows m = OwnRows::random(random, h, w, 0.02 + 0.3 / h);
      const SlicedMatrix sliced(m.matrix);
      expectSameProducts(m.matrix, sliced, random);
      for (int i = 0; i < std::min(h, 20); ++i) {
        for (int j = -1; j <= w; ++j) EXPECT_EQ(sliced.acc(i, j), m.matrix.acc(i, j));
      }
    }
  }
}

TEST(SlicedMatrix, TakesRowsAsTheyAre) {
  std::mt19937_64 random(32);
  for (int trial = 0; trial < 60; ++trial) {
    const int h = 1 + static_cast<int>(random() % 50);
    OwnRows m = OwnRows::random(random, h, 40, 0.2);
    HSpMat matrix(0);
    for (const auto& row : m.rows) {
      switch (random() % 6) {
        case 0:
          matrix.add(nullptr);
          continue;
        case 1:
          row->compact(0.1);
          break;
        case 2:
          row->insEnd(1.5, static_cast<int>(random() % 30));
          break;
        case 3:
          if (row->numEntries > 1) row->indices[1] = -3;
          break;
        case 4:
          row->numEntries = -1;
          break;
        default:
          row->insEnd(2.5, row->numEntries > 0 ? row->indices[0] : 3);
      }
      matrix.add(row.get());
    }
    expectSameProducts(matrix, SlicedMatrix(matrix), random);
  }
}

TEST(SlicedMatrix, WhatIsNotFiniteGoesWhereItGoesInTheRows) {
  std::mt19937_64 random(33);
  const double infinity = std::numeric_limits<double>::infinity();
  OwnRows m = OwnRows::random(random, 60, 30, 0.3);
  for (const auto& row : m.rows) {
    if (row->numEntries > 2) row->e(1) = random() % 2 ? infinity : std::nan("");
  }
  SlicedMatrix sliced(m.matrix);
  expectSameProducts(m.matrix, sliced, random);
  OwnRows finite = OwnRows::random(random, 60, 30, 0.3);
  SlicedMatrix other(finite.matrix);
  Vector x = operand(random, 60), y, z;
  x[3] = infinity, x[4] = std::nan("");
  finite.matrix.multT(&x, &y);
  other.multT(&x, &z);
  EXPECT_TRUE(same(y, z));
  other.scalar(infinity);
  finite.matrix.scalar(infinity);
  expectSameProducts(finite.matrix, other, random);
}

TEST(SlicedMatrix, DoesNotFollowTheRows) {
  OwnRows m({{{0, 1.0}, {2, 2.0}}, {{1, 3.0}}});
  const SlicedMatrix sliced(m.matrix);
  m.rows[0]->e(0) = 9.0;
  m.rows[1]->ins(4.0, 5);
  EXPECT_EQ(sliced.width(), 3);
  EXPECT_EQ(sliced.acc(0, 0), 1.0);
  EXPECT_EQ(sliced.acc(1, 5), 0.0);
}

TEST(SlicedMatrix, CopiesAreDeep) {
  std::mt19937_64 random(34);
  OwnRows m = OwnRows::random(random, 70, 50, 0.2), twice = OwnRows::random(random, 3, 4, 0.9);
  SlicedMatrix sliced(m.matrix), copy(sliced), assigned(twice.matrix);
  assigned = sliced;
  assigned = *&assigned;
  sliced.scalar(2.0);
  expectSameProducts(m.matrix, copy, random);
  expectSameProducts(m.matrix, assigned, random);
  m.matrix.scalar(2.0);
  expectSameProducts(m.matrix, sliced, random);
  const SlicedMatrix none{HSpMat(0)};
  assigned = none;
  EXPECT_EQ(assigned.height(), 0);
  EXPECT_EQ(assigned.width(), 0);
}

TEST(SlicedMatrix, WithoutRowsHasNothing) {
  for (const int n : {0, -3, 4}) {
    const HSpMat rows(n);
    SlicedMatrix sliced(rows);
    EXPECT_EQ(sliced.height(), std::max(n, 0));
    EXPECT_EQ(sliced.width(), 0);
    Vector x(4), y(9), yT(9);
    x = 1.0;
    sliced.mult(&x, &y);
    sliced.multT(&x, &yT);
    expectElements(y, std::vector<double>(static_cast<std::size_t>(std::max(n, 0)), 0.0));
    expectElements(yT, {});
    EXPECT_EQ(sliced.acc(0, 0), 0.0);
    sliced.scalar(2.0);
  }
}

TEST(SlicedMatrix, TakesTheElementsOfAnyMatrix) {
  std::mt19937_64 random(35);
  FullMatrix full = randomMatrix(random, 23, 17);
  full.e(4, 5) = 0.0;
  full.e(6, 7) = 1e-20;
  const SlicedMatrix sliced(full);
  ASSERT_EQ(sliced.height(), 23);
  ASSERT_EQ(sliced.width(), 17);
  const Vector x = randomVector(random, 17), xT = randomVector(random, 23);
  Vector y(23), z, yT(17), zT;
  full.mult(&x, &y);
  sliced.mult(&x, &z);
  EXPECT_TRUE(same(y, z));
  full.multT(&xT, &yT);
  sliced.multT(&xT, &zT);
  EXPECT_TRUE(same(yT, zT));
  EXPECT_EQ(sliced.acc(6, 7), 1e-20);
}

// Reads each place of a structured matrix through its own class.
template <class Matrix>
void expectElementsOf(Matrix& m) {
  CapturedOutput output;
  const SlicedMatrix sliced(static_cast<const SpMat&>(m));
  ASSERT_EQ(sliced.height(), m.height());
  ASSERT_EQ(sliced.width(), m.width());
  for (int i = 0; i < m.height(); ++i) {
    for (int j = 0; j < m.width(); ++j) EXPECT_EQ(sliced.acc(i, j), m.acc(i, j)) << i << " " << j;
  }
  EXPECT_EQ(output.err(), "");
}

TEST(SlicedMatrix, AsksStructuredMatricesForTheirOwnSizesAndElements) {
  IdentityMatrix identity(7);
  identity.s = -2.5;
  expectElementsOf(identity);
  DiagonalMatrix diagonal(6);
  for (int i = 0; i < 6; ++i) diagonal.diag->e(i) = i - 2.0;
  expectElementsOf(diagonal);
  BandedMatrix band(11, 6);
  band.zero();
  for (int i = 0; i < 11; ++i) {
    for (int j = std::max(0, i - 3); j < std::min(11, i + 3); ++j) band.e(i, j) = 1.0 + 10 * i + j;
  }
  expectElementsOf(band);
  OwnRows h({{{0, 2.0}, {1, 1.0}}, {{1, 3.0}}}), j({{{0, 5.0}}});
  SQPMatrix quadratic(&h.matrix, &j.matrix);
  quadratic.hessianShift = 0.5;
  quadratic.lowerDiagonal = -1.0;
  expectElementsOf(quadratic);
  SpMat& base = h.matrix;
  EXPECT_EQ(SlicedMatrix(base).acc(0, 1), 1.0);
}

}  // namespace
