#include "limber/solvers/detail/SparseRows.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

TEST(SparseRows, MultiplyInAscendingOrder) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int m = dice.below(12), n = 1 + dice.below(12);
    const Dense A = randomDense(&dice, m, n);
    const SparseRows rows = A.rows();
    const std::vector<double> x = dice.vector(n), v = dice.vector(m);
    std::vector<double> y(static_cast<std::size_t>(m)), z(static_cast<std::size_t>(n), 7.0);
    rows.multiply(x.data(), y.data());
    EXPECT_EQ(A.times(x), y);
    rows.multiplyTransposed(v.data(), z.data());
    EXPECT_EQ(A.transposed().times(v), z);

    std::vector<double> u(v), expected(v), w(static_cast<std::size_t>(n), 7.0);
    double square = 0.0;
    for (std::size_t i = 0; i < u.size(); ++i) {
      expected[i] = y[i] - 0.75 * u[i];
      square += expected[i] * expected[i];
    }
    EXPECT_EQ(square, rows.multiplyBothWays(x.data(), 0.75, u.data(), w.data()));
    EXPECT_EQ(expected, u);
    EXPECT_EQ(A.transposed().times(expected), w);
  }
}

// Whole numbers of up to 30 bits, so that products need more bits than a double has, and the sums of 128-bit
// integers are exact.
struct Exact {
  Dense A;
  std::vector<double> x, b;
  Exact(Dice* dice, int m, int n) : A(m, n), x(static_cast<std::size_t>(n)), b(static_cast<std::size_t>(m)) {
    for (int i = 0; i < m; ++i) {
      for (int j = 0; j < n; ++j) A(i, j) = dice->below(4) == 0 ? 0.0 : whole(dice);
    }
    for (double& value : x) value = whole(dice);
    // close to A x, so that nearly everything cancels
    for (int i = 0; i < m; ++i) b[static_cast<std::size_t>(i)] = static_cast<double>(-residual(i));
  }
  static double whole(Dice* dice) { return std::floor(dice->value() * 0x1p30); }
  __extension__ typedef __int128 Wide;
  Wide residual(int i) const {
    Wide sum = static_cast<Wide>(b[static_cast<std::size_t>(i)]);
    for (std::size_t j = 0; j < x.size(); ++j) {
      sum -= static_cast<Wide>(A(i, static_cast<int>(j))) * static_cast<Wide>(x[j]);
    }
    return sum;
  }
};

TEST(SparseRows, ResidualsAreAsIfSummedInTwiceThePrecision) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int m = 1 + dice.below(8), n = 1 + dice.below(8);
    Exact exact(&dice, m, n);
    for (double& value : exact.b) value += 4096.0 * dice.below(5);
    const SparseRows rows = exact.A.rows();
    std::vector<double> r(exact.b.size()), again(exact.b.size()), g(exact.x.size());
    rows.residual(exact.b.data(), exact.x.data(), r.data(), nullptr);
    rows.residual(exact.b.data(), exact.x.data(), again.data(), g.data());
    EXPECT_EQ(r, again);
    for (int i = 0; i < m; ++i) {
      EXPECT_EQ(static_cast<double>(exact.residual(i)), r[static_cast<std::size_t>(i)]);
    }
    for (int j = 0; j < n; ++j) {
      Exact::Wide sum = 0;
      for (int i = 0; i < m; ++i) sum += static_cast<Exact::Wide>(exact.A(i, j)) * exact.residual(i);
      EXPECT_EQ(static_cast<double>(sum), g[static_cast<std::size_t>(j)]);
    }
  }
}

// r is rounded here, because it is far from zero, and g = A^T r must not be.
TEST(SparseRows, TheGradientIsThatOfTheResidualBeforeItIsRounded) {
  Dice dice(9);
  for (int turn = 0; turn < 40; ++turn) {
    Exact exact(&dice, 4, 3);
    for (double& value : exact.b) value = std::floor(value / 3.0);
    const SparseRows rows = exact.A.rows();
    std::vector<double> r(4), g(3);
    rows.residual(exact.b.data(), exact.x.data(), r.data(), g.data());
    for (int j = 0; j < 3; ++j) {
      Exact::Wide sum = 0;
      for (int i = 0; i < 4; ++i) sum += static_cast<Exact::Wide>(exact.A(i, j)) * exact.residual(i);
      const double expected = static_cast<double>(sum);
      EXPECT_NEAR(expected, g[static_cast<std::size_t>(j)], 0x1p-52 * std::fabs(expected));
    }
  }
}

TEST(SparseRows, TransposeHasTheSameElements) {
  Dice dice(2);
  const Dense A = randomDense(&dice, 7, 5);
  const SparseRows t = A.rows().transposed(), expected = A.transposed().rows();
  EXPECT_EQ(5, t.height);
  EXPECT_EQ(7, t.width);
  EXPECT_EQ(std::vector<int>(expected.start.begin(), expected.start.end()),
            std::vector<int>(t.start.begin(), t.start.end()));
  EXPECT_EQ(std::vector<int>(expected.index.begin(), expected.index.end()),
            std::vector<int>(t.index.begin(), t.index.end()));
  EXPECT_EQ(std::vector<double>(expected.value.begin(), expected.value.end()),
            std::vector<double>(t.value.begin(), t.value.end()));
}

TEST(SparseRows, TidySortsAndAddsUp) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int m = 1 + dice.below(6), n = 1 + dice.below(6);
    Dense sum(m, n), present(m, n);
    SparseRows rows(m, n);
    for (int i = 0; i < m; ++i) {
      for (int k = dice.below(6); k > 0; --k) {
        const int j = dice.below(n);
        const double value = dice.value();
        rows.append(j, value);
        sum(i, j) += value;
        present(i, j) = 1.0;
      }
      rows.endRow();
    }
    rows.tidy();
    const SparseRows expected = present.rows();
    ASSERT_EQ(std::vector<int>(expected.start.begin(), expected.start.end()),
              std::vector<int>(rows.start.begin(), rows.start.end()));
    ASSERT_EQ(std::vector<int>(expected.index.begin(), expected.index.end()),
              std::vector<int>(rows.index.begin(), rows.index.end()));
    EXPECT_EQ(rows.entries(), rows.value.size());
    for (int i = 0; i < m; ++i) {
      for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) EXPECT_EQ(sum(i, rows.index[k]), rows.value[k]);
    }
  }
}

TEST(SparseRows, ScaleByPowersOfTwoOfAnySize) {
  Dice dice(6);
  const Dense A = randomDense(&dice, 5, 4);
  for (const int far : {3, 500, 501, 900}) {
    Ints rowPowers(5), columnPowers(4);
    for (int& k : rowPowers) k = dice.below(5) - 2;
    for (int& k : columnPowers) k = dice.below(5) - 2;
    // Where one factor alone would overflow, both together do not.
    rowPowers[0] = far;
    columnPowers[0] = -far;
    for (const bool byRows : {false, true}) {
      for (const bool byColumns : {false, true}) {
        SparseRows rows = A.rows();
        rows.scale(byRows ? rowPowers.data() : nullptr, byColumns ? columnPowers.data() : nullptr);
        for (int i = 0; i < 5; ++i) {
          for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) {
            const int j = rows.index[k];
            const int power = (byRows ? rowPowers[i] : 0) + (byColumns ? columnPowers[j] : 0);
            EXPECT_EQ(std::ldexp(A(i, j), power), rows.value[k]);
          }
        }
      }
    }
  }
}

}  // namespace
