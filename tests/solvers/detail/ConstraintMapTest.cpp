// J V^-1 J^T + D in all its forms against the dense matrix.
#include "limber/solvers/detail/ConstraintMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

struct Case {
  Dense J, expected;
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat matrix{0};
  Vector mass, damp;
  bool weighted, damped;

  Case(Dice* dice, int m, int n, bool weights, bool damping)
      : J(m, n), expected(m, m), mass(n), damp(m), weighted(weights), damped(damping) {
    for (int i = 0; i < m; ++i) {
      rows.push_back(std::make_unique<SpVec>());
      for (int k = 0; k < 3; ++k) J(i, dice->below(n)) = dice->value();
      for (int j = 0; j < n; ++j) rows.back()->ins(J(i, j), j);
      matrix.add(rows.back().get());
    }
    for (int j = 0; j < n; ++j) mass[j] = 0.25 + dice->below(8);
    for (int i = 0; i < m; ++i) damp[i] = dice->below(3);
    for (int i = 0; i < m; ++i) {
      for (int k = 0; k < m; ++k) {
        for (int j = 0; j < n; ++j) expected(i, k) += J(i, j) * J(k, j) / (weighted ? mass[j] : 1.0);
      }
      expected(i, i) += damped ? damp[i] : 0.0;
    }
  }
  const char* take(ConstraintMap* map, int* power) const {
    return map->take(matrix, weighted ? &mass : nullptr, damped ? &damp : nullptr, power);
  }
};

template <class F>
void forCases(F f) {
  for (unsigned seed = 1; seed <= 80; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int m = 1 + dice.below(12), n = 1 + dice.below(12);
    const bool weighted = dice.below(2) == 0, damped = dice.below(2) == 0;
    const Case made(&dice, m, n, weighted, damped);
    ConstraintMap map;
    int power = 0;
    ASSERT_EQ(nullptr, made.take(&map, &power));
    f(made, map, std::ldexp(1.0, power), &dice);
  }
}

double sizeOf(const Case& made) {
  double most = 1e-12;
  for (int i = 0; i < made.expected.height(); ++i) most = std::max(most, made.expected(i, i));
  return most;
}

TEST(ConstraintMap, MultipliesByTheOperator) {
  forCases([](const Case& made, ConstraintMap& map, double unit, Dice* dice) {
    const std::vector<double> x = dice->vector(map.width());
    std::vector<double> y(x.size()), z(x.size());
    map.multiply(x.data(), y.data());
    map.multiplyTransposed(x.data(), z.data());
    EXPECT_EQ(y, z);
    EXPECT_EQ(2, map.products);
    for (double& value : y) value *= unit;
    EXPECT_LE(farthest(made.expected.times(x), y), 1e-13 * sizeOf(made));
  });
}

TEST(ConstraintMap, HasTheElementsOfTheOperator) {
  forCases([](const Case& made, ConstraintMap& map, double unit, Dice*) {
    const int m = map.height();
    const SparseRows matrix = map.matrix();
    const Doubles diagonal = map.diagonal();
    Dense found(m, m);
    for (int i = 0; i < m; ++i) {
      bool own = false;
      for (int k = matrix.start[i]; k < matrix.start[i + 1]; ++k) {
        found(i, matrix.index[k]) = matrix.value[k] * unit;
        own |= matrix.index[k] == i;
        EXPECT_TRUE(k == matrix.start[i] || matrix.index[k - 1] < matrix.index[k]);
      }
      EXPECT_TRUE(own);
      EXPECT_NEAR(made.expected(i, i), diagonal[i] * unit, 1e-13 * sizeOf(made));
      for (int k = 0; k < m; ++k) EXPECT_NEAR(made.expected(i, k), found(i, k), 1e-13 * sizeOf(made));
    }
  });
}

TEST(ConstraintMap, IsTheNormalMatrixOfItsRoot) {
  forCases([](const Case& made, ConstraintMap& map, double unit, Dice*) {
    const SparseRows root = map.root();
    const int m = map.height();
    ASSERT_EQ(m, root.width);
    ASSERT_EQ(root.height + 1, root.start.size());
    Dense dense(root.height, m);
    for (int i = 0; i < root.height; ++i) {
      for (int k = root.start[i]; k < root.start[i + 1]; ++k) dense(i, root.index[k]) = root.value[k];
    }
    const Dense normal = dense.transposed().times(dense);
    for (int i = 0; i < m; ++i) {
      for (int k = 0; k < m; ++k) EXPECT_NEAR(made.expected(i, k), normal(i, k) * unit, 1e-12 * sizeOf(made));
    }
  });
}

TEST(ConstraintMap, FindsTheHalfBandwidth) {
  forCases([](const Case& made, ConstraintMap& map, double, Dice*) {
    int widest = 0;
    for (int i = 0; i < made.J.height(); ++i) {
      for (int k = i; k < made.J.height(); ++k) {
        for (int j = 0; j < made.J.width(); ++j) {
          if (made.J(i, j) != 0.0 && made.J(k, j) != 0.0) widest = std::max(widest, k - i);
        }
      }
    }
    EXPECT_EQ(widest, map.halfBandwidth());
  });
}

TEST(ConstraintMap, EquilibratesItsDiagonal) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    Case made(&dice, 6, 8, seed % 2 == 0, true);
    for (int i = 0; i < 6; ++i) {
      made.rows[static_cast<std::size_t>(i)]->scale(std::ldexp(1.0, 40 * i - 100));
      made.damp[i] = i == 2 ? 1e-40 : 0.0;
    }
    ConstraintMap map;
    int power = 0;
    ASSERT_EQ(nullptr, made.take(&map, &power));
    const Doubles before = map.diagonal();
    const Ints powers = map.equilibrate();
    const Doubles after = map.diagonal();
    for (int i = 0; i < 6; ++i) {
      if (before[i] > 1e-290) {
        EXPECT_EQ(std::ldexp(before[i], 2 * powers[i]), after[i]);
      }
      if (made.rows[static_cast<std::size_t>(i)]->numEntries == 0) continue;
      // The largest term is between 1/8 and 4, and there are at most four terms.
      EXPECT_GE(after[i], 0.125);
      EXPECT_LE(after[i], 16.0);
    }
  }
}

TEST(ConstraintMap, DampingTwiceAsLargeAsTheRowsDeterminesTheScale) {
  HSpMat one(0);
  SpVec row;
  row.ins(0.5, 0);
  one.add(&row);
  Vector damp(1);
  ConstraintMap map;
  int power = 7;
  damp[0] = 0.5;
  ASSERT_EQ(nullptr, map.take(one, nullptr, &damp, &power));
  EXPECT_EQ(0, power);
  damp[0] = 1.0;
  ASSERT_EQ(nullptr, ConstraintMap().take(one, nullptr, &damp, &power));
  EXPECT_EQ(1, power);
}

TEST(ConstraintMap, EquilibratesOneRowWithLittleBesidesItsDamping) {
  HSpMat one(0);
  SpVec row;
  row.ins(1.0, 0);
  one.add(&row);
  Vector damp(1);
  damp[0] = 0x1p200;
  ConstraintMap map;
  int power = 0;
  ASSERT_EQ(nullptr, map.take(one, nullptr, &damp, &power));
  map.equilibrate();
  EXPECT_LE(map.diagonal()[0], 4.0);
}

TEST(ConstraintMap, IsScaledByItsDampingIfThatIsLarger) {
  Dice dice(3);
  Case made(&dice, 5, 6, false, true);
  for (int i = 0; i < 5; ++i) made.damp[i] = 1e30 * (1.0 + i);
  ConstraintMap map;
  int power = 0;
  ASSERT_EQ(nullptr, made.take(&map, &power));
  const Doubles diagonal = map.diagonal();
  for (int i = 0; i < 5; ++i) {
    EXPECT_LE(diagonal[i], 1.01);
    EXPECT_NEAR(made.damp[i], std::ldexp(diagonal[i], power), 1e18);
  }
}

TEST(ConstraintMap, WithoutColumnsDoesNotLookAtMasses) {
  HSpMat empty(0);
  SpVec row;
  empty.add(&row);
  Vector mass(1), damp(1);
  mass[0] = 0x1p40;
  damp[0] = 0x1p-100;
  ConstraintMap map;
  int power = 7;
  ASSERT_EQ(nullptr, map.take(empty, &mass, &damp, &power));
  EXPECT_EQ(0, power);
}

TEST(ConstraintMap, RefusesMassesAndDampingThatDoNotFit) {
  Dice dice(8);
  Case made(&dice, 4, 5, true, true);
  made.rows[0]->ins(1.0, 4);
  int power = 0;
  const auto refused = [&] {
    ConstraintMap map;
    return made.take(&map, &power) != nullptr;
  };
  EXPECT_FALSE(refused());
  made.mass[2] = 0.0;
  EXPECT_TRUE(refused());
  made.mass[2] = -1.0;
  EXPECT_TRUE(refused());
  made.mass[2] = HUGE_VAL;
  EXPECT_TRUE(refused());
  made.mass[2] = 1e-300;
  EXPECT_FALSE(refused());
  made.mass.grow(4);
  EXPECT_TRUE(refused());
  made.mass.grow(6);
  made.mass[4] = 1.0;
  made.mass[5] = -1.0;  // belongs to no column
  EXPECT_FALSE(refused());
  made.damp[1] = HUGE_VAL;
  EXPECT_TRUE(refused());
  made.damp[1] = 0.0;
  made.damp.grow(3);
  EXPECT_TRUE(refused());
}

}  // namespace
