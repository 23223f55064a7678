// The iterations of the front door on their own: they need no more steps than theory allows, return the best
// iterate, and say why they ended.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "limber/solvers/detail/BiCGStab.h"
#include "limber/solvers/detail/ConjugateGradients.h"
#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/Lsmr.h"
#include "tests/solvers/detail/DenseModel.h"

using namespace limber::detail;

namespace {

// H diag(values) H for a reflection H, which has these eigenvalues.
Dense withEigenvalues(const std::vector<double>& values, Dice* dice) {
  const int n = static_cast<int>(values.size());
  std::vector<double> v = dice->vector(n);
  double square = 0.0;
  for (const double x : v) square += x * x;
  Dense H(n, n), D(n, n);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      const std::size_t a = static_cast<std::size_t>(i), b = static_cast<std::size_t>(j);
      H(i, j) = (i == j ? 1.0 : 0.0) - 2.0 * v[a] * v[b] / square;
    }
    D(i, i) = values[static_cast<std::size_t>(i)];
  }
  return H.times(D).times(H);
}

double normOf(const std::vector<double>& v) {
  double sum = 0.0;
  for (const double x : v) sum += x * x;
  return std::sqrt(sum);
}

std::vector<double> residualOf(const Dense& A, const std::vector<double>& b, const std::vector<double>& d) {
  std::vector<double> r = A.times(d);
  for (std::size_t i = 0; i < r.size(); ++i) r[i] = b[i] - r[i];
  return r;
}

struct Solve {
  SolveOptions options;
  SparseRows rows;
  RowsMap map;
  SolveRun run;
  Dense A;
  std::vector<double> b, r, d;

  Solve(const Dense& dense, std::vector<double> right, int limit = 1000)
      : rows(dense.rows()),
        map(rows),
        run(options),
        A(dense),
        b(std::move(right)),
        r(b),
        d(static_cast<std::size_t>(dense.width()), 7.0) {
    run.limit = limit;
  }
  double left() const { return normOf(residualOf(A, b, d)); }
  Goal goal(double relative, int iterations = 1000) const {
    Goal goal;
    goal.residual = relative * normOf(b);
    goal.relative = 1.0;
    goal.iterations = iterations;
    return goal;
  }
};

TEST(ConjugateGradients, NeedAsManyStepsAsThereAreEigenvalues) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    std::vector<double> values;
    const int different = 1 + dice.below(5);
    for (int i = 0; i < 30; ++i) values.push_back(1.0 + i % different);
    Solve s(withEigenvalues(values, &dice), dice.vector(30));
    double condition = 0.0;
    Goal goal = s.goal(1e-10);
    goal.condition = &condition;
    const Outcome outcome = conjugateGradients(s.map, nullptr, s.r.data(), s.d.data(), goal, s.run);
    EXPECT_EQ(Outcome::done, outcome);
    EXPECT_LE(s.left(), 1.1e-10 * normOf(s.b));
    EXPECT_EQ(different, s.run.iterations);
    EXPECT_EQ(different, s.map.products);
    EXPECT_GE(condition, 1.0);
    EXPECT_LE(condition, different * 1.0001);
  }
}

TEST(ConjugateGradients, NeedOneStepWithTheExactInverse) {
  Dice dice(3);
  Dense D(12, 12);
  Doubles inverse(12);
  for (int i = 0; i < 12; ++i) {
    D(i, i) = std::ldexp(1.0, i);
    inverse[i] = std::ldexp(1.0, -i);
  }
  Solve s(D, dice.vector(12));
  DiagonalInverse M(inverse);
  EXPECT_EQ(Outcome::done, conjugateGradients(s.map, &M, s.r.data(), s.d.data(), s.goal(1e-12), s.run));
  EXPECT_EQ(1, s.run.iterations);
}

TEST(ConjugateGradients, ReturnTheBestIterate) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    std::vector<double> values;
    for (int i = 0; i < 20; ++i) values.push_back(std::pow(10.0, 3.0 * dice.value()));
    const Dense A = withEigenvalues(values, &dice);
    const std::vector<double> b = dice.vector(20);
    double best = normOf(b);
    for (int steps = 1; steps <= 15; ++steps) {
      Solve s(A, b);
      conjugateGradients(s.map, nullptr, s.r.data(), s.d.data(), s.goal(0.0, steps), s.run);
      EXPECT_EQ(steps, s.run.iterations);
      EXPECT_LE(s.left(), best * (1.0 + 1e-9));
      best = std::min(best, s.left());
    }
  }
}

TEST(ConjugateGradients, SayWhyTheyEnd) {
  Dense A(2, 2);
  A(0, 0) = 1.0, A(1, 1) = -1.0;
  Solve indefinite(A, {1.0, 2.0});
  EXPECT_EQ(Outcome::indefinite,
            conjugateGradients(indefinite.map, nullptr, indefinite.r.data(), indefinite.d.data(),
                               indefinite.goal(1e-10), indefinite.run));
  A(1, 1) = 0.0;
  Solve singular(A, {0.0, 2.0});
  EXPECT_EQ(Outcome::stuck, conjugateGradients(singular.map, nullptr, singular.r.data(), singular.d.data(),
                                               singular.goal(1e-10), singular.run));
  EXPECT_EQ((std::vector<double>{0.0, 0.0}), singular.d);
  A(1, 1) = 3.0;
  Doubles wrong(2, -1.0);
  DiagonalInverse negative(wrong);
  Solve foreign(A, {1.0, 2.0});
  EXPECT_EQ(Outcome::preconditioner, conjugateGradients(foreign.map, &negative, foreign.r.data(),
                                                        foreign.d.data(), foreign.goal(1e-10), foreign.run));
  Dice dice(5);
  std::vector<double> values;
  for (int i = 0; i < 20; ++i) values.push_back(1.0 + i);
  Solve limited(withEigenvalues(values, &dice), dice.vector(20), 3);
  EXPECT_EQ(Outcome::limit, conjugateGradients(limited.map, nullptr, limited.r.data(), limited.d.data(),
                                               limited.goal(1e-12), limited.run));
  EXPECT_EQ(3, limited.run.iterations);
  Solve zero(A, {0.0, 0.0});
  EXPECT_EQ(Outcome::done,
            conjugateGradients(zero.map, nullptr, zero.r.data(), zero.d.data(), zero.goal(0.0), zero.run));
  EXPECT_EQ((std::vector<double>{0.0, 0.0}), zero.d);
}

TEST(ConjugateGradients, CountTheResidualWithItsWeights) {
  Dice dice(6);
  std::vector<double> values;
  for (int i = 0; i < 10; ++i) values.push_back(1.0 + i);
  const Dense A = withEigenvalues(values, &dice);
  std::vector<double> weight(10, 1e-4);
  weight[0] = 1e4;
  Doubles one(10, 1.0);
  DiagonalInverse identity(one);
  Solve s(A, dice.vector(10));
  Goal goal = s.goal(0.0);
  goal.weight = weight.data();
  goal.residual = 1e-3;
  EXPECT_EQ(Outcome::done, conjugateGradients(s.map, &identity, s.r.data(), s.d.data(), goal, s.run));
  const std::vector<double> r = residualOf(A, s.b, s.d);
  double sum = 0.0;
  for (std::size_t i = 0; i < r.size(); ++i) sum += weight[i] * r[i] * r[i];
  EXPECT_LE(std::sqrt(sum), 1.0001e-3);
}

TEST(BiCGStab, NeedsHardlyMoreStepsThanThereAreEigenvalues) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    std::vector<double> values;
    const int different = 1 + dice.below(4);
    for (int i = 0; i < 24; ++i) values.push_back((i % different + 1.0) * (i % different == 1 ? -1.0 : 1.0));
    Solve s(withEigenvalues(values, &dice), dice.vector(24));
    EXPECT_EQ(Outcome::done, biCGStab(s.map, nullptr, s.r.data(), s.d.data(), s.goal(1e-9), s.run));
    EXPECT_LE(s.left(), 1.1e-9 * normOf(s.b));
    EXPECT_LE(s.run.iterations, different + 1);  // rounding may cost one more
  }
}

TEST(BiCGStab, SolvesUnsymmetricSystemsWithABoundedNumberOfSteps) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 5 + dice.below(40);
    Dense A(n, n);
    for (int i = 0; i < n; ++i) {
      for (int k = 0; k < 3; ++k) A(i, dice.below(n)) = dice.value();
      A(i, i) = 5.0;
    }
    Solve s(A, dice.vector(n));
    EXPECT_EQ(Outcome::done, biCGStab(s.map, nullptr, s.r.data(), s.d.data(), s.goal(1e-10), s.run));
    EXPECT_LE(s.left(), 1.1e-10 * normOf(s.b));
    EXPECT_LE(s.run.iterations, 30);
    EXPECT_LE(s.map.products, 2 * s.run.iterations);
    EXPECT_GE(s.map.products, 2 * s.run.iterations - 1);
  }
}

TEST(BiCGStab, NeverReturnsWorseThanTheStart) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 2 + dice.below(20);
    Dense A(n, n);
    for (int i = 0; i < n; ++i) {
      for (int k = 0; k < 3; ++k) A(i, dice.below(n)) = dice.below(5) - 2.0;
    }
    double best = HUGE_VAL;
    for (const int steps : {1, 2, 5, 20}) {
      Solve s(A, dice.vector(n));
      biCGStab(s.map, nullptr, s.r.data(), s.d.data(), s.goal(1e-12, steps), s.run);
      EXPECT_LE(s.left(), normOf(s.b) * (1.0 + 1e-9));
      EXPECT_LE(s.run.iterations, steps);
      best = std::min(best, s.left());
    }
  }
}

TEST(BiCGStab, SaysWhyItEnds) {
  const Dense none(3, 3);
  Solve zero(none, {1.0, 2.0, 3.0});
  EXPECT_EQ(Outcome::stuck,
            biCGStab(zero.map, nullptr, zero.r.data(), zero.d.data(), zero.goal(1e-10), zero.run));
  Dense skew(2, 2);  // r^T A r is 0 in the first step
  skew(0, 1) = 1.0, skew(1, 0) = -1.0;
  Solve stuck(skew, {1.0, 0.0});
  EXPECT_EQ(Outcome::stuck,
            biCGStab(stuck.map, nullptr, stuck.r.data(), stuck.d.data(), stuck.goal(1e-10), stuck.run));
  EXPECT_EQ((std::vector<double>{0.0, 0.0}), stuck.d);
  Dense A(2, 2);
  A(0, 0) = 2.0, A(1, 1) = 4.0;
  Doubles wrong(2, std::numeric_limits<double>::infinity());
  Solve done(A, {1.0, 0.0});
  EXPECT_EQ(Outcome::done,
            biCGStab(done.map, nullptr, done.r.data(), done.d.data(), done.goal(1e-12), done.run));
  EXPECT_EQ((std::vector<double>{0.5, 0.0}), done.d);
  Solve limited(A, {1.0, 1.0}, 1);
  EXPECT_EQ(Outcome::limit, biCGStab(limited.map, nullptr, limited.r.data(), limited.d.data(),
                                     limited.goal(0.0), limited.run));
  Solve nothing(A, {0.0, 0.0});
  EXPECT_EQ(Outcome::done, biCGStab(nothing.map, nullptr, nothing.r.data(), nothing.d.data(),
                                    nothing.goal(0.0), nothing.run));
  EXPECT_EQ(0, nothing.run.iterations);
}

Dense tall(Dice* dice, int m, int n) {
  Dense A(m, n);
  for (int i = 0; i < m; ++i) {
    for (int j = 0; j < n; ++j) A(i, j) = dice->value();
  }
  return A;
}

LsmrGoal lsmrGoal(double residual) {
  LsmrGoal goal;
  goal.residual = residual;
  goal.iterations = 500;
  return goal;
}

TEST(Lsmr, MinimisesInAsManyStepsAsThereAreColumns) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    Dice dice(seed);
    const int n = 1 + dice.below(8), m = n + 4 + dice.below(20);
    Solve s(tall(&dice, m, n), dice.vector(m));
    const Dense T = s.A.transposed();
    const double size = normOf(T.times(s.b));
    const LsmrResult result = lsmr(s.map, s.r.data(), s.d.data(), lsmrGoal(1e-9 * size), s.run);
    EXPECT_EQ(Outcome::done, result.outcome);
    EXPECT_LE(normOf(T.times(residualOf(s.A, s.b, s.d))), 1e-8 * size);
    EXPECT_LE(s.run.iterations, n + 1);
    EXPECT_FALSE(result.checked);

    // the gradient may be given
    Solve again(s.A, s.b);
    std::vector<double> g = T.times(s.b);
    LsmrGoal goal = lsmrGoal(1e-9 * size);
    goal.gradient = g.data();
    lsmr(again.map, again.r.data(), again.d.data(), goal, again.run);
    EXPECT_EQ(s.d, again.d);
    EXPECT_EQ(s.map.products, again.map.products + 1);
  }
}

TEST(Lsmr, NeedsOneStepForOrthogonalColumnsAndEstimatesTheCondition) {
  Dice dice(2);
  Dense A(8, 4);
  for (int j = 0; j < 4; ++j) A(2 * j, j) = 2.0;
  Solve s(A, dice.vector(8));
  const LsmrResult result = lsmr(s.map, s.r.data(), s.d.data(), lsmrGoal(1e-10), s.run);
  EXPECT_EQ(Outcome::done, result.outcome);
  EXPECT_EQ(1, s.run.iterations);
  EXPECT_NEAR(1.0, result.condition, 1e-9);
  for (int j = 0; j < 4; ++j) A(2 * j, j) = 1.0 + 3.0 * j;
  Solve other(A, dice.vector(8));
  const LsmrResult wide = lsmr(other.map, other.r.data(), other.d.data(), lsmrGoal(1e-10), other.run);
  EXPECT_GE(wide.condition, 2.0);
  EXPECT_LE(wide.condition, 20.0);
  EXPECT_LE(other.run.iterations, 5);
}

TEST(Lsmr, EndsAtOnceWithoutAGradient) {
  Dense A(3, 1);
  A(0, 0) = 1.0;
  Solve zero(A, {0.0, 0.0, 0.0});
  EXPECT_EQ(Outcome::done, lsmr(zero.map, zero.r.data(), zero.d.data(), lsmrGoal(0.0), zero.run).outcome);
  EXPECT_EQ(0.0, zero.d[0]);
  Solve orthogonal(A, {0.0, 1.0, 1.0});
  EXPECT_EQ(
      Outcome::done,
      lsmr(orthogonal.map, orthogonal.r.data(), orthogonal.d.data(), lsmrGoal(0.0), orthogonal.run).outcome);
  EXPECT_EQ(0.0, orthogonal.d[0]);
  EXPECT_EQ(0, orthogonal.run.iterations);
  Solve endless(A, {HUGE_VAL, 0.0, 0.0});
  EXPECT_EQ(Outcome::overflow,
            lsmr(endless.map, endless.r.data(), endless.d.data(), lsmrGoal(0.0), endless.run).outcome);
}

TEST(Lsmr, ShowsTheCallerAlsoTheIteratesOnTheWay) {
  Dice dice(9);
  Solve s(tall(&dice, 60, 40), dice.vector(60));
  const Dense T = s.A.transposed();
  std::vector<double> gradients{normOf(T.times(s.b))};
  LsmrGoal goal = lsmrGoal(1e-9 * gradients[0]);
  goal.truth = 1e-8 * gradients[0];
  goal.every = 0.1;
  goal.check = [&](const double* d) {
    gradients.push_back(normOf(T.times(residualOf(s.A, s.b, std::vector<double>(d, d + 40)))));
    return gradients.back();
  };
  EXPECT_EQ(Outcome::done, lsmr(s.map, s.r.data(), s.d.data(), goal, s.run).outcome);
  ASSERT_GE(gradients.size(), 4u);
  for (std::size_t k = 1; k + 1 < gradients.size(); ++k) EXPECT_LE(gradients[k], 0.11 * gradients[k - 1]);
}

TEST(Lsmr, AsksWhetherTheCallerHasEnough) {
  Dice dice(9);
  Solve s(tall(&dice, 30, 10), dice.vector(30));
  const Dense T = s.A.transposed();
  const double size = normOf(T.times(s.b));
  int asked = 0;
  LsmrGoal goal = lsmrGoal(0.1 * size);
  // The caller counts ten times as much as the estimate, so the first answer is not enough.
  goal.truth = 1e-6 * size;
  goal.check = [&](const double* d) {
    ++asked;
    return 10.0 * normOf(T.times(residualOf(s.A, s.b, std::vector<double>(d, d + 10))));
  };
  const LsmrResult result = lsmr(s.map, s.r.data(), s.d.data(), goal, s.run);
  EXPECT_EQ(Outcome::done, result.outcome);
  EXPECT_TRUE(result.checked);
  EXPECT_GE(asked, 2);
  EXPECT_LE(asked, 6);
  EXPECT_LE(normOf(T.times(residualOf(s.A, s.b, s.d))), 1e-7 * size * 1.0001);
}

}  // namespace
