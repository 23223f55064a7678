// Each allocation of the less common methods of the front door fails once.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "limber/foundation/Output.h"
#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/allocations/Allocations.h"

namespace {

int silent(const char*) { return 0; }

using Call = std::function<SolveReport(Vector*)>;
using Truth = std::function<double(const Vector&)>;

// If there is no memory for the result, the solve refuses and leaves x empty. Otherwise the report must be
// true. Without a failure the solve ends with `last`.
void failEach(const Call& solve, const Truth& relative, SolveStatus last = SOLVE_CONVERGED) {
  const OutputFunction before = stderrF;
  stderrF = silent;
  int refused = 0;
  // later allocations are many and alike, so they fail at growing distances
  for (long k = 0;; k += 1 + k / 40) {
    Vector x;
    SolveReport report{};
    bool happened;
    {
      const allocations::FailAt fail(k);
      report = solve(&x);
      happened = fail.happened();
    }
    if (report.status == SOLVE_BAD_INPUT) {
      ++refused;
      EXPECT_EQ(0, std::string(report.message).find("There is not enough memory")) << report.message;
      EXPECT_EQ(0, x.count) << k;
    } else if (report.status == SOLVE_CONVERGED) {
      EXPECT_LE(relative(x), 1.001e-10) << k;
    }
    if (!happened) {
      EXPECT_EQ(last, report.status) << report.message;
      break;
    }
  }
  EXPECT_GT(refused, 3);
  stderrF = before;
}

Truth residualOf(const Entries& A, const Vector& b, bool leastSquares) {
  return [&A, &b, leastSquares](const Vector& x) {
    return relativeResidual(A.matrix(), A.width(), b, x, leastSquares);
  };
}

// Small enough that a factor improves the solution.
TEST(SolvePathsAllocation, SmallSystemsSayWhetherTheyAreSolved) {
  const Entries A = grid(6, 0.0, 0.0), B = grid(6, 0.2, 0.0);
  const Vector b = Random(1).vector(36);
  failEach([&](Vector* x) { return solvePositiveDefinite(A.matrix(), b, x); }, residualOf(A, b, false));
  failEach([&](Vector* x) { return solveSquare(B.matrix(), b, x); }, residualOf(B, b, false));
  Entries dependent(40, 8);
  Random random(2);
  for (int i = 0; i < 40; ++i) {
    const double value = random.value();
    for (int j = 0; j < 6; ++j) dependent.add(i, j, random.value());
    dependent.add(i, 6, value);
    dependent.add(i, 7, -value);
  }
  const Vector c = random.vector(40);
  failEach([&](Vector* x) { return solveLeastSquares(dependent.matrix(), c, x); },
           residualOf(dependent, c, true));
}

// There are so many unknowns, and the rows are so badly scaled, that the methods without a factor do not
// reach the goal.
TEST(SolvePathsAllocation, SystemsThatNeedAFactorSayWhetherTheyAreSolved) {
  constexpr int n = 80;
  Entries A(n + 5, n);
  Random random(3);
  for (int i = 0; i < n + 5; ++i) {
    const double size = std::pow(10.0, 1.5 * random.value());
    A.add(i, i % n, 2.0 * size);
    A.add(i, (i + 1) % n, -1.9 * size);
  }
  Vector x(n), b(n + 5);
  for (int j = 0; j < n; ++j) x[j] = random.value();
  A.matrix().mult(&x, &b);
  failEach([&](Vector* y) { return solveLeastSquares(A.matrix(), b, y); }, residualOf(A, b, true));

  Entries J(n, n);
  for (int i = 0; i < n; ++i) {
    J.add(i, i, 1.0);
    J.add(i, (i + 1) % n, -0.99);
  }
  Vector mass(n);
  for (int j = 0; j < n; ++j) mass[j] = std::pow(10.0, 1.5 * random.value());
  const Vector c = random.vector(n);
  const auto residual = [&](const Vector& lambda) {
    std::vector<long double> multipliers, t;
    for (int i = 0; i < n; ++i) multipliers.push_back(lambda[i]);
    t = longTransposed(J.matrix(), n, multipliers);
    for (int j = 0; j < n; ++j) t[static_cast<std::size_t>(j)] /= mass[j];
    long double square = 0.0L, whole = 0.0L;
    for (int i = 0; i < n; ++i) {
      const SpVec& row = *J.matrix().rows[i];
      long double r = c[i];
      for (int k = 0; k < 2; ++k) r -= row.values[k] * t[static_cast<std::size_t>(row.indices[k])];
      square += r * r;
      whole += static_cast<long double>(c[i]) * c[i];
    }
    return static_cast<double>(std::sqrt(square / whole));
  };
  failEach([&](Vector* lambda) { return solveConstraints(J.matrix(), &mass, nullptr, c, lambda); }, residual);
}

// Scaling rounds the smallest entries of these systems, so their residuals are computed from the original
// ones.
TEST(SolvePathsAllocation, SystemsOfAWideRangeSayWhetherTheyAreSolved) {
  Entries A(2, 2);
  A.add(0, 0, 4e15);
  A.add(0, 1, 1e-300);
  A.add(1, 0, 1.0);
  const Vector b = vectorOf({-2e-20, 1e-35});
  failEach([&](Vector* x) { return solveSquare(A.matrix(), b, x); }, residualOf(A, b, false));
  failEach([&](Vector* x) { return solveLeastSquares(A.matrix(), b, x); }, residualOf(A, b, true));
}

// The differences of the fourth order of n numbers. Their condition grows as the fourth power of n.
Entries fourthDifferences(int n) {
  FullMatrix A(n, n);
  A.zero();
  const auto second = [n](int i, int j) {
    return i < 0 || i >= n ? 0.0 : i == j ? 2.0 : std::abs(i - j) == 1 ? -1.0 : 0.0;
  };
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      for (int k = i - 1; k <= i + 1; ++k) A.e(i, j) += second(i, k) * second(k, j);
    }
  }
  return Entries(A);
}

TEST(SolvePathsAllocation, SystemsOfALargeConditionSayWhetherTheyAreSolved) {
  const Entries A = fourthDifferences(60), J = fourthDifferences(24);
  const Vector b = Random(5).vector(60), multipliers = Random(6).vector(24);
  Vector force, c;
  J.matrix().multT(&multipliers, &force);
  J.matrix().mult(&force, &c);
  failEach([&](Vector* x) { return solveLeastSquares(A.matrix(), b, x); }, residualOf(A, b, true));
  failEach([&](Vector* lambda) { return solveConstraints(J.matrix(), nullptr, nullptr, c, lambda); },
           [&](const Vector& lambda) {
             J.matrix().multT(&lambda, &force);
             return relativeResidual(J.matrix(), 24, c, force, false);
           });
}

// Every method is tried in vain.
TEST(SolvePathsAllocation, ASystemWithoutASolutionIsNeverCalledSolved) {
  Entries J(3, 3);
  J.add(0, 0, 2.0);
  J.add(2, 1, 1.0);
  Vector c(3);
  c = 1.0;
  failEach([&](Vector* lambda) { return solveConstraints(J.matrix(), nullptr, nullptr, c, lambda); },
           [](const Vector&) { return 1.0; }, SOLVE_STAGNATED);
}

class Products : public SpMat {
 public:
  explicit Products(const HSpMat& matrix) : matrix_(matrix) {}
  void mult(const Vector* x, Vector* y) const override { matrix_.mult(x, y); }
  void multT(const Vector* x, Vector* y) const override { matrix_.multT(x, y); }
  int height() const override { return matrix_.numRows; }
  int width() const override { return matrix_.numRows; }

 private:
  const HSpMat& matrix_;
};

class Halving : public Preconditioner {
 public:
  void solve(const Vector* r, Vector* z) override {
    *z = *r;
    *z *= 0.5;
  }
};

TEST(SolvePathsAllocation, ClassesOfTheCallerAreSolvedOrRefused) {
  const Entries A = grid(5, 0.0, 0.0);
  const Products products(A.matrix());
  const Vector b = Random(4).vector(25);
  Halving halving;
  SolveOptions options;
  options.preconditioner = &halving;
  failEach([&](Vector* x) { return solvePositiveDefinite(products, b, x); }, residualOf(A, b, false));
  failEach([&](Vector* x) { return solveSquare(A.matrix(), b, x, options); }, residualOf(A, b, false));
  failEach([&](Vector* x) { return solveLeastSquares(A.matrix(), b, x, options); }, residualOf(A, b, true));
}

}  // namespace
