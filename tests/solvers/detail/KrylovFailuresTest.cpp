// How the iterations of the front door end when a product or a preconditioner fails.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "limber/solvers/detail/BiCGStab.h"
#include "limber/solvers/detail/ConjugateGradients.h"
#include "limber/solvers/detail/LinearMap.h"
#include "limber/solvers/detail/Lsmr.h"

using namespace limber::detail;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();

using Product = std::function<void(int call, const double* x, double* y)>;

// A square map whose products may differ from call to call.
class ScriptedMap final : public LinearMap {
 public:
  ScriptedMap(int n, Product forward, Product back = nullptr)
      : n_(n), forward_(std::move(forward)), back_(std::move(back)) {}
  int height() const override { return n_; }
  int width() const override { return n_; }
  void multiply(const double* x, double* y) override { forward_(++calls_, x, y); }
  void multiplyTransposed(const double* x, double* y) override { back_(++backCalls_, x, y); }

 private:
  const int n_;
  const Product forward_, back_;
  int calls_ = 0, backCalls_ = 0;
};

// Multiplies by a factor for each call. A factor of 0 is a failure.
class ScriptedInverse final : public Inverse {
 public:
  ScriptedInverse(int n, std::vector<double> factors) : n_(n), factors_(std::move(factors)) {}
  bool apply(const double* r, double* z) override {
    const double factor = factors_[std::min(calls_++, factors_.size() - 1)];
    for (int i = 0; i < n_; ++i) z[i] = factor * r[i];
    return factor != 0.0;
  }

 private:
  const int n_;
  const std::vector<double> factors_;
  std::size_t calls_ = 0;
};

Product diagonal(std::vector<double> values) {
  return [values](int, const double* x, double* y) {
    for (std::size_t i = 0; i < values.size(); ++i) y[i] = values[i] * x[i];
  };
}

// The results of the calls in their order.
Product results(std::vector<std::vector<double>> vectors) {
  return [vectors](int call, const double*, double* y) {
    const std::vector<double>& result = vectors[static_cast<std::size_t>(call) - 1];
    std::copy(result.begin(), result.end(), y);
  };
}

Goal endless(int iterations) {
  Goal goal;
  goal.iterations = iterations;
  return goal;
}

struct Solve {
  SolveOptions options;
  SolveRun run{options};
  std::vector<double> r, d;
  explicit Solve(std::vector<double> right) : r(std::move(right)), d(r.size(), 7.0) {
    run.expect(static_cast<int>(r.size()));
  }
};

TEST(KrylovFailures, ConjugateGradientsSayThatThePreconditionerFailed) {
  for (const double second : {0.0, -1.0}) {  // no result, or not positive definite
    ScriptedMap A(2, diagonal({1.0, 3.0}));
    ScriptedInverse M(2, {1.0, second});
    Solve solve({1.0, 1.0});
    EXPECT_EQ(conjugateGradients(A, &M, solve.r.data(), solve.d.data(), endless(9), solve.run),
              Outcome::preconditioner);
    EXPECT_EQ(solve.run.iterations, 1);
    EXPECT_TRUE(std::isfinite(solve.d[0]) && std::isfinite(solve.d[1]));
  }
}

TEST(KrylovFailures, ConjugateGradientsSayThatANumberOverflowed) {
  ScriptedMap tiny(1, diagonal({1e-300})), infinite(1, diagonal({inf}));
  ScriptedInverse huge(1, {1e300});
  for (ScriptedMap* A : {&tiny, &infinite}) {
    Solve solve({1e10});
    EXPECT_EQ(conjugateGradients(*A, A == &tiny ? &huge : nullptr, solve.r.data(), solve.d.data(), endless(9),
                                 solve.run),
              Outcome::overflow);
    EXPECT_EQ(solve.d[0], 0.0);
  }
}

// Each product turns the direction so that the residual never gets shorter.
TEST(KrylovFailures, ConjugateGradientsGiveUpWithoutProgress) {
  ScriptedMap A(2, [](int call, const double* x, double* y) {
    const double turn = call % 2 ? 1.0 : -1.0;
    y[0] = 1e-9 * x[0] - turn * x[1];
    y[1] = 1e-9 * x[1] + turn * x[0];
    const double size = std::hypot(x[0], x[1]);
    for (int i = 0; i < 2; ++i) y[i] *= 1e-12 / size;
  });
  Solve solve({1.0, 1.0});
  const Outcome outcome =
      conjugateGradients(A, nullptr, solve.r.data(), solve.d.data(), endless(5000), solve.run);
  EXPECT_TRUE(outcome == Outcome::stuck || outcome == Outcome::overflow);
  EXPECT_LT(solve.run.iterations, 5000);
  EXPECT_TRUE(std::isfinite(solve.d[0]) && std::isfinite(solve.d[1]));
}

TEST(KrylovFailures, BiCGStabSaysThatThePreconditionerFailed) {
  ScriptedMap A(2, diagonal({1.0, 3.0}));
  for (const std::vector<double>& factors : {std::vector<double>{0.0}, {1.0, 0.0}, {1.0, 1.0, 0.0}}) {
    ScriptedInverse M(2, factors);
    Solve solve({1.0, 1.0});
    EXPECT_EQ(biCGStab(A, &M, solve.r.data(), solve.d.data(), endless(9), solve.run),
              Outcome::preconditioner);
    EXPECT_TRUE(std::isfinite(solve.d[0]) && std::isfinite(solve.d[1]));
  }
}

TEST(KrylovFailures, BiCGStabSaysThatANumberOverflowed) {
  const std::vector<std::vector<std::vector<double>>> scripts = {
      {{inf, 0, 0}},               // the first product
      {{5, 1e200, 0}},             // the residual after half an iteration
      {{5, 0, 5}, {0, 1e200, 0}},  // the second product
      {{5, 0, 5}, {0, 5, -1}}};    // the weighted residual after an iteration
  for (const auto& script : scripts) {
    ScriptedMap A(3, results(script));
    Solve solve({10.0, 0.0, 0.0});
    const double weight[3] = {1.0, 1.7e308, 1.0};
    Goal goal = endless(1);
    goal.weight = weight;
    EXPECT_EQ(biCGStab(A, nullptr, solve.r.data(), solve.d.data(), goal, solve.run), Outcome::overflow);
    for (const double d : solve.d) EXPECT_TRUE(std::isfinite(d));
  }
}

TEST(KrylovFailures, BiCGStabGetsStuckWhereAProductVanishes) {
  for (const auto& script : {std::vector<std::vector<double>>{{0, 0, 0}}, {{5, 0, 5}, {0, 0, 0}}}) {
    ScriptedMap A(3, results(script));
    Solve solve({10.0, 0.0, 0.0});
    EXPECT_EQ(biCGStab(A, nullptr, solve.r.data(), solve.d.data(), endless(9), solve.run), Outcome::stuck);
  }
}

LsmrGoal lsmrGoal(double residual) {
  LsmrGoal goal;
  goal.residual = residual;
  goal.iterations = 50;
  return goal;
}

TEST(KrylovFailures, LsmrSolvesWithoutAGradientAndWithoutACheck) {
  ScriptedMap A(2, diagonal({2.0, 5.0}), diagonal({2.0, 5.0}));
  Solve solve({4.0, 5.0});
  const LsmrResult result = lsmr(A, solve.r.data(), solve.d.data(), lsmrGoal(1e-12), solve.run);
  EXPECT_EQ(result.outcome, Outcome::done);
  EXPECT_FALSE(result.checked);
  EXPECT_NEAR(solve.d[0], 2.0, 1e-12);
  EXPECT_NEAR(solve.d[1], 1.0, 1e-12);
}

TEST(KrylovFailures, LsmrHasNothingToDoAtTheMinimum) {
  ScriptedMap A(2, diagonal({2.0, 0.0}), diagonal({2.0, 0.0}));
  for (const double second : {0.0, 3.0}) {  // no residual, and one that A^T does not see
    Solve solve({0.0, second});
    EXPECT_EQ(lsmr(A, solve.r.data(), solve.d.data(), lsmrGoal(1e-12), solve.run).outcome, Outcome::done);
    EXPECT_EQ(solve.run.iterations, 0);
    EXPECT_EQ(solve.d[0], 0.0);
    EXPECT_EQ(solve.d[1], 0.0);
  }
}

TEST(KrylovFailures, LsmrEndsWhereTheNextVectorVanishes) {
  ScriptedMap A(1, diagonal({2.0}), diagonal({2.0}));
  for (const double truth : {0.0, 1.0}) {  // what the check finds
    Solve solve({4.0});
    LsmrGoal goal = lsmrGoal(0.0);
    goal.truth = 0.5;
    int checks = 0;
    goal.check = [&](const double*) {
      ++checks;
      return truth;
    };
    const LsmrResult result = lsmr(A, solve.r.data(), solve.d.data(), goal, solve.run);
    EXPECT_EQ(result.outcome, truth == 0.0 ? Outcome::done : Outcome::stuck);
    EXPECT_TRUE(result.checked);
    EXPECT_EQ(checks, 1);
    EXPECT_EQ(solve.run.iterations, 1);
    EXPECT_NEAR(solve.d[0], 2.0, 1e-15);
  }
}

TEST(KrylovFailures, LsmrSaysThatANumberOverflowed) {
  const Product good = diagonal({2.0, 5.0}), bad = diagonal({inf, 5.0});
  const Product laterBad = [=](int call, const double* x, double* y) {
    (call == 1 ? good : bad)(call, x, y);
  };
  const std::vector<std::pair<Product, Product>> maps = {{good, bad}, {bad, good}, {good, laterBad}};
  for (const auto& [forward, back] : maps) {
    ScriptedMap A(2, forward, back);
    Solve solve({4.0, 5.0});
    EXPECT_EQ(lsmr(A, solve.r.data(), solve.d.data(), lsmrGoal(1e-12), solve.run).outcome, Outcome::overflow);
    for (const double d : solve.d) EXPECT_EQ(d, 0.0);
  }
  ScriptedMap A(2, good, good);
  Solve solve({std::nan(""), 5.0});
  EXPECT_EQ(lsmr(A, solve.r.data(), solve.d.data(), lsmrGoal(1e-12), solve.run).outcome, Outcome::overflow);
}

}  // namespace
