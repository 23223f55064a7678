#include "limber/solvers/detail/LinearMap.h"

#include <gtest/gtest.h>

#include <vector>

#include "limber/linalg/SpMat.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/detail/FixedSums.h"
#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

// A user-defined matrix that drops tiny numbers, as many do. It notes the largest magnitude that it gets.
class Foreign : public SpMat {
 public:
  explicit Foreign(const Dense& A) : A_(A) {}
  int height() const override { return A_.height(); }
  int width() const override { return A_.width(); }
  void mult(const Vector* x, Vector* y) const override { product(A_, x, y); }
  void multT(const Vector* x, Vector* y) const override { product(A_.transposed(), x, y); }
  mutable double largest = 0.0;

 private:
  void product(const Dense& A, const Vector* x, Vector* y) const {
    y->grow(A.height());
    largest = 0.0;
    for (const double value : *x) largest = std::fmax(largest, std::fabs(value));
    for (int i = 0; i < A.height(); ++i) {
      double sum = 0.0;
      for (int j = 0; j < A.width(); ++j) {
        if (std::fabs((*x)[j]) > 1e-12) sum += A(i, j) * (*x)[j];
      }
      (*y)[i] = sum;
    }
  }
  const Dense A_;
};

TEST(LinearMap, OfRowsHasTheSameBitsBeforeAndAfterItIsLaidOut) {
  Dice dice(1);
  const Dense A = randomDense(&dice, 40, 25);
  const SparseRows rows = A.rows();
  RowsMap map(rows);
  for (int turn = 1; turn <= 30; ++turn) {
    const std::vector<double> x = dice.vector(25);
    std::vector<double> y(40);
    map.multiply(x.data(), y.data());
    ASSERT_EQ(A.times(x), y);
    EXPECT_EQ(turn, map.products);
  }
  const std::vector<double> x = dice.vector(40);
  std::vector<double> y(25);
  map.multiplyTransposed(x.data(), y.data());
  EXPECT_EQ(A.transposed().times(x), y);
  EXPECT_EQ(31, map.products);
}

// The copy is made after so many products A x, also if products A^T x stand between them.
TEST(LinearMap, OfRowsIsLaidOutBetweenTransposedProducts) {
  Dice dice(9);
  const Dense A = randomDense(&dice, 40, 25);
  SparseRows changed = A.rows();
  RowsMap early(changed), late(changed);
  std::vector<double> x = dice.vector(25), y(40), g(25);
  for (int turn = 0; turn < 5; ++turn) {
    early.multiply(x.data(), y.data());
    early.multiplyTransposed(y.data(), g.data());
  }
  for (int turn = 0; turn < 3; ++turn) late.multiply(x.data(), y.data());
  for (int turn = 0; turn < 3; ++turn) late.multiplyTransposed(y.data(), g.data());
  // the copy does not follow the rows
  for (double& value : changed.value) value *= 2.0;
  const std::vector<double> once = A.times(x);
  early.multiply(x.data(), y.data());
  EXPECT_EQ(once, y);
  late.multiply(x.data(), y.data());
  for (std::size_t i = 0; i < once.size(); ++i) EXPECT_EQ(2.0 * once[i], y[i]) << i;
}

TEST(LinearMap, ScalesItsColumns) {
  Dice dice(2);
  const Dense A = randomDense(&dice, 9, 6);
  const SparseRows rows = A.rows();
  Doubles scale(6);
  for (double& s : scale) s = 1.0 + dice.below(4);
  Dense scaled(A);
  for (int i = 0; i < 9; ++i) {
    for (int j = 0; j < 6; ++j) scaled(i, j) *= scale[j];
  }
  ScaledColumnsMap map(rows, scale);
  EXPECT_EQ(9, map.height());
  EXPECT_EQ(6, map.width());
  const std::vector<double> x = dice.vector(6), v = dice.vector(9);
  std::vector<double> y(9), w(6), u(v), again(6);
  map.multiply(x.data(), y.data());
  EXPECT_LE(farthest(scaled.times(x), y), 1e-14);
  map.multiplyTransposed(v.data(), w.data());
  EXPECT_LE(farthest(scaled.transposed().times(v), w), 1e-14);
  EXPECT_EQ(2, map.products);
  const double square = map.multiplyBothWays(x.data(), 0.5, u.data(), again.data());
  for (std::size_t i = 0; i < y.size(); ++i) y[i] -= 0.5 * v[i];
  EXPECT_LE(farthest(y, u), 1e-14);
  EXPECT_NEAR(fixedDot(9, u.data(), u.data()), square, 1e-13);
  EXPECT_LE(farthest(scaled.transposed().times(u), again), 1e-13);
  EXPECT_EQ(4, map.products);
}

TEST(LinearMap, OfTheNormalMatrixMultipliesTwice) {
  Dice dice(3);
  const Dense A = randomDense(&dice, 7, 5);
  const SparseRows rows = A.rows();
  RowsMap inner(rows);
  NormalMap map(inner);
  const std::vector<double> x = dice.vector(5);
  std::vector<double> y(5);
  map.multiply(x.data(), y.data());
  EXPECT_EQ(A.transposed().times(A.times(x)), y);
  map.multiplyTransposed(x.data(), y.data());
  EXPECT_EQ(A.transposed().times(A.times(x)), y);
  EXPECT_EQ(4, inner.products);
}

TEST(LinearMap, OfAForeignClassLosesNothingThatIsSmall) {
  Dice dice(4);
  const Dense A = randomDense(&dice, 8, 6);
  const Foreign matrix(A);
  ForeignMap map(matrix, 8, 6);
  const std::vector<double> x = dice.vector(6), v = dice.vector(8);
  for (const int power : {0, 40, -300}) {
    std::vector<double> tinyX(x), y(8), tinyV(v), w(6);
    for (double& value : tinyX) value = std::ldexp(value, power);
    for (double& value : tinyV) value = std::ldexp(value, power);
    std::vector<double> product = A.times(x), transposed = A.transposed().times(v);
    for (double& value : product) value = std::ldexp(value, power);
    for (double& value : transposed) value = std::ldexp(value, power);
    map.multiply(tinyX.data(), y.data());
    EXPECT_EQ(product, y);
    EXPECT_TRUE(matrix.largest >= 0x1p99 && matrix.largest < 0x1p100);
    map.multiplyTransposed(tinyV.data(), w.data());
    EXPECT_EQ(transposed, w);
  }
  EXPECT_EQ(6, map.products);
  map.scaleBy(-7);
  std::vector<double> y(8), expected = A.times(x);
  for (double& value : expected) value *= 0x1p-7;
  map.multiply(x.data(), y.data());
  EXPECT_EQ(expected, y);
}

// A user-defined matrix that only writes the first element of a product.
class FirstElement : public SpMat {
 public:
  void mult(const Vector* x, Vector* y) const override { (*y)[0] = (*x)[0]; }
  void multT(const Vector* x, Vector* y) const override { (*y)[0] = (*x)[0]; }
};

TEST(ForeignMap, ElementsThatTheProductLeavesOutAreZeros) {
  const FirstElement matrix;
  ForeignMap map(matrix, 3, 2);
  const double x[] = {3.0, 1.0, 2.0};
  for (int repeat = 0; repeat < 2; ++repeat) {
    std::vector<double> y(3, 7.0), w(2, 7.0);
    map.multiply(x, y.data());
    EXPECT_EQ((std::vector<double>{3.0, 0.0, 0.0}), y);
    map.multiplyTransposed(x, w.data());
    EXPECT_EQ((std::vector<double>{3.0, 0.0}), w);
  }
}

// Maps without entries compute u = A v - s u by a function of their class.
TEST(LinearMap, MultipliesBothWaysByTwoProducts) {
  Dice dice(5);
  const Dense A = randomDense(&dice, 8, 6);
  const Foreign matrix(A);
  ForeignMap map(matrix, 8, 6);
  const std::vector<double> v = dice.vector(6), before = dice.vector(8), b = dice.vector(8);
  std::vector<double> u(before), w(6), expected = A.times(v), r(8), g(6);
  for (std::size_t i = 0; i < u.size(); ++i) expected[i] -= 1.5 * before[i];
  EXPECT_EQ(fixedDot(8, expected.data(), expected.data()),
            map.multiplyBothWays(v.data(), 1.5, u.data(), w.data()));
  EXPECT_EQ(expected, u);
  EXPECT_EQ(A.transposed().times(expected), w);
  map.preciseResidual(b.data(), v.data(), r.data(), nullptr);
  std::vector<double> residual(b), product = A.times(v);
  for (std::size_t i = 0; i < b.size(); ++i) residual[i] -= product[i];
  EXPECT_EQ(residual, r);
  map.preciseResidual(b.data(), v.data(), r.data(), g.data());
  EXPECT_EQ(residual, r);
  EXPECT_EQ(A.transposed().times(residual), g);
}

// A preconditioner that writes only every second element finds zeros in the others.
class EverySecond : public Preconditioner {
 public:
  void solve(const Vector* r, Vector* z) override {
    for (int i = 0; i < r->count; i += 2) (*z)[i] = 2.0 * (*r)[i];
  }
};
class Longer : public Preconditioner {
 public:
  void solve(const Vector* r, Vector* z) override { z->grow(r->count + 1); }
};

TEST(LinearMap, GivesTheCallersPreconditionerAVectorOfZeros) {
  EverySecond preconditioner;
  ForeignInverse inverse(&preconditioner, 5);
  const std::vector<double> r = {1.0, 2.0, 3.0, 4.0, 5.0};
  std::vector<double> z(5, 7.0);
  for (int turn = 0; turn < 2; ++turn) {
    ASSERT_TRUE(inverse.apply(r.data(), z.data()));
    EXPECT_EQ((std::vector<double>{2.0, 0.0, 6.0, 0.0, 10.0}), z);
  }
  const std::vector<double> wrong = {1.0, 2.0, HUGE_VAL, 4.0, 5.0};
  EXPECT_FALSE(inverse.apply(wrong.data(), z.data()));
  Longer longer;
  ForeignInverse other(&longer, 5);
  EXPECT_FALSE(other.apply(r.data(), z.data()));
  EXPECT_EQ(nullptr, other.diagonal());
}

TEST(LinearMap, InvertsADiagonal) {
  Doubles inverse(3);
  inverse[0] = 2.0, inverse[1] = 0.5, inverse[2] = -1.0;
  DiagonalInverse map(inverse);
  const std::vector<double> r = {1.0, 2.0, 3.0};
  std::vector<double> z(3);
  ASSERT_TRUE(map.apply(r.data(), z.data()));
  EXPECT_EQ((std::vector<double>{2.0, 1.0, -3.0}), z);
  EXPECT_EQ(0.5, map.diagonal()[1]);
}

}  // namespace
