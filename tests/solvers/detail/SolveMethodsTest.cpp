// What the methods of the front door share: scaling, and the decisions on what comes next.
#include "limber/solvers/detail/SolveMethods.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/WierdMatrices.h"
#include "limber/solvers/detail/Corrections.h"
#include "limber/solvers/detail/MatrixEntries.h"
#include "limber/solvers/detail/PowersOfTwo.h"
#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

TEST(LeastSquaresMethods, ScaleColumnsToNormsOfOne) {
  for (const double far : {1.0, 1e100, 1e150}) {
    Dice dice(4);
    Dense A(9, 5);
    for (int j = 0; j + 1 < 5; ++j) {
      const double size = j % 2 ? far : 1.0 / far;
      for (int i = 0; i < 9; ++i) A(i, j) = i % 3 == 0 ? 0.0 : size * (0.5 + std::fabs(dice.value()));
    }
    Ints powers;
    Doubles inverse;
    scaleColumns(A.rows(), &powers, &inverse);
    for (int j = 0; j + 1 < 5; ++j) {
      double square = 0.0, largest = 0.0;
      for (int i = 0; i < 9; ++i) {
        const double scaled = std::ldexp(A(i, j), powers[j]);
        square += scaled * inverse[j] * scaled * inverse[j];
        largest = std::fmax(largest, std::fabs(scaled));
      }
      EXPECT_NEAR(1.0, square, 1e-13);
      EXPECT_TRUE(largest >= 0.5 && largest < 1.0);
    }
    EXPECT_EQ(0, powers[4]);
    EXPECT_EQ(1.0, inverse[4]);
  }
}

TEST(LeastSquaresMethods, ScaleRowsToLargestEntriesNearOne) {
  Dense A(3, 2);
  A(0, 0) = -12.0, A(0, 1) = 3.0;
  A(1, 1) = 0x1p-40;
  const Ints powers = rowPowers(A.rows());
  EXPECT_EQ(-4, powers[0]);
  EXPECT_EQ(39, powers[1]);
  EXPECT_EQ(0, powers[2]);
}

TEST(PowersOfTwo, FindTheLargestMagnitudeAtEveryPlace) {
  EXPECT_EQ(0.0, largestMagnitude(0, nullptr));
  for (int n = 1; n <= 9; ++n) {
    for (int place = 0; place < n; ++place) {
      Doubles x(n, -1.5);
      for (const double largest : {-2.0, 3.0, 0x1p1000}) {
        x[place] = largest;
        EXPECT_EQ(std::fabs(largest), largestMagnitude(n, x.data()));
        EXPECT_TRUE(allFinite(n, x.data()));
      }
      for (const double wild : {-HUGE_VAL, HUGE_VAL, std::nan(""), -std::nan("")}) {
        x[place] = wild;
        EXPECT_FALSE(allFinite(n, x.data())) << n << ' ' << place;
        EXPECT_EQ(0, largestExponent(n, x.data()));
      }
    }
  }
}

TEST(LeastSquaresMethods, KnowWhichPowersCanBeMultiplied) {
  Ints powers(3);
  EXPECT_TRUE(within(powers, moderate));
  powers[1] = 300, powers[2] = -300;
  EXPECT_TRUE(within(powers, moderate));
  powers[1] = 301;
  EXPECT_FALSE(within(powers, moderate));
  powers[1] = 0, powers[2] = -301;
  EXPECT_FALSE(within(powers, moderate));
}

TEST(Corrections, TellTheMethodHowTheRowsCount) {
  FullMatrix A(1, 1);
  A.e(0, 0) = 1.0;
  Vector b(1), start(1);
  b[0] = 1.0, start[0] = 0.0;
  SolveOptions options;
  LinearSystem system(options, LinearSystem::Kind::square);
  ASSERT_EQ(nullptr, system.take(A, b, start));
  Units units;
  units.rows.assign(1, -5);
  static double weight;
  const KrylovMethod method = [](LinearMap&, Inverse*, double*, double*, const Goal& goal, SolveRun&) {
    weight = goal.weight ? goal.weight[0] : 0.0;
    return Outcome::stuck;
  };
  EXPECT_EQ(Outcome::stuck, correct(system, method, units, *system.map, nullptr, 5));
  EXPECT_EQ(0x1p10, weight);
}

// min |x e_1 + ... - b| with a residual of which only a part is orthogonal to the columns.
TEST(LeastSquaresMethods, TellHowFarTheMinimumIs) {
  FullMatrix A(3, 1);
  A.e(0, 0) = A.e(1, 0) = A.e(2, 0) = 1.0;
  Vector b(3);
  b[0] = 1.0, b[1] = 2.0, b[2] = 3.0;
  SolveOptions options;
  const auto farAt = [&](double x) {
    LinearSystem system(options, LinearSystem::Kind::leastSquares);
    Vector start(1);
    start[0] = x;
    EXPECT_EQ(nullptr, system.take(A, b, start));
    return farFromMinimum(system);
  };
  EXPECT_FALSE(farAt(2.0));
  EXPECT_FALSE(farAt(2.0 + 1e-7));
  EXPECT_TRUE(farAt(2.0 + 1e-5));
  EXPECT_TRUE(farAt(0.0));
  // A residual that is small itself is no reason to go on.
  for (int i = 0; i < 3; ++i) b[i] = 1.0;
  EXPECT_FALSE(farAt(1.0 + 1e-8));
  EXPECT_TRUE(farAt(1.0 + 1e-6));
}

void expectEntries(const SpMat& A, const Dense& expected) {
  SparseRows rows;
  const Extent extent = extentOf(A, expected.height(), &rows);
  EXPECT_FALSE(extent.damaged);
  EXPECT_EQ(expected.height(), extent.height);
  EXPECT_EQ(expected.width(), extent.width);
  copyEntries(A, extent, &rows);
  Dense found(expected.height(), expected.width());
  for (int i = 0; i < rows.height; ++i) {
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) found(i, rows.index[k]) += rows.value[k];
  }
  for (int i = 0; i < expected.height(); ++i) {
    for (int j = 0; j < expected.width(); ++j) EXPECT_EQ(expected(i, j), found(i, j)) << i << ' ' << j;
  }
}

TEST(MatrixEntries, OfDenseMatricesAreAllOfThem) {
  Dice dice(7);
  FullMatrix A(4, 3);
  Dense expected(4, 3);
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 3; ++j) A.e(i, j) = expected(i, j) = dice.value();
  }
  expectEntries(A, expected);
  expectEntries(FullMatrix(0, 0), Dense(0, 0));
}

TEST(MatrixEntries, OfStructuredMatricesAreTheirBands) {
  Dice dice(8);
  IdentityMatrix identity(3);
  identity.s = -2.5;
  Dense three(3, 3);
  for (int i = 0; i < 3; ++i) three(i, i) = -2.5;
  expectEntries(identity, three);

  BandedMatrix band(5, 4);
  Dense five(5, 5);
  for (int i = 0; i < 5; ++i) {
    for (int j = 0; j < 5; ++j) {
      const double value = dice.value();
      if (j - i >= -2 && j - i <= 1) band.e(i, j) = five(i, j) = value;
    }
  }
  expectEntries(band, five);
}

// A user-defined class that has products but no elements.
class Own : public SpMat {
 public:
  explicit Own(const Dense& A) : A_(A) {}
  int height() const override { return A_.height(); }
  int width() const override { return A_.width(); }
  void mult(const Vector* x, Vector* y) const override {
    y->grow(A_.height());
    for (int i = 0; i < A_.height(); ++i) {
      (*y)[i] = 0.0;
      for (int j = 0; j < A_.width(); ++j) (*y)[i] += A_(i, j) * (*x)[j];
    }
  }

 private:
  const Dense A_;
};

TEST(MatrixEntries, OfAForeignClassAreItsProductsWithUnitVectors) {
  Dice dice(9);
  Dense A(6, 5);
  for (int i = 0; i < 6; ++i) {
    for (int j = 0; j < 5; ++j) A(i, j) = (i + j) % 2 ? 0.0 : dice.value();
  }
  SparseRows rows;
  const Own own(A);
  EXPECT_TRUE(extentOf(own, 6, &rows).foreign);
  expectEntries(own, A);
}

// The identity, by products only.
class OwnIdentity : public SpMat {
 public:
  explicit OwnIdentity(int n) : n_(n) {}
  int height() const override { return n_; }
  int width() const override { return n_; }
  void mult(const Vector* x, Vector* y) const override { *y = *x; }
  void multT(const Vector* x, Vector* y) const override { *y = *x; }

 private:
  const int n_;
};

TEST(LinearSystem, HasTheRowsOfALargeForeignMatrixOnceItIsCopied) {
  const int n = 4097;  // one more than is copied at once
  const OwnIdentity A(n);
  Vector b(n), start(n);
  b = 1.0;
  start = 0.0;
  SolveOptions options;
  LinearSystem system(options, LinearSystem::Kind::square);
  ASSERT_EQ(nullptr, system.take(A, b, start));
  EXPECT_FALSE(system.haveRows);
  system.copyColumns(A);
  EXPECT_TRUE(system.haveRows);
  EXPECT_EQ(n, system.rows.entries());
}

}  // namespace
