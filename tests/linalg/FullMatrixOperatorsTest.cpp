#include <gtest/gtest.h>

#include <limits>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/ResizeMatrix.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

using Rows = std::vector<std::vector<double>>;

// A matrix whose operator() returns the stored value plus 100, to show which functions call it.
class Shifted : public FullMatrix {
 public:
  using FullMatrix::FullMatrix;
  double& operator()(int i, int j) const override {
    ++calls;
    shown = e(i, j) + 100.0;
    return shown;
  }
  mutable int calls = 0;
  mutable double shown = 0.0;
};

TEST(FullMatrixOperators, SumDifferenceAndProduct) {
  const FullMatrix a = matrixOf({{1, 2}, {3, 4}}), b = matrixOf({{5, 6}, {7, 8}});
  EXPECT_EQ(elementsOf(a + b), (Rows{{6, 8}, {10, 12}}));
  EXPECT_EQ(elementsOf(a - b), (Rows{{-4, -4}, {-4, -4}}));
  EXPECT_EQ(elementsOf(a * b), (Rows{{19, 22}, {43, 50}}));
}

TEST(FullMatrixOperators, ResultsAreMatricesOfTheirOwn) {
  const FullMatrix a = matrixOf({{1, 2}, {3, 4}});
  FullMatrix c = a + a;
  EXPECT_EQ(c.kind, 0);
  const FullMatrix d = c;
  EXPECT_NE(d.data, c.data);
  EXPECT_NE(c.data, nullptr);
  EXPECT_EQ((a - a).kind, 0);
  EXPECT_EQ((a * a).kind, 0);
  EXPECT_EQ(a.transpose().kind, 0);
}

TEST(FullMatrixOperators, SizesThatDoNotFitGiveZerosOfKind1) {
  const FullMatrix a = matrixOf({{1, 1, 1}, {1, 1, 1}}), b = matrixOf({{1, 1}, {1, 1}, {1, 1}});
  for (const FullMatrix& c : {a + b, a - b}) {
    EXPECT_EQ(c.kind, 1);
    EXPECT_EQ(elementsOf(c), (Rows{{0, 0}, {0, 0}}));
  }
  const FullMatrix product = a * a;
  EXPECT_EQ(product.kind, 1);
  EXPECT_EQ(elementsOf(product), (Rows{{0, 0, 0}, {0, 0, 0}}));
}

TEST(FullMatrixOperators, InPlaceSumAndDifference) {
  FullMatrix a = matrixOf({{1, 2}});
  a += matrixOf({{10, 20}});
  EXPECT_EQ(elementsOf(a), (Rows{{11, 22}}));
  a -= matrixOf({{1, 1}});
  EXPECT_EQ(elementsOf(a), (Rows{{10, 21}}));
  a += a;
  EXPECT_EQ(elementsOf(a), (Rows{{20, 42}}));
}

TEST(FullMatrixOperators, InPlaceProductMayChangeTheShape) {
  FullMatrix a = matrixOf({{1, 2}});
  a *= matrixOf({{1, 0, 2}, {0, 1, 3}});
  EXPECT_EQ(elementsOf(a), (Rows{{1, 2, 8}}));
  a *= FullMatrix(3, 0);
  EXPECT_EQ(a.kind, 1);
  EXPECT_EQ(a.rows(), 1);
  EXPECT_EQ(a.columns(), 0);
  FullMatrix square = matrixOf({{1, 1}, {0, 1}});
  square *= square;
  EXPECT_EQ(elementsOf(square), (Rows{{1, 2}, {0, 1}}));
}

TEST(FullMatrixOperators, InPlaceWithSizesThatDoNotFitOnlySetsKind1) {
  const FullMatrix wrong = matrixOf({{1}, {1}, {1}});
  FullMatrix a = matrixOf({{1, 2}}), b = a, c = a;
  a += wrong;
  b -= wrong;
  c *= wrong;
  for (const FullMatrix* m : {&a, &b, &c}) {
    EXPECT_EQ(m->kind, 1);
    EXPECT_EQ(elementsOf(*m), (Rows{{1, 2}}));
  }
}

TEST(FullMatrixOperators, EqualityComparesSizesAndElements) {
  const FullMatrix a = matrixOf({{1, 2}});
  EXPECT_EQ(a == matrixOf({{1, 2}}), 1);
  EXPECT_EQ(a == matrixOf({{1, 3}}), 0);
  EXPECT_EQ(a == matrixOf({{0, 2}}), 0);
  EXPECT_EQ(a == matrixOf({{1}, {2}}), 0);
  EXPECT_EQ(FullMatrix(0, 2) == FullMatrix(0, 2), 1);
  EXPECT_EQ(FullMatrix(0, 2) == FullMatrix(0, 3), 0);
}

TEST(FullMatrixOperators, NaNEqualsAnything) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(matrixOf({{nan, 2}}) == matrixOf({{1, 2}}), 1);
  EXPECT_EQ(matrixOf({{1, 2}}) == matrixOf({{nan, nan}}), 1);
  EXPECT_EQ(matrixOf({{nan, 2}}) == matrixOf({{1, 3}}), 0);
}

TEST(FullMatrixOperators, WorkThroughAnOverriddenAccess) {
  Shifted a(1, 2);
  const FullMatrix b = matrixOf({{1, 2}});
  EXPECT_EQ(elementsOf(a + b), (Rows{{101, 102}}));
  EXPECT_EQ(elementsOf(b - a), (Rows{{-99, -98}}));
  EXPECT_EQ(b == a, 0);
  EXPECT_EQ(matrixOf({{100, 100}}) == a, 1);
  Vector x = vectorOf({1, 10}), y(1), yT(2), xT = vectorOf({2});
  a.mult(&x, &y);
  expectElements(y, {1100});
  a.multT(&xT, &yT);
  expectElements(yT, {200, 200});
  EXPECT_EQ(a.calls, 2 + 2 + 2 + 2 + 2 + 2);
}

TEST(FullMatrixOperators, Kind1OperandsGiveTheMessagesOfTheirAccess) {
  FullMatrix a = matrixOf({{1}}), bad = matrixOf({{5}});
  bad.kind = 1;
  EXPECT_EQ(capturedStderr([&] { EXPECT_EQ(elementsOf(a + bad), (Rows{{1}})); }),
            " FullMatrix::operator() : out of bounds access (0 0) (1 1)\n");
}

TEST(FullMatrixOperators, TransposeSwapsTheIndices) {
  const FullMatrix a = matrixOf({{1, 2, 3}, {4, 5, 6}});
  EXPECT_EQ(elementsOf(a.transpose()), (Rows{{1, 4}, {2, 5}, {3, 6}}));
}

TEST(FullMatrixOperators, InverseTimesTheMatrixIsTheIdentity) {
  const FullMatrix a = matrixOf({{2, 1}, {1, 1}});
  const FullMatrix inverse = a.inverse();
  EXPECT_EQ(inverse.kind, 0);
  EXPECT_EQ(elementsOf(inverse), (Rows{{1, -1}, {-1, 2}}));
  EXPECT_EQ(elementsOf(a), (Rows{{2, 1}, {1, 1}}));
  EXPECT_EQ(matrixOf({{1, 2}}).inverse().kind, 1);
}

TEST(FullMatrixOperators, InverseOfATemporaryLeavesItsStorage) {
  FullMatrix a = matrixOf({{2, 0}, {0, 4}});
  a.kind = 2;
  const FullMatrix inverse = a.inverse();
  EXPECT_EQ(inverse.kind, 0);
  EXPECT_EQ(elementsOf(inverse), (Rows{{0.5, 0}, {0, 0.25}}));
  EXPECT_EQ(elementsOf(a), (Rows{{2, 0}, {0, 4}}));
}

TEST(FullMatrixOperators, InverseOfASingularMatrixHasKind3) {
  EXPECT_EQ(matrixOf({{1, 2}, {2, 4}}).inverse().kind, 3);
}

TEST(FullMatrixOperators, ProductsWithVectorsKeepEachSumsOrder) {
  std::mt19937_64 random(3);
  for (int h = 0; h <= 19; ++h) {
    const int w = 1 + h % 7;
    const FullMatrix a = randomMatrix(random, h, w);
    const Vector x = randomVector(random, w), xT = randomVector(random, h);
    Vector y(h), yT(w);
    a.mult(&x, &y);
    a.multT(&xT, &yT);
    for (int i = 0; i < h; ++i) {
      double sum = 0.0;
      for (int j = 0; j < w; ++j) sum += a.e(i, j) * x[j];
      EXPECT_TRUE(tolerance::sameBits(y[i], sum));
    }
    for (int j = 0; j < w; ++j) {
      double sum = 0.0;
      for (int i = 0; i < h; ++i) sum += a.e(i, j) * xT[i];
      EXPECT_TRUE(tolerance::sameBits(yT[j], h > 0 ? sum : yT[j]));
    }
  }
}

TEST(FullMatrixOperators, ProductsDoNotSetTheSizeOfTheResult) {
  const FullMatrix a = matrixOf({{1, 1}});
  Vector x = vectorOf({1, 2}), y = vectorOf({7, 8, 9});
  a.mult(&x, &y);
  expectElements(y, {3, 8, 9});
}

TEST(FullMatrixOperators, ProductsStayInTheVectorsStorage) {
  std::mt19937_64 random(4);
  const FullMatrix a = randomMatrix(random, 30, 40);
  const Vector shortX(5), shortXT(6);
  Vector shortY(7), shortYT(8);
  a.mult(&shortX, &shortY);
  a.multT(&shortXT, &shortYT);
  EXPECT_EQ(shortY.size(), 7);
  EXPECT_EQ(shortYT.size(), 8);
}

}  // namespace
