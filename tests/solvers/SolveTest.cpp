#include "limber/solvers/Solve.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "tests/solvers/NoTypeInformation.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/Tolerance.h"

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// | 4 1 | x = | 1 |, x = (1, 7) / 11
// | 1 3 |     | 2 |
struct Tiny {
  FullMatrix A{2, 2};
  Vector b{2};
  Tiny() {
    A.e(0, 0) = 4.0;
    A.e(0, 1) = A.e(1, 0) = 1.0;
    A.e(1, 1) = 3.0;
    b[0] = 1.0;
    b[1] = 2.0;
  }
};

struct Calls {
  int count = 0, stopAt = -1;
  std::vector<double> squares;
  static int observe(int iteration, double rsq, void* data) {
    Calls& calls = *static_cast<Calls*>(data);
    EXPECT_EQ(++calls.count, iteration);
    calls.squares.push_back(rsq);
    return iteration == calls.stopAt;
  }
};

TEST(Solve, SolvesTwoByTwoSystemsOfEveryKind) {
  const Tiny tiny;
  for (const Solve solve : everyKind) {
    Vector x;
    const SolveReport report = solve(tiny.A, tiny.b, &x, SolveOptions());
    EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
    ASSERT_EQ(2, x.count);
    EXPECT_TRUE(tolerance::close(1.0 / 11.0, x[0], 1e-15));
    EXPECT_TRUE(tolerance::close(7.0 / 11.0, x[1], 1e-15));
    EXPECT_LE(report.relativeResidual, 1e-15);
    EXPECT_GT(report.iterations, 0);
    EXPECT_GT(report.products, 0);
    EXPECT_GE(report.seconds, 0.0);
  }
}

TEST(Solve, RefusesBadInputAndLeavesXUntouched) {
  const Tiny tiny;
  const auto refused = [](const char* what, const SpMat& A, const Vector& b, const Vector& start,
                          const SolveOptions& options) {
    for (const Solve solve : everyKind) {
      Vector x(start);
      const SolveReport report = solve(A, b, &x, options);
      EXPECT_EQ(SOLVE_BAD_INPUT, report.status) << what;
      ASSERT_EQ(start.count, x.count) << what;
      EXPECT_EQ(0, std::memcmp(start.data, x.data, sizeof(double) * static_cast<std::size_t>(x.count)))
          << what;
    }
  };
  const SolveOptions plain;
  Vector start(2), longer(3);
  start[0] = 5.0;
  refused("a longer start", tiny.A, tiny.b, longer, plain);
  refused("a longer right-hand side", tiny.A, longer, start, plain);
  for (const double bad : {nan, inf, -inf}) {
    Tiny broken;
    broken.A.e(1, 0) = bad;
    refused("the matrix", broken.A, tiny.b, start, plain);
    broken = Tiny();
    Vector b(tiny.b);
    b[1] = bad;
    refused("the right-hand side", tiny.A, b, start, plain);
    Vector x(start);
    x[1] = bad;
    refused("the start", tiny.A, tiny.b, x, plain);
  }
  SolveOptions options;
  options.relative = -1.0;
  refused("a negative goal", tiny.A, tiny.b, start, options);
  options.relative = nan;
  refused("no goal", tiny.A, tiny.b, start, options);
  options = plain;
  options.maxIterations = -1;
  refused("a negative limit", tiny.A, tiny.b, start, options);
  for (const Solve solve : everyKind) {
    EXPECT_EQ(SOLVE_BAD_INPUT, solve(tiny.A, tiny.b, nullptr, plain).status);
  }
  Vector x;
  const FullMatrix wide(2, 3);
  EXPECT_EQ(SOLVE_BAD_INPUT, solveSquare(wide, tiny.b, &x).status);
  EXPECT_EQ(SOLVE_BAD_INPUT, solvePositiveDefinite(wide, tiny.b, &x).status);
}

TEST(Solve, RefusesEntriesInNegativeColumns) {
  Entries A(1, 1);
  A.add(0, 0, 1.0);
  A.matrix().rows[0]->indices[0] = -1;
  const Vector b(1);
  Vector x;
  for (const Solve solve : everyKind)
    EXPECT_EQ(SOLVE_BAD_INPUT, solve(A.matrix(), b, &x, SolveOptions()).status);
}

TEST(Solve, AddsUpDuplicatesAndTakesEntriesInAnyOrder) {
  Entries A(2, 2);
  A.add(0, 1, 1.0);
  A.add(0, 0, 3.0);
  A.add(0, 0, 1.0);
  A.add(1, 1, 3.0);
  A.add(1, 0, 1.0);
  const Tiny tiny;
  for (const Solve solve : everyKind) {
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solve(A.matrix(), tiny.b, &x, SolveOptions()).status);
    EXPECT_TRUE(tolerance::close(7.0 / 11.0, x[1], 1e-15));
  }
}

TEST(Solve, TakesEmptySystems) {
  const HSpMat none(0);
  for (const Solve solve : everyKind) {
    Vector x;
    const SolveReport report = solve(none, Vector(), &x, SolveOptions());
    EXPECT_EQ(SOLVE_CONVERGED, report.status);
    EXPECT_EQ(0, x.count);
    EXPECT_EQ(0, report.iterations);
  }
}

TEST(Solve, AnswersZeroWithZeroOrWithAStartThatSolvesIt) {
  Entries A(2, 2);
  A.add(0, 0, 1.0);  // the second unknown is free
  for (const Solve solve : everyKind) {
    Vector x(2);
    x[1] = 3.0;
    EXPECT_EQ(SOLVE_CONVERGED, solve(A.matrix(), Vector(2), &x, SolveOptions()).status);
    EXPECT_EQ(3.0, x[1]);
    x[0] = 1.0;
    EXPECT_EQ(SOLVE_CONVERGED, solve(A.matrix(), Vector(2), &x, SolveOptions()).status);
    EXPECT_EQ(0.0, x[0]);
    EXPECT_EQ(0.0, x[1]);
  }
}

TEST(Solve, KeepsAStartThatIsGoodEnough) {
  const Tiny tiny;
  for (const Solve solve : everyKind) {
    Vector x(2);
    x[0] = 1.0 / 11.0 + 1e-13;
    x[1] = 7.0 / 11.0;
    const double before = x[0];
    const SolveReport report = solve(tiny.A, tiny.b, &x, SolveOptions());
    EXPECT_EQ(SOLVE_CONVERGED, report.status);
    EXPECT_EQ(0, report.iterations);
    EXPECT_EQ(before, x[0]);
  }
}

TEST(Solve, SaysThatTheIterationsAreUsedUpAndIsNeverWorseThanTheStart) {
  const Entries A = grid(20, 0.0, 0.0);
  Random random(3);
  const Vector b = random.vector(400), start = random.vector(400);
  for (const Solve solve : everyKind) {
    for (const int limit : {1, 2, 3, 5, 8}) {
      SolveOptions options;
      options.maxIterations = limit;
      Vector x(start);
      const SolveReport report = solve(A.matrix(), b, &x, options);
      EXPECT_EQ(SOLVE_LIMIT, report.status);
      EXPECT_EQ(limit, report.iterations);
      const bool normal = solve == leastSquares;
      EXPECT_LE(relativeResidual(A.matrix(), 400, b, x, normal),
                relativeResidual(A.matrix(), 400, b, start, normal));
    }
  }
}

// A bound for the rounding of relativeResidual, which is far below that of a residual in doubles.
double roundingInLongDouble(const HSpMat& A, const Vector& b, const Vector& x) {
  double sizeOfB = 0.0, products = 0.0;
  for (int i = 0; i < A.numRows; ++i) {
    sizeOfB += std::fabs(b[i]);
    for (const auto [j, value] : A.rows[i]->entries()) products += std::fabs(value * x[j]);
  }
  return 0x1p-58 * (sizeOfB + products) / sizeOfB;
}

// Unknowns of very different sizes, whose products may cancel by luck where their rounding is large. Every
// second start is random, and the solve after that begins where the one before has ended.
TEST(Solve, IsNeverWorseThanTheStartInGradedSystems) {
  LIMBER_NEEDS_WIDE_LONG_DOUBLE();
  constexpr int n = 6;
  Random random(7);
  for (int trial = 0; trial < 2000; ++trial) {
    SCOPED_TRACE(trial);
    Vector size(n);
    for (int i = 0; i < n; ++i) size[i] = std::ldexp(1.0, random.below(61) - 30);
    Entries A(n, n);
    for (int i = 0; i < n; ++i) {
      for (int j = i / 2 * 2; j < i / 2 * 2 + 2; ++j) {
        A.add(i, j, (i == j ? 1.0 : 0.7 + 0.05 * (i / 2)) * size[i] * size[j]);
      }
    }
    const Vector b = random.vector(n);
    const Vector start = trial % 2 == 0 ? Vector(n) : random.vector(n);
    for (const Solve solve : {solvePositiveDefinite, solveSquare}) {
      SolveOptions options;
      options.maxIterations = 1 + trial / 2 % 3;
      Vector x(start);
      for (int again = 0; again < 2; ++again) {
        const double before = relativeResidual(A.matrix(), n, b, x, false);
        const double rounding = roundingInLongDouble(A.matrix(), b, x);
        const SolveReport report = solve(A.matrix(), b, &x, options);
        const double after = relativeResidual(A.matrix(), n, b, x, false);
        const double tolerance = rounding + roundingInLongDouble(A.matrix(), b, x);
        EXPECT_LE(after, before + tolerance);
        if (report.status != SOLVE_CONVERGED) {
          EXPECT_LE(std::fabs(report.relativeResidual - after), tolerance);
        }
        options.relative = 0.0;
      }
    }
  }
}

TEST(Solve, CallsTheObserverOnceAnIterationWithTheSquaredResidual) {
  const Entries A = grid(20, 0.0, 0.0);
  const Vector b = Random(4).vector(400);
  for (const Solve solve : everyKind) {
    Calls calls;
    SolveOptions options;
    options.observer = Calls::observe;
    options.observerData = &calls;
    Vector x;
    const SolveReport report = solve(A.matrix(), b, &x, options);
    EXPECT_EQ(SOLVE_CONVERGED, report.status);
    EXPECT_EQ(report.iterations, calls.count);
    // the residual of the method is near the recomputed one at the end, except for rounding
    const double last = std::sqrt(calls.squares.back());
    EXPECT_LE(std::fabs(report.residual - last), 0.1 * report.residual + 1e-13);
  }
}

TEST(Solve, EndsWithTheBestIterateWhenTheObserverSaysSo) {
  const Entries A = grid(20, 0.2, 0.0);
  const Vector b = Random(5).vector(400);
  for (const Solve solve : {leastSquares, solveSquare}) {
    Calls calls;
    calls.stopAt = 4;
    SolveOptions options;
    options.observer = Calls::observe;
    options.observerData = &calls;
    Vector x;
    const SolveReport report = solve(A.matrix(), b, &x, options);
    EXPECT_EQ(SOLVE_STOPPED, report.status);
    EXPECT_EQ(4, report.iterations);
    EXPECT_EQ(4, calls.count);
    EXPECT_LT(report.relativeResidual, 1.0);
    EXPECT_TRUE(tolerance::relative(relativeResidual(A.matrix(), 400, b, x, solve == leastSquares),
                                    report.relativeResidual, 1e-9));
  }
}

TEST(Solve, SaysThatAMatrixIsNotPositiveDefiniteOrNotSymmetric) {
  const Vector b = Random(6).vector(144);
  Vector x;
  const SolveReport shifted = solvePositiveDefinite(grid(12, 0.0, 3.0).matrix(), b, &x);
  EXPECT_EQ(SOLVE_BREAKDOWN, shifted.status);
  EXPECT_STREQ("The matrix is not positive definite; solveSquare takes it.", shifted.message);
  x = Vector();
  const SolveReport skewed = solvePositiveDefinite(grid(12, 0.3, 0.0).matrix(), b, &x);
  EXPECT_EQ(SOLVE_BREAKDOWN, skewed.status);
  EXPECT_EQ(0, std::string(skewed.message).find("The matrix is not symmetric; solveSquare takes it."));
  EXPECT_EQ(0, skewed.iterations);
}

TEST(Solve, SaysThatAnInconsistentSystemHasNoSolution) {
  Entries A(3, 3);
  A.add(0, 0, 1.0);
  A.add(1, 1, 2.0);  // 0 = 1 in the last row
  Vector b(3);
  b[0] = b[1] = b[2] = 1.0;
  for (const Solve solve : {solvePositiveDefinite, solveSquare}) {
    Vector x;
    const SolveReport report = solve(A.matrix(), b, &x, SolveOptions());
    EXPECT_EQ(SOLVE_STAGNATED, report.status);
    EXPECT_TRUE(tolerance::close(1.0, x[0], 1e-9));
    EXPECT_TRUE(tolerance::close(0.5, x[1], 1e-9));
    EXPECT_TRUE(tolerance::close(1.0, report.residual, 1e-9));
  }
  Vector x;
  EXPECT_EQ(SOLVE_CONVERGED, solveLeastSquares(A.matrix(), b, &x).status);
  b[2] = 0.0;
  for (const Solve solve : everyKind) {
    Vector consistent;
    EXPECT_EQ(SOLVE_CONVERGED, solve(A.matrix(), b, &consistent, SolveOptions()).status);
  }
}

TEST(Solve, SaysThatASolutionDoesNotFitIntoDoubles) {
  FullMatrix A(1, 1);
  A.e(0, 0) = 1e-200;
  Vector b(1);
  b[0] = 1e200;
  for (const Solve solve : everyKind) {
    Vector x(1);
    x[0] = 7.0;
    EXPECT_EQ(SOLVE_BREAKDOWN, solve(A, b, &x, SolveOptions()).status);
    EXPECT_EQ(7.0, x[0]);
  }
}

class HalvingPreconditioner : public Preconditioner {
 public:
  int calls = 0;
  double factor = 0.5;
  void solve(const Vector* r, Vector* z) override {
    ++calls;
    *z = *r;
    *z *= factor;
  }
};

TEST(Solve, AsksTheCallersPreconditionerFirst) {
  const Entries A = grid(12, 0.0, 0.0);
  const Vector b = Random(7).vector(144);
  for (const Solve solve : everyKind) {
    HalvingPreconditioner mine;
    SolveOptions options;
    options.preconditioner = &mine;
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solve(A.matrix(), b, &x, options).status);
    EXPECT_GT(mine.calls, 10);
    // a preconditioner that returns NaN does no harm
    mine.factor = nan;
    x = Vector();
    EXPECT_EQ(SOLVE_CONVERGED, solve(A.matrix(), b, &x, options).status);
    EXPECT_LE(relativeResidual(A.matrix(), 144, b, x, solve == leastSquares), 1e-10);
  }
}

TEST(Solve, TakesAPlainPreconditionerAsTheIdentity) {
  const Entries A = grid(12, 0.0, 0.0);
  const Vector b = Random(8).vector(144);
  Preconditioner identity;
  HalvingPreconditioner none;
  none.factor = 1.0;
  SolveOptions first, second;
  first.preconditioner = &identity;
  second.preconditioner = &none;
  for (const Solve solve : {solvePositiveDefinite, solveSquare}) {
    Vector x, y;
    const SolveReport one = solve(A.matrix(), b, &x, first), two = solve(A.matrix(), b, &y, second);
    EXPECT_EQ(one.iterations, two.iterations);
    EXPECT_TRUE(tolerance::sameBits(x.data, y.data, 144));
  }
}

TEST(Solve, ReadsAndChangesNoTuningVariable) {
  const Tiny tiny;
  cg_tol = 1e9;
  cg_maxIters = 0;
  cgradDefinizer = 5.0;
  for (const Solve solve : everyKind) {
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solve(tiny.A, tiny.b, &x, SolveOptions()).status);
    EXPECT_TRUE(tolerance::close(7.0 / 11.0, x[1], 1e-15));
  }
  EXPECT_EQ(1e9, cg_tol);
  EXPECT_EQ(0, cg_maxIters);
  EXPECT_EQ(5.0, cgradDefinizer);
  cg_tol = 0.1;
  cg_maxIters = 3;
  cgradDefinizer = -1.0;
}

// A chain needs about as many iterations as it has links. Its factor costs as much as a few iterations.
TEST(Solve, TakesTheFactorOfANarrowBandBeforeManyIterations) {
  constexpr int n = 5000;
  Entries A(n, n);
  for (int i = 0; i < n; ++i) {
    if (i > 0) A.add(i, i - 1, -1.0);
    A.add(i, i, 2.0);
    if (i + 1 < n) A.add(i, i + 1, -1.0);
  }
  const Vector b = Random(31).vector(n);
  Vector x;
  const SolveReport report = solvePositiveDefinite(A.matrix(), b, &x);
  EXPECT_EQ(SOLVE_CONVERGED, report.status);
  EXPECT_LE(report.iterations, 50);
  EXPECT_LE(relativeResidual(A.matrix(), n, b, x, false), 1e-8);
}

// Incomplete factors do not help here, and the columns of the factor share most of their rows.
TEST(Solve, SolvesRandomSquareSystemsByTheirFactor) {
  for (const unsigned seed : {1u, 2u, 3u}) {
    Random random(seed);
    constexpr int n = 300;
    Entries A(n, n);
    for (int i = 0; i < n; ++i) {
      for (int k = 0; k < 5; ++k) A.add(i, random.below(n), random.value());
      A.add(i, i, 0.1);
    }
    const Vector b = random.vector(n);
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solveSquare(A.matrix(), b, &x).status);
    EXPECT_LE(relativeResidual(A.matrix(), n, b, x, false), 1e-8);
  }
}

}  // namespace
