#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <utility>

#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/Tolerance.h"

namespace {

// A chain of n constraints, each of which shares columns with the next few.
Entries chain(int n, int reach, Random* random) {
  Entries J(n, 2 * n + reach);
  for (int i = 0; i < n; ++i) {
    for (int k = 0; k < 2 + reach; ++k) J.add(i, 2 * i + k, random->value());
  }
  return J;
}

// |c - (J V^-1 J^T + D) x| / |c| in long double.
double residual(const HSpMat& J, int width, const Vector* mass, const Vector* damp, const Vector& c,
                const Vector& x) {
  std::vector<long double> multipliers, t;
  for (int i = 0; i < c.count; ++i) multipliers.push_back(x[i]);
  t = longTransposed(J, width, multipliers);
  long double square = 0.0L, whole = 0.0L;
  for (int j = 0; mass && j < width; ++j) t[static_cast<std::size_t>(j)] /= (*mass)[j];
  for (int i = 0; i < c.count; ++i) {
    long double r = c[i];
    const SpVec& row = *J.rows[i];
    for (int k = 0; k < row.numEntries; ++k) {
      r -= row.values[k] * t[static_cast<std::size_t>(row.indices[k])];
    }
    if (damp) r -= static_cast<long double>((*damp)[i]) * x[i];
    square += r * r;
    whole += static_cast<long double>(c[i]) * c[i];
  }
  return static_cast<double>(std::sqrt(square / whole));
}

TEST(SolveConstraints, SolvesWithAndWithoutMassAndDamping) {
  Random random(1);
  for (const int n : {1, 2, 10, 200}) {
    const Entries J = chain(n, 3, &random);
    Vector mass(J.width()), damp(n);
    for (int j = 0; j < mass.count; ++j) mass[j] = 1.5 + random.value();
    for (int i = 0; i < n; ++i) damp[i] = 0.01 * (1.0 + random.value());
    const Vector c = random.vector(n);
    for (const Vector* m : {static_cast<const Vector*>(nullptr), static_cast<const Vector*>(&mass)}) {
      for (const Vector* d : {static_cast<const Vector*>(nullptr), static_cast<const Vector*>(&damp)}) {
        Vector x;
        const SolveReport report = solveConstraints(J.matrix(), m, d, c, &x);
        EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
        EXPECT_LE(residual(J.matrix(), J.width(), m, d, c, x), 1.001e-10);
      }
    }
  }
}

TEST(SolveConstraints, MeansWhatTheContractFamilyMeans) {
  Random random(2);
  Entries J = chain(20, 2, &random);
  Vector mass(J.width()), damp(20), c = random.vector(20), x(20), y;
  for (int j = 0; j < mass.count; ++j) mass[j] = 1.5 + random.value();
  damp = 0.1;
  cg_tol = 1e-26;
  cg_epsilon = 1e-40;
  double rsq = 0.0;
  ncgradJVJt(&J.matrix(), &x, &c, &rsq, &mass, &damp, nullptr);
  cg_tol = 0.1;
  cg_epsilon = 1e-8;
  ASSERT_EQ(SOLVE_CONVERGED, solveConstraints(J.matrix(), &mass, &damp, c, &y).status);
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(tolerance::close(x[i], y[i], 1e-7));
}

TEST(SolveConstraints, FactorsANarrowBandAndThenNeedsFewIterations) {
  Random random(3);
  const Entries J = chain(300, 3, &random);
  const Vector c = random.vector(300);
  Vector x;
  const SolveReport report = solveConstraints(J.matrix(), nullptr, nullptr, c, &x);
  EXPECT_EQ(SOLVE_CONVERGED, report.status);
  EXPECT_LE(report.iterations, 3);
}

// The chain with its constraints in a random order, and `shared` columns that nearly all of them share.
Entries shuffledChain(int n, int shared, Random* random) {
  std::vector<int> order(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) order[static_cast<std::size_t>(i)] = i;
  for (int i = n - 1; i > 0; --i) {
    const int other = static_cast<int>(0.5 * (random->value() + 1.0) * i);
    std::swap(order[static_cast<std::size_t>(i)], order[static_cast<std::size_t>(other)]);
  }
  Entries J(n, n + 3 + shared);
  for (int i = 0; i < n; ++i) {
    const int at = order[static_cast<std::size_t>(i)];
    // the first constraint has no columns but the shared ones
    for (int k = 0; k < 3 && at > 0; ++k) J.add(i, at + k, random->value());
    for (int k = 0; k < shared; ++k) J.add(i, n + 3 + k, random->value());
  }
  return J;
}

TEST(SolveConstraints, GoesOnIteratingWhereAFactorCostsTooMuch) {
  constexpr int n = 1500;
  Random random(5);
  Entries J(n, n);
  for (int i = 0; i < n; ++i) {
    J.add(i, i, 1.0);
    for (int k = 0; k < 5; ++k) J.add(i, random.below(n), 0.45 * random.value());
  }
  Vector mass(n), x;
  for (int j = 0; j < n; ++j) mass[j] = std::pow(100.0, random.value());
  const Vector c = random.vector(n);
  const SolveReport report = solveConstraints(J.matrix(), &mass, nullptr, c, &x);
  EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
  EXPECT_LE(residual(J.matrix(), n, &mass, nullptr, c, x), 1.001e-10);
}

TEST(SolveConstraints, AFewFullColumnsDoNotSpoilTheFactor) {
  Random random(5);
  for (const int shared : {0, 1, 3}) {
    SCOPED_TRACE(shared);
    const int n = 3000;
    const Entries J = shuffledChain(n, shared, &random);
    Vector mass(J.width()), damp(n), c = random.vector(n), x;
    for (int j = 0; j < mass.count; ++j) mass[j] = 1.5 + random.value();
    damp = 0.01;
    const SolveReport report = solveConstraints(J.matrix(), &mass, &damp, c, &x);
    EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
    EXPECT_LE(residual(J.matrix(), J.width(), &mass, &damp, c, x), 1.001e-10);
    EXPECT_LE(report.iterations, 30);
  }
}

TEST(SolveConstraints, SolvesTwiceTheSameRowAndNearlyTheSameRow) {
  Random random(4);
  for (const double apart : {0.0, 1e-7}) {
    Entries J(3, 4);
    for (int j = 0; j < 4; ++j) {
      const double a = random.value();
      J.add(0, j, a);
      J.add(1, j, j == 2 ? a + apart : a);
      J.add(2, j, random.value());
    }
    Vector c(3), x;
    c[0] = c[1] = 1.0;
    c[2] = -0.5;
    const SolveReport report = solveConstraints(J.matrix(), nullptr, nullptr, c, &x);
    // with a condition of 1e14, double precision allows no better result
    const double truth = residual(J.matrix(), 4, nullptr, nullptr, c, x);
    EXPECT_LE(truth, apart > 0.0 ? 1e-8 : 1.001e-10) << report.message;
    EXPECT_EQ(report.status == SOLVE_CONVERGED, truth <= 1.001e-10);
  }
}

TEST(SolveConstraints, TellsTheTruthAboutRowsOfZeros) {
  Random random(5);
  Entries J(3, 3);
  J.add(0, 0, 2.0);
  J.add(2, 1, 1.0);
  Vector c(3), x;
  c[0] = c[2] = 1.0;
  EXPECT_EQ(SOLVE_CONVERGED, solveConstraints(J.matrix(), nullptr, nullptr, c, &x).status);
  EXPECT_TRUE(tolerance::close(0.25, x[0], 1e-12));
  c[1] = 1.0;
  x = Vector();
  const SolveReport report = solveConstraints(J.matrix(), nullptr, nullptr, c, &x);
  EXPECT_NE(SOLVE_CONVERGED, report.status);
  EXPECT_NE(SOLVE_BAD_INPUT, report.status);
  EXPECT_GE(report.residual, 0.99);
  Vector damp(3);
  damp[1] = 4.0;
  x = Vector();
  EXPECT_EQ(SOLVE_CONVERGED, solveConstraints(J.matrix(), nullptr, &damp, c, &x).status);
  EXPECT_TRUE(tolerance::close(0.25, x[1], 1e-12));
}

TEST(SolveConstraints, TheReportedResidualIsTrueAtTheLimitOfPrecision) {
  LIMBER_NEEDS_WIDE_LONG_DOUBLE();
  int limited = 0;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    Entries J(50, 120);
    for (int i = 0; i < 50; ++i) {
      const double factor = std::pow(10.0, 5.0 * random.value());
      for (int k = 0; k < 5; ++k) J.add(i, (13 * i + 17 * k) % 120, factor * random.value());
    }
    Vector mass(120), damp(50), x;
    for (int j = 0; j < 120; ++j) mass[j] = std::pow(10.0, random.value());
    for (int i = 0; i < 50; ++i) damp[i] = 1e-9 * random.below(2);
    const Vector c = random.vector(50);
    const SolveReport report = solveConstraints(J.matrix(), &mass, &damp, c, &x);
    const double truth = residual(J.matrix(), 120, &mass, &damp, c, x);
    limited += report.status == SOLVE_STAGNATED;
    EXPECT_TRUE(tolerance::relative(truth, report.relativeResidual, 0.02)) << truth;
  }
  EXPECT_GE(limited, 6);
}

TEST(SolveConstraints, ASingularSystemIsNotBlamedOnAPreconditionerThatNobodyGave) {
  Random random(8);
  Entries J(120, 50);
  for (int i = 0; i < 120; ++i) {
    for (int k = 0; k < 4; ++k) J.add(i, random.below(50), random.value());
  }
  Vector x;
  const SolveReport report = solveConstraints(J.matrix(), nullptr, nullptr, random.vector(120), &x);
  EXPECT_EQ(SOLVE_STAGNATED, report.status) << report.message;
  EXPECT_EQ(nullptr, std::strstr(report.message, "preconditioner"));
}

TEST(SolveConstraints, RefusesWeightsThatDoNotFit) {
  Random random(6);
  const Entries J = chain(3, 1, &random);
  const Vector c = random.vector(3);
  Vector mass(J.width()), damp(3), x(3);
  x[1] = 5.0;
  mass = 1.0;
  const auto refused = [&] {
    EXPECT_EQ(SOLVE_BAD_INPUT, solveConstraints(J.matrix(), &mass, &damp, c, &x).status);
    EXPECT_EQ(5.0, x[1]);
  };
  mass[2] = 0.0;
  refused();
  mass[2] = -1.0;
  refused();
  mass[2] = std::numeric_limits<double>::infinity();
  refused();
  mass[2] = 1.0;
  damp[0] = std::numeric_limits<double>::quiet_NaN();
  refused();
  damp[0] = -1.0;
  refused();
  damp[0] = 0.0;
  mass.grow(J.width() - 1);
  refused();
  mass.grow(J.width() + 1);  // more masses than columns are allowed
  mass = 1.0;
  EXPECT_EQ(SOLVE_CONVERGED, solveConstraints(J.matrix(), &mass, &damp, c, &x).status);
  damp.grow(2);
  x[1] = 5.0;
  refused();
  EXPECT_EQ(SOLVE_BAD_INPUT, solveConstraints(J.matrix(), nullptr, nullptr, c, nullptr).status);
}

TEST(SolveConstraints, RefusesWhatDoesNotFit) {
  Entries J(2, 3);
  J.add(0, 0, 1.0);
  J.add(1, 2, 1.0);
  const Vector c(2), longer(3);
  SolveOptions bad;
  bad.relative = -1.0;
  Vector x, two(2), three(3);
  two[0] = 5.0;
  EXPECT_EQ(SOLVE_BAD_INPUT, solveConstraints(J.matrix(), nullptr, nullptr, c, &two, bad).status);
  EXPECT_EQ(5.0, two[0]);
  EXPECT_EQ(SOLVE_BAD_INPUT, solveConstraints(J.matrix(), nullptr, nullptr, longer, &x).status);
  EXPECT_EQ(SOLVE_BAD_INPUT, solveConstraints(J.matrix(), nullptr, nullptr, c, &three).status);
  class Derived : public HSpMat {
   public:
    using HSpMat::HSpMat;
  } derived(2);
  EXPECT_STREQ("The Jacobian's class is derived from HSpMat, so its rows may not say what it is.",
               solveConstraints(derived, nullptr, nullptr, c, &x).message);
  const HSpMat none(0);
  const Vector empty;
  EXPECT_EQ(SOLVE_CONVERGED, solveConstraints(none, &empty, &empty, empty, &x).status);
  EXPECT_EQ(0, x.count);
}

// A damping far above the scale of J V^-1 J^T sets the scale of the system, with and without masses.
TEST(SolveConstraints, SolvesLargeDamping) {
  Entries J(2, 2);
  J.add(0, 0, 1.0);
  J.add(0, 1, 0.0);
  J.add(1, 1, 2.0);
  const Vector damp = vectorOf({1e20, 3e20}), mass = vectorOf({1e-3, 1e3}), c = vectorOf({2e20, 3e20});
  for (const Vector* const m : {static_cast<const Vector*>(nullptr), &mass}) {
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solveConstraints(J.matrix(), m, &damp, c, &x).status);
    EXPECT_NEAR(2.0, x[0], 1e-12);
    EXPECT_NEAR(1.0, x[1], 1e-12);
  }
}

}  // namespace
