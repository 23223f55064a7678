#include <gtest/gtest.h>

#include "limber/linalg/DenseProducts.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SparseDot.h"
#include "limber/linalg/SparseProducts.h"
#include "tests/linalg/Matrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

using Rows = std::vector<std::vector<double>>;

TEST(DenseProducts, MultFillsTheWholeResultInOrder) {
  std::mt19937_64 random(21);
  for (int n = 1; n <= 12; ++n) {
    FullMatrix a = randomMatrix(random, n, n + 1), b = randomMatrix(random, n + 1, 3), c(n, 3);
    mult(a, b, c);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < 3; ++j) {
        double sum = 0.0;
        for (int k = 0; k < n + 1; ++k) sum += a.e(i, k) * b.e(k, j);
        EXPECT_TRUE(tolerance::sameBits(c.e(i, j), sum));
      }
    }
  }
}

TEST(DenseProducts, MultOfWrongSizesTakesWhatAccessSays) {
  FullMatrix a = matrixOf({{2}}), b = matrixOf({{3}}), c(2, 1);
  EXPECT_EQ(capturedStderr([&] { mult(a, b, c); }),
            " FullMatrix::operator() : out of bounds access (1 0) (1 1)\n");
  EXPECT_EQ(elementsOf(c), (Rows{{6}, {0}}));
}

TEST(DenseProducts, MultIntoAnOperandGoesPlaceByPlace) {
  FullMatrix a = matrixOf({{1, 2}, {3, 4}}), b = matrixOf({{5, 6}, {7, 8}});
  mult(a, b, a);
  EXPECT_EQ(elementsOf(a), (Rows{{19, 19 * 6 + 2 * 8}, {43, 43 * 6 + 4 * 8}}));
}

TEST(DenseProducts, NmultIsTheProductOfSquareMatrices) {
  FullMatrix a = matrixOf({{1, 2}, {3, 4}}), b = matrixOf({{5, 6}, {7, 8}}), c(2, 2);
  nmult(a, b, c);
  EXPECT_EQ(elementsOf(c), (Rows{{19, 22}, {43, 50}}));
}

// r runs to the width and s to the height: the result is not the plain product.
TEST(DenseProducts, NmultKeepsItsBoundsForRectangles) {
  FullMatrix a = matrixOf({{1, 2}, {3, 4}, {5, 6}}), b = matrixOf({{1, 10}, {2, 20}, {3, 30}}), c(2, 3);
  c.e(1, 2) = -1.0;
  nmult(a, b, c);
  Rows expected{{0, 0, 0}, {0, 0, -1}};
  for (int r = 0; r < 3; ++r) {
    for (int s = 0; s < 2; ++s) {
      double sum = 0.0;
      for (int k = 0; k < 3; ++k) sum += a.acc(r, k) * b.acc(k, s);
      const int place = 3 * r + s;
      if (place < 6) expected[static_cast<std::size_t>(place / 3)][static_cast<std::size_t>(place % 3)] = sum;
    }
  }
  EXPECT_EQ(elementsOf(c), expected);
}

TEST(SparseProducts, ConvertMatGivesTheDenseCopy) {
  OwnRows m({{{1, 2.0}}, {}, {{0, 3.0}, {3, 4.0}}});
  ResizeMatrix dense(1, 1);
  convertMat(m.matrix, dense);
  EXPECT_EQ(elementsOf(dense), (Rows{{0, 2, 0, 0}, {0, 0, 0, 0}, {3, 0, 0, 4}}));
}

TEST(SparseProducts, ConvertMatStaysInItsRowsAfterCompact) {
  OwnRows m({{{0, 1.0}, {2, 5.0}}, {{0, 7.0}, {1, 1.0}}});
  m.rows[0]->compact(0.5);
  ASSERT_EQ(m.matrix.width(), 2);
  ResizeMatrix dense(1, 1);
  convertMat(m.matrix, dense);
  EXPECT_EQ(elementsOf(dense), (Rows{{1, 0}, {7, 1}}));
}

TEST(SparseProducts, MultTIsTheProductWithTheTranspose) {
  std::mt19937_64 random(22);
  for (int trial = 0; trial < 20; ++trial) {
    OwnRows a = OwnRows::random(random, 5, 9, 0.5), b = OwnRows::random(random, 4, 9, 0.5);
    FullMatrix out(5, 4), fromDense(5, 4);
    multT(a.matrix, b.matrix, out);
    ResizeMatrix dense(1, 1);
    convertMat(a.matrix, dense);
    multT(dense, b.matrix, fromDense);
    for (int i = 0; i < 5; ++i) {
      for (int j = 0; j < 4; ++j) {
        EXPECT_EQ(out.e(i, j), dot(*a.matrix.row(i), *b.matrix.row(j)));
        EXPECT_TRUE(tolerance::close(fromDense.e(i, j), out.e(i, j), 20 * tolerance::epsilon));
      }
    }
  }
}

TEST(SparseProducts, MultTFillsAnyShapeWithoutLeavingTheOperands) {
  OwnRows a({{{0, 2.0}}}), b({{{0, 3.0}, {50, 1.0}}});
  FullMatrix out = matrixOf({{9, 9}, {9, 9}}), dense = matrixOf({{4}});
  multT(a.matrix, b.matrix, out);
  EXPECT_EQ(elementsOf(out), (Rows{{6, 0}, {0, 0}}));
  multT(dense, b.matrix, out);
  EXPECT_EQ(elementsOf(out), (Rows{{12, 0}, {0, 0}}));
}

// A matrix that returns smaller sizes than its storage has, and its elements in the opposite order.
class Corner : public FullMatrix {
 public:
  Corner() : FullMatrix(2, 2) {}
  int height() const override { return 1; }
  int width() const override { return 1; }
  double& operator()(int i, int j) const override { return e(1 - i, 1 - j); }
};

TEST(SparseProducts, MultTAsksTheResultForItsSizesAndPlaces) {
  OwnRows a({{{0, 2.0}}, {{0, 7.0}}}), b({{{0, 3.0}}, {{0, 5.0}}});
  Corner fromSparse, fromDense;
  multT(a.matrix, b.matrix, fromSparse);
  EXPECT_EQ(elementsOf(fromSparse), (Rows{{0, 0}, {0, 6}}));
  FullMatrix dense = matrixOf({{4}, {8}});
  multT(dense, b.matrix, fromDense);
  EXPECT_EQ(elementsOf(fromDense), (Rows{{0, 0}, {0, 12}}));
}

TEST(DenseProducts, NmultAsksTheResultForItsSizesAndWritesItsStorage) {
  FullMatrix a = matrixOf({{2}}), b = matrixOf({{3}});
  Corner c;
  nmult(a, b, c);
  EXPECT_EQ(elementsOf(c), (Rows{{6, 0}, {0, 0}}));
}

}  // namespace
