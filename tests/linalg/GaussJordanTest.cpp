#include "limber/linalg/GaussJordan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "tests/linalg/RandomMatrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using namespace random_matrices;
using tolerance::sameBits;
using tolerance::small;

namespace {

// The documented elimination step by step, written for clarity: the reference for bits and events.
struct Reference {
  FullMatrix a;
  std::vector<double> b;
  std::vector<double> factors;  // of the pivot row of each pass
  std::vector<int> columns;
  int first = 0, second = 0;  // "Singular Matrix-1" and "-2"

  explicit Reference(const FullMatrix& matrix) : a(matrix) {}

  void run() {
    const int n = std::min(a.rows(), a.columns());
    std::vector<int> used(n), rowsOf(n), columnsOf(n);
    int row = 0, column = 0;
    for (int pass = 0; pass < n; ++pass) {
      double best = 0.0;
      for (int i = 0; i < n; ++i) {
        if (used[i] == 1) continue;
        for (int j = 0; j < n; ++j) {
          if (used[j] == 0) {
            if (std::fabs(a.e(i, j)) >= best) best = std::fabs(a.e(i, j)), row = i, column = j;
          } else if (used[j] > 1) {
            ++first;
          }
        }
      }
      ++used[column];
      if (row != column) {
        for (int j = 0; j < n; ++j) std::swap(a.e(row, j), a.e(column, j));
        if (!b.empty()) std::swap(b[row], b[column]);
      }
      rowsOf[pass] = row, columnsOf[pass] = column;
      if (a.e(column, column) == 0.0) ++second;
      const double factor = 1.0 / a.e(column, column);
      factors.push_back(factor);
      columns.push_back(column);
      a.e(column, column) = 1.0;
      for (int j = 0; j < n; ++j) a.e(column, j) *= factor;
      if (!b.empty() && column == 0) {
        for (double& x : b) x *= factor;
      }
      for (int i = 0; i < n; ++i) {
        if (i == column) continue;
        const double saved = a.e(i, column);
        a.e(i, column) = 0.0;
        for (int j = 0; j < n; ++j) a.e(i, j) -= a.e(column, j) * saved;
        if (!b.empty()) b[i] -= b[column] * saved;
      }
    }
    for (int pass = n - 1; pass >= 0; --pass) {
      if (rowsOf[pass] == columnsOf[pass]) continue;
      for (int i = 0; i < n; ++i) std::swap(a.e(i, rowsOf[pass]), a.e(i, columnsOf[pass]));
    }
  }
};

// n vectors of n elements, one after another in memory.
struct Vectors {
  explicit Vectors(int n) : data(new Vector[static_cast<std::size_t>(std::max(n, 1))]) {
    for (int k = 0; k < n; ++k) {
      data[k].grow(n);
      for (int i = 0; i < n; ++i) data[k][i] = 1.0 + 10.0 * k + i;
    }
  }
  std::unique_ptr<Vector[]> data;
};

}  // namespace

TEST(GaussJordan, HasTheBitsAndTheReportsOfThePlainElimination) {
  for (int n : {1, 2, 3, 4, 7, 8, 9, 20}) {
    for (int seed = 0; seed < 12; ++seed) {
      const FullMatrix a = trial(n, seed);
      Reference expected(a);
      Vectors vectors(n);
      for (int i = 0; i < n; ++i) expected.b.push_back(vectors.data[0][i]);
      expected.run();
      CapturedOutput output;
      FullMatrix result(a);
      gaussj(result, nullptr, vectors.data.get());
      EXPECT_TRUE(sameOrNaN(result, expected.a)) << n << " " << seed;
      int first = 0, second = 0;
      for (const std::string& text : output.errCalls()) {
        first += text == "ERR: GAUSSJ: Singular Matrix-1 @ (Vectors:1344)\n";
        second += text == "ERR: GAUSSJ: Singular Matrix-2 @ (Vectors:1353)\n";
      }
      EXPECT_EQ(first, expected.first);
      EXPECT_EQ(second, expected.second);
      EXPECT_EQ(static_cast<int>(output.errCalls().size()), first + second);
      for (int i = 0; i < n; ++i) {
        const double got = vectors.data[0][i];
        const double wanted = expected.b[static_cast<std::size_t>(i)];
        EXPECT_TRUE((std::isnan(got) && std::isnan(wanted)) || sameBits(got, wanted))
            << n << " " << seed << " " << i;
      }
    }
  }
}

TEST(GaussJordan, ScalesTheVectorAtTheColumnsPlaceOfTheArrayDeliberately) {
  FullMatrix a(2, 2);
  a.e(0, 0) = 2.0, a.e(1, 1) = 4.0;
  Vectors vectors(2);
  gaussj(a, nullptr, vectors.data.get());
  EXPECT_EQ(a.e(0, 0), 0.5);
  EXPECT_EQ(a.e(1, 1), 0.25);
  // Column 1 is first: the whole vector 1 is divided by 4. Then column 0: the whole vector 0 is divided by 2.
  EXPECT_EQ(vectors.data[1][0], 11.0 * 0.25);
  EXPECT_EQ(vectors.data[1][1], 12.0 * 0.25);
  EXPECT_EQ(vectors.data[0][0], 0.5);
  EXPECT_EQ(vectors.data[0][1], 1.0);
}

TEST(GaussJordan, SolvesASystemOfOne) {
  FullMatrix a(1, 1);
  a.e(0, 0) = 8.0;
  Vector b(1);
  b[0] = 4.0;
  gaussj(a, nullptr, &b);
  EXPECT_EQ(b[0], 0.5);
}

TEST(GaussJordan, InvertsTheLeadingSquareOfARectangle) {
  for (auto [rows, columns] : {std::pair{2, 4}, std::pair{4, 2}}) {
    FullMatrix a(rows, columns);
    for (int k = 0; k < 8; ++k) a.data[k] = 9.0;
    a.e(0, 0) = 2, a.e(0, 1) = 0, a.e(1, 0) = 0, a.e(1, 1) = 4;
    Vectors vectors(2);
    gaussj(a, nullptr, vectors.data.get());
    EXPECT_EQ(a.e(0, 0), 0.5);
    EXPECT_EQ(a.e(1, 1), 0.25);
    EXPECT_EQ(a.e(rows - 1, columns - 1), 9.0);
  }
}

TEST(GaussJordan, GrowsBeyondAHundredAndShortVectorsArePassedOver) {
  const int n = 130;
  Engine engine(1);
  FullMatrix a(n, n);
  fillConditioned(engine, a, 100.0);
  const FullMatrix original(a);
  Vectors vectors(n);
  vectors.data[0].grow(3);
  gaussj(a, nullptr, vectors.data.get());
  EXPECT_TRUE(small(distance(product(a, original), identity(n)), 100.0 * residualBound(n) * norm(a)));
  FullMatrix none(0, 0);
  gaussj(none, nullptr, vectors.data.get());
  FullMatrix again(original);
  gaussj(again, nullptr, nullptr);
  EXPECT_TRUE(sameBits(again.data, a.data, n * n));
}

TEST(Invert, HasTheBitsOfThePlainElimination) {
  for (int n : {1, 2, 5, 8, 33}) {
    for (int seed = 0; seed < 12; ++seed) {
      FullMatrix a = trial(n, seed);
      Reference expected(a);
      expected.run();
      CapturedOutput output;
      EXPECT_EQ(a.invert(), 1);
      EXPECT_EQ(output.err(), "") << "singular matrices are marked, not reported";
      EXPECT_TRUE(sameOrNaN(a, expected.a)) << n << " " << seed;
      EXPECT_EQ(a.kind, expected.first + expected.second > 0 ? 3 : 0) << n << " " << seed;
    }
  }
}

TEST(Invert, MultipliesBackToTheIdentityBelowAndAboveTwoHundred) {
  for (int n : {1, 60, 200, 201, 260}) {
    Engine engine(static_cast<unsigned>(n));
    FullMatrix a(n, n);
    fillConditioned(engine, a, 1e3);
    const FullMatrix inverse = a.inverse();
    EXPECT_EQ(inverse.kind, 0);
    EXPECT_TRUE(
        small(distance(product(a, inverse), identity(n)), 20 * residualBound(n) * norm(a) * norm(inverse)));
  }
}

TEST(Invert, ARectangleGetsKindOneAndKeepsItsValues) {
  Engine engine(1);
  FullMatrix a(2, 3);
  fill(engine, a);
  const FullMatrix original(a);
  EXPECT_EQ(a.invert(), 0);
  EXPECT_EQ(a.kind, 1);
  EXPECT_TRUE(sameBits(a.data, original.data, 6));
}

TEST(Invert, OfNoRowsReturnsOne) {
  FullMatrix a(0, 0);
  EXPECT_EQ(a.invert(), 1);
  EXPECT_EQ(a.kind, 1);
}

TEST(Invert, ReachesElementsThroughTheVirtualAccess) {
  class Halved : public FullMatrix {
   public:
    explicit Halved(int n) : FullMatrix(n, n) {}
    double& operator()(int i, int j) const override { return FullMatrix::operator()(i, rows() - 1 - j); }
  } a(2);
  a.e(0, 0) = 1.0, a.e(0, 1) = 2.0, a.e(1, 0) = 4.0;  // its operator() returns [2 1; 0 4]
  EXPECT_EQ(a.invert(), 1);
  EXPECT_EQ(a(0, 0), 0.5);
  EXPECT_EQ(a(0, 1), -0.125);
  EXPECT_EQ(a(1, 0), 0.0);
  EXPECT_EQ(a(1, 1), 0.25);
}
