#include "limber/linalg/Qr.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "tests/linalg/RandomMatrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using namespace random_matrices;
using tolerance::sameBits;
using tolerance::small;

namespace {

FullMatrix upperTriangle(const FullMatrix& a) {
  FullMatrix r(std::min(a.rows(), a.columns()), a.columns());
  for (int i = 0; i < r.rows(); ++i) {
    for (int j = i; j < r.columns(); ++j) r.e(i, j) = a.e(i, j);
  }
  return r;
}

FullMatrix leadingColumns(const FullMatrix& a, int count) {
  FullMatrix m(a.rows(), count);
  for (int i = 0; i < a.rows(); ++i) {
    for (int j = 0; j < count; ++j) m.e(i, j) = a.e(i, j);
  }
  return m;
}

// x = the solution of a x = b, or of the least-squares problem, by the three functions in turn.
void solveByQr(const FullMatrix& a, const Vector& b, Vector* x) {
  *x = b;
  FullMatrix qr(a);
  Vector tau;
  ASSERT_EQ(qrFactor(&qr, &tau), 0);
  ASSERT_EQ(qtransTimes(&qr, &tau, x), 0);
  solveUTri(&qr, x);
}

struct Shape {
  int rows, columns;
};

const Shape shapes[] = {{1, 1},  {2, 2},   {5, 5}, {60, 60}, {7, 3},
                        {60, 1}, {45, 31}, {3, 7}, {1, 60},  {31, 45}};

}  // namespace

TEST(QObtain, OfNoMatrixSaysSo) {
  CapturedOutput output;
  EXPECT_EQ(0, qObtain(nullptr, nullptr));
  EXPECT_EQ("Enter qObtain 0 0\n", output.out());
}

TEST(Qr, FactorsMultiplyBackAndQIsOrthogonal) {
  CapturedOutput output;
  for (const Shape& shape : shapes) {
    for (int trial = 0; trial < 6; ++trial) {
      Engine engine(static_cast<unsigned>(100 * shape.rows + trial));
      FullMatrix a(shape.rows, shape.columns);
      fillConditioned(engine, a, conditionOf(trial));
      FullMatrix qr(a);
      Vector tau;
      const int count = std::min(shape.rows, shape.columns);
      ASSERT_EQ(qrFactor(&qr, &tau), 0);
      ASSERT_EQ(tau.size(), count);
      ASSERT_EQ(qr.rows(), shape.rows);
      const FullMatrix r = upperTriangle(qr);
      ASSERT_EQ(qObtain(&qr, &tau), 0);
      const FullMatrix q = leadingColumns(qr, count);
      const double bound = residualBound(std::max(shape.rows, shape.columns));
      EXPECT_TRUE(small(distance(product(q, r), a), bound * norm(a)));
      EXPECT_TRUE(small(distance(product(transposed(q), q), identity(count)), bound * count));
    }
  }
}

TEST(Qr, AppliesTheTransposedFactorToVectorsAndColumns) {
  CapturedOutput output;
  for (const Shape& shape : shapes) {
    Engine engine(static_cast<unsigned>(shape.rows));
    FullMatrix a(shape.rows, shape.columns), b(shape.rows, 4);
    fill(engine, a);
    fill(engine, b);
    FullMatrix qr(a), qtb(b);
    Vector tau, column(shape.rows);
    for (int i = 0; i < shape.rows; ++i) column[i] = b.e(i, 2);
    ASSERT_EQ(qrFactor(&qr, &tau), 0);
    const FullMatrix factored(qr);
    ASSERT_EQ(qtransTimes(&qr, &tau, &qtb), 0);
    ASSERT_EQ(qtransTimes(&qr, &tau, &column), 0);
    EXPECT_TRUE(sameBits(qr.data, factored.data, shape.rows * shape.columns)) << "QR stays as it is";
    const double bound = residualBound(shape.rows) * norm(b);
    EXPECT_TRUE(small(std::fabs(norm(qtb) - norm(b)), bound));
    for (int i = 0; i < shape.rows; ++i) EXPECT_TRUE(tolerance::close(column[i], qtb.e(i, 2), bound));
    // Q^T A = R: the transposed factor, not the factor.
    FullMatrix qta(a);
    ASSERT_EQ(qtransTimes(&qr, &tau, &qta), 0);
    for (int i = 0; i < shape.rows; ++i) {
      for (int j = 0; j < shape.columns; ++j) {
        const double r = i <= j && i < std::min(shape.rows, shape.columns) ? qr.e(i, j) : 0.0;
        EXPECT_TRUE(tolerance::close(qta.e(i, j), r, residualBound(shape.rows) * norm(a)));
      }
    }
  }
}

TEST(Qr, PipelineSolvesSquareSystemsToTheirScaledResidual) {
  CapturedOutput output;
  for (int n = 1; n <= 60; ++n) {
    for (int trial = 0; trial < 6; ++trial) {
      Engine engine(static_cast<unsigned>(1000 * n + trial));
      FullMatrix a(n, n);
      fillConditioned(engine, a, conditionOf(trial));
      Vector b(n), x;
      fill(engine, b);
      ASSERT_NO_FATAL_FAILURE(solveByQr(a, b, &x));
      EXPECT_TRUE(small(scaledResidual(a, x, b), residualBound(n))) << n << " " << trial;
    }
  }
}

TEST(Qr, PipelineGivesTheLeastSquaresSolution) {
  CapturedOutput output;
  for (const Shape& shape : {Shape{7, 3}, Shape{60, 1}, Shape{45, 31}, Shape{60, 59}}) {
    Engine engine(9);
    FullMatrix a(shape.rows, shape.columns);
    fillConditioned(engine, a, 100.0);
    Vector b(shape.rows), x;
    fill(engine, b);
    ASSERT_NO_FATAL_FAILURE(solveByQr(a, b, &x));
    // The residual is orthogonal to every column.
    Vector residual(b), normal(shape.columns);
    for (int i = 0; i < shape.rows; ++i) {
      for (int j = 0; j < shape.columns; ++j) residual[i] -= a.e(i, j) * x[j];
    }
    for (int j = 0; j < shape.columns; ++j) {
      normal[j] = 0.0;
      for (int i = 0; i < shape.rows; ++i) normal[j] += a.e(i, j) * residual[i];
    }
    EXPECT_TRUE(small(normal.mag(), residualBound(shape.rows) * norm(a) * (norm(a) * x.mag() + b.mag())));
  }
}

TEST(Qr, AnnouncesTheTwoDimensions) {
  CapturedOutput output;
  FullMatrix a(3, 2);
  a.identity();
  Vector tau;
  qrFactor(&a, &tau);
  EXPECT_EQ(output.out(), "Enter factor 3 2\n");
  output.clear();
  qObtain(&a, &tau);
  EXPECT_EQ(output.out(), "Enter qObtain 3 2\n");
  EXPECT_EQ(output.err(), "");
}

TEST(Qr, WideMatricesKeepTheColumnsBehindQ) {
  CapturedOutput output;
  Engine engine(4);
  FullMatrix a(2, 4);
  fill(engine, a);
  Vector tau;
  qrFactor(&a, &tau);
  const FullMatrix factored(a);
  qObtain(&a, &tau);
  for (int i = 0; i < 2; ++i) {
    for (int j = 2; j < 4; ++j) EXPECT_EQ(a.e(i, j), factored.e(i, j));
  }
}

TEST(Qr, NothingToDoIsNoError) {
  CapturedOutput output;
  FullMatrix none(0, 0), noRows(0, 3), noColumns(3, 0), noB(3, 0), three(3, 3);
  three.identity();
  Vector tau(5), b(3);
  for (FullMatrix* m : {&none, &noRows, &noColumns}) {
    EXPECT_EQ(qrFactor(m, &tau), 0);
    EXPECT_EQ(tau.size(), 0);
    EXPECT_EQ(qtransTimes(m, &tau, &b), 0);
    EXPECT_EQ(qObtain(m, &tau), 0);
    solveUTri(m, &b);
    solveUTri(m, m, 0);
  }
  EXPECT_EQ(qrFactor(&three, &tau), 0);
  EXPECT_EQ(qtransTimes(&three, &tau, &noB), 0);
}

TEST(Qr, ShortOperandsReturnTheirArgumentAndWriteNothing) {
  CapturedOutput output;
  Engine engine(2);
  FullMatrix a(4, 3);
  fill(engine, a);
  Vector tau, shortTau(2), shortB(3), b(4);
  fill(engine, shortB);
  const Vector keptB(shortB);
  ASSERT_EQ(qrFactor(&a, &tau), 0);
  const FullMatrix factored(a);
  FullMatrix shortM(3, 4);
  EXPECT_EQ(qrFactor(&a, nullptr), -5);
  EXPECT_EQ(qtransTimes(&a, &shortTau, &b), -8);
  EXPECT_EQ(qtransTimes(&a, nullptr, &b), -8);
  EXPECT_EQ(qtransTimes(&a, &tau, &shortB), -9);
  EXPECT_EQ(qtransTimes(&a, &tau, static_cast<Vector*>(nullptr)), -9);
  EXPECT_EQ(qtransTimes(&a, &tau, &shortM), -9);
  EXPECT_EQ(qObtain(&a, &shortTau), -6);
  EXPECT_EQ(qObtain(&a, nullptr), -6);
  EXPECT_TRUE(sameBits(a.data, factored.data, 12));
  EXPECT_TRUE(sameBits(shortB.data, keptB.data, 3));
}

TEST(SolveUTri, ReadsOnlyTheUpperTriangle) {
  FullMatrix r(2, 2);
  r.e(0, 0) = 2, r.e(0, 1) = 3, r.e(1, 0) = 777, r.e(1, 1) = 4;
  Vector b(2);
  b[0] = 13, b[1] = 12;
  solveUTri(&r, &b);
  EXPECT_DOUBLE_EQ(b[0], 2.0);
  EXPECT_DOUBLE_EQ(b[1], 3.0);
}

TEST(SolveUTri, SolvesEveryColumnForTheLeadingTriangleOfTheOrder) {
  Engine engine(6);
  for (int n : {1, 2, 9, 40}) {
    FullMatrix r(n, n), b(n, 5);
    fill(engine, r);
    fill(engine, b);
    for (int i = 0; i < n; ++i) r.e(i, i) = 5.0 + i;
    for (int order : {-1, 0, 1, n, n + 3}) {
      const int used = order <= 0 || order > n ? n : order;
      FullMatrix x(b);
      solveUTri(&r, &x, order);
      for (int i = 0; i < n; ++i) {
        for (int j = 0; j < 5; ++j) {
          double sum = 0.0;
          for (int k = i; k < used; ++k) sum += r.e(i, k) * x.e(k, j);
          if (i >= used) {
            EXPECT_EQ(x.e(i, j), b.e(i, j)) << "rows beyond the order stay";
          } else {
            EXPECT_TRUE(tolerance::close(sum, b.e(i, j), residualBound(n) * (norm(r) * norm(x) + norm(b))));
          }
        }
      }
    }
  }
}

TEST(SolveUTri, TakesTheCommonPart) {
  FullMatrix r(3, 3), tall(5, 2), wide(2, 5), b(2, 2);
  r.identity();
  r.scale(2.0);
  tall.identity();
  tall.scale(2.0);
  wide.identity();
  wide.scale(2.0);
  for (FullMatrix* m : {&r, &tall, &wide}) {
    Vector v(2), longer(4);
    v = 8.0;
    longer = 8.0;
    solveUTri(m, &v);
    EXPECT_EQ(v[1], 4.0);
    solveUTri(m, &longer);
    EXPECT_EQ(longer[1], 4.0);
    EXPECT_EQ(longer[3], 8.0);
    b.e(1, 1) = 8.0;
    solveUTri(m, &b, 0);
    EXPECT_EQ(b.e(1, 1), 4.0);
  }
}

TEST(SolveUTri, ZeroOnTheDiagonalGivesInfinity) {
  FullMatrix r(1, 1);
  Vector b(1);
  b[0] = 1.0;
  solveUTri(&r, &b);
  EXPECT_TRUE(std::isinf(b[0]));
}

TEST(SolveUTri, OfOrderZeroTouchesNothing) {
  FullMatrix none(0, 0), wide(0, 3), r(2, 2);
  r.identity();
  Vector b(3), empty;
  b = 7.0;
  solveUTri(&none, &b);
  solveUTri(&wide, &b);
  solveUTri(&r, &empty);
  solveUTri(nullptr, &b);
  solveUTri(&r, static_cast<Vector*>(nullptr));
  for (int i = 0; i < 3; ++i) EXPECT_EQ(b[i], 7.0);
  FullMatrix right(3, 2), noRows(0, 2);
  right.e(0, 0) = 5.0;
  for (const int order : {-1, 0, 1, 2}) {
    solveUTri(&none, &right, order);
    solveUTri(&r, &noRows, order);
    solveUTri(nullptr, &right, order);
    solveUTri(&r, static_cast<FullMatrix*>(nullptr), order);
  }
  EXPECT_EQ(right.e(0, 0), 5.0);
}

// From about 632 x 632 on, the reflectors alone are longer than the fixed workspace. Q^T A = R up to the
// rounding of a sum of n terms, for one column and for many.
TEST(Qr, FactorsThatFillTheWorkspaceAreAppliedWhole) {
  for (const int n : {631, 640}) {
    std::mt19937_64 random(static_cast<unsigned>(n));
    std::uniform_real_distribution<double> uniform(-1.0, 1.0);
    FullMatrix original(n, n);
    for (int i = 0; i < n; ++i)
      for (int j = 0; j < n; ++j) original.e(i, j) = uniform(random);
    FullMatrix a(original);
    Vector tau;
    CapturedOutput output;
    ASSERT_EQ(qrFactor(&a, &tau), 0);
    for (const int columns : {1, 90}) {
      FullMatrix first(n, columns);
      for (int i = 0; i < n; ++i)
        for (int j = 0; j < columns; ++j) first.e(i, j) = original.e(i, j);
      ASSERT_EQ(qtransTimes(&a, &tau, &first), 0);
      double worst = 0.0;
      for (int i = 0; i < n; ++i) {
        for (int j = 0; j < columns; ++j) {
          worst = std::max(worst, std::fabs(first.e(i, j) - (i <= j ? a.e(i, j) : 0.0)));
        }
      }
      EXPECT_LE(worst, 20.0 * std::sqrt(n) * std::numeric_limits<double>::epsilon() * n);
      EXPECT_GT(std::fabs(first.e(0, 0)), 1.0);
    }
  }
}
