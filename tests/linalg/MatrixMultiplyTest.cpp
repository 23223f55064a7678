#include "limber/linalg/MatrixMultiply.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "limber/linalg/ResizeMatrix.h"
#include "tests/linalg/RandomMatrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using namespace random_matrices;
using tolerance::small;

namespace {

std::string report(const char* text) { return std::string("ERR: ") + text + " @ (STMLapack:"; }

}  // namespace

TEST(MatrixMultiply, AgreesWithThePlainProductInEveryShape) {
  Engine engine(1);
  for (int m : {1, 2, 7, 60}) {
    for (int k : {1, 3, 60}) {
      for (int n : {1, 5, 33}) {
        FullMatrix a(m, k), b(k, n), c(m, n);
        fill(engine, a);
        fill(engine, b);
        fill(engine, c);
        c.e(0, 0) = std::nan("");
        CapturedOutput output;
        matrixMultiply(&a, &b, &c);
        EXPECT_EQ(output.err(), "");
        EXPECT_TRUE(small(distance(c, product(a, b)), residualBound(k) * norm(a) * norm(b)))
            << m << " " << k << " " << n;
      }
    }
  }
}

TEST(MatrixMultiply, ResultMayBeEitherOperandOrBoth) {
  Engine engine(2);
  for (int n : {1, 4, 50}) {
    FullMatrix a(n, n), b(n, n);
    fill(engine, a);
    fill(engine, b);
    const FullMatrix ab = product(a, b), aa = product(a, a);
    const double bound = residualBound(n) * norm(a) * std::max(norm(a), norm(b));
    FullMatrix left(a), right(b), both(a);
    matrixMultiply(&left, &b, &left);
    matrixMultiply(&a, &right, &right);
    matrixMultiply(&both, &both, &both);
    EXPECT_TRUE(small(distance(left, ab), bound));
    EXPECT_TRUE(small(distance(right, ab), bound));
    EXPECT_TRUE(small(distance(both, aa), bound));
  }
}

TEST(MatrixMultiply, ResultMayShareStorageInAnotherShape) {
  Engine engine(2);
  FullMatrix a(3, 3), b(3, 2), view(3, 2);
  fill(engine, a);
  fill(engine, b);
  const FullMatrix expected = product(a, b);
  double* const own = view.data;
  view.data = a.data;
  matrixMultiply(&a, &b, &view);
  EXPECT_TRUE(small(distance(view, expected), 1e-14));
  view.data = own;
}

TEST(MatrixMultiply, ResultMayBePartOfAnOperandsStorage) {
  Engine engine(2);
  FullMatrix a(3, 3), b(3, 2), view(3, 2);
  fill(engine, b);
  double* const own = view.data;
  for (int from = 1; from <= 3; ++from) {
    fill(engine, a);
    const FullMatrix expected = product(a, b);
    view.data = a.data + from;
    matrixMultiply(&a, &b, &view);
    EXPECT_TRUE(small(distance(view, expected), 1e-14)) << from;
  }
  view.data = own;
}

TEST(MatrixMultiply, ALargeResultOverItsOperandGrowsTheWorkspace) {
  const int rows = 8, columns = 51200;  // 409600 elements
  Engine engine(3);
  FullMatrix a(rows, columns), id = identity(rows);
  fill(engine, a);
  FullMatrix c(a);
  matrixMultiply(&id, &c, &c);
  EXPECT_TRUE(tolerance::sameBits(c.data, a.data, rows * columns));
}

TEST(MatrixMultiply, ReportsTheThreeSizesInOrderAndMultipliesTheCommonParts) {
  Engine engine(4);
  FullMatrix a(3, 4), b(2, 5), c(2, 6);
  fill(engine, a);
  fill(engine, b);
  for (int k = 0; k < 12; ++k) c.data[k] = 9.0;
  CapturedOutput output;
  matrixMultiply(&a, &b, &c);
  ASSERT_EQ(output.errCalls().size(), 3u);
  EXPECT_EQ(output.errCalls()[0].find(report("ACols != BRows for lapack mult")), 0u);
  EXPECT_EQ(output.errCalls()[1].find(report("ARows != CRows for lapack mult")), 0u);
  EXPECT_EQ(output.errCalls()[2].find(report("BCols != CCols for lapack mult")), 0u);
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 5; ++j) {
      EXPECT_TRUE(tolerance::close(c.e(i, j), a.e(i, 0) * b.e(0, j) + a.e(i, 1) * b.e(1, j), 1e-14));
    }
    EXPECT_EQ(c.e(i, 5), 9.0) << "beyond the common part";
  }
}

TEST(MatrixMultiply, ReportsOnlyWhatDiffers) {
  FullMatrix a(2, 2), b(2, 2), c(2, 3);
  CapturedOutput output;
  matrixMultiply(&a, &b, &c);
  ASSERT_EQ(output.errCalls().size(), 1u);
  EXPECT_EQ(output.errCalls()[0].find(report("BCols != CCols for lapack mult")), 0u);
}

TEST(MatrixMultiply, EmptySumsAreZeroAndEmptyShapesNothing) {
  FullMatrix a(2, 0), b(0, 3), c(2, 3), none(0, 0);
  for (int k = 0; k < 6; ++k) c.data[k] = std::nan("");
  matrixMultiply(&a, &b, &c);
  for (int k = 0; k < 6; ++k) EXPECT_EQ(c.data[k], 0.0);
  matrixMultiply(&none, &none, &none);
  CapturedOutput output;
  matrixMultiply(&none, &b, &none);
  EXPECT_EQ(output.errCalls().size(), 1u);
}

TEST(MatrixMultiply, OperatorsGoThroughIt) {
  Engine engine(5);
  FullMatrix a(4, 3), b(3, 6);
  fill(engine, a);
  fill(engine, b);
  FullMatrix direct(4, 6);
  matrixMultiply(&a, &b, &direct);
  EXPECT_TRUE(tolerance::sameBits((a * b).data, direct.data, 24));
  FullMatrix c(a);
  c *= b;
  ASSERT_EQ(c.columns(), 6);
  EXPECT_TRUE(tolerance::sameBits(c.data, direct.data, 24));
  FullMatrix square(3, 3);
  fill(engine, square);
  const FullMatrix squared = product(square, square);
  square *= square;
  EXPECT_TRUE(small(distance(square, squared), 1e-13));
}
