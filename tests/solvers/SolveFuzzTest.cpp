// Random systems with random options: no crash, no hang, and the status is true.
//
// LIMBER_SOLVE_FUZZ_SECONDS=600 test_solvers --gtest_filter='SolveFuzz.*' runs for that time.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <limits>

#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"

namespace {

class WildPreconditioner : public Preconditioner {
 public:
  explicit WildPreconditioner(int kind) : kind_(kind) {}
  void solve(const Vector* r, Vector* z) override {
    *z = *r;
    if (kind_ == 1) *z *= -1.0;
    if (kind_ == 2) *z = 0.0;
    if (kind_ == 3) *z *= std::numeric_limits<double>::quiet_NaN();
    if (kind_ == 4) z->grow(r->count + 1);
    for (int i = 0; kind_ == 5 && i < z->count; ++i) z->data[i] *= i % 2 == 0 ? 1e-8 : 1e8;
  }

 private:
  const int kind_;
};

struct Watch {
  int count = 0, stopAt = 0;
  static int observe(int iteration, double rsq, void* data) {
    Watch& watch = *static_cast<Watch*>(data);
    EXPECT_EQ(++watch.count, iteration);
    EXPECT_FALSE(rsq < 0.0);
    return watch.stopAt > 0 && iteration >= watch.stopAt;
  }
};

double wildNumber(Random* random, int spread) {
  return random->value() * std::pow(10.0, spread * random->value());
}

Entries wildMatrix(Random* random, int m, int n, bool symmetric) {
  Entries A(m, n);
  const int spreads[] = {0, 0, 0, 2, 8, 60};
  const int spread = spreads[random->below(6)], perRow = 1 + random->below(6), kind = random->below(6);
  const double diagonal = random->below(3) == 0 ? 0.0 : 5.0 * random->value();
  for (int i = 0; i < m; ++i) {
    if (kind == 5 && random->below(8) == 0) continue;  // rows of zeros
    for (int k = 0; k < perRow; ++k) {
      const int j = kind == 1 ? std::min(n - 1, std::max(0, i + k - perRow / 2)) : random->below(n);
      const double value = kind == 2 ? random->below(3) - 1.0 : wildNumber(random, spread);
      A.add(i, j, value);
      if (symmetric && i < n && j < m) A.add(j, i, value);
    }
    if (i < n && diagonal != 0.0) A.add(i, i, diagonal);
  }
  for (int i = 1; kind == 3 && i < m; i += 3) {  // dependent rows
    for (int k = A.matrix().rows[i - 1]->numEntries - 1; k >= 0; --k) {
      A.add(i, A.matrix().rows[i - 1]->indices[k], A.matrix().rows[i - 1]->values[k]);
    }
  }
  return A;
}

void oneCase(unsigned seed) {
  SCOPED_TRACE(seed);
  Random random(seed);
  const int which = random.below(4);
  const int m = 1 + random.below(random.below(4) == 0 ? 120 : 12);
  const int n = which == 0 || which == 3 ? 1 + random.below(random.below(4) == 0 ? 120 : 12) : m;
  const Entries A = wildMatrix(&random, m, n, which == 1);
  Vector b(m), x, start, mass(n), damp(m);
  const int bSpread = random.below(3) == 0 ? 30 : 0;
  for (int i = 0; i < m; ++i) b[i] = random.below(9) == 0 ? 0.0 : wildNumber(&random, bSpread);
  if (random.below(3) == 0 && which != 3) {  // consistent
    const Vector solution = random.vector(n);
    A.matrix().mult(&solution, &b);
    b.grow(m);
  }
  const int unknowns = which == 3 ? m : n;
  if (random.below(3) == 0) {
    start.grow(unknowns);
    for (int j = 0; j < unknowns; ++j) start[j] = wildNumber(&random, 3);
  }
  for (int j = 0; j < n; ++j) mass[j] = std::fabs(random.value()) + 1e-3;
  for (int i = 0; i < m; ++i) damp[i] = random.below(2) * std::fabs(random.value());
  const int poison = random.below(60);
  if (poison == 0) b[random.below(m)] = std::numeric_limits<double>::quiet_NaN();
  if (poison == 1) A.matrix().rows[0]->insEnd(std::numeric_limits<double>::infinity(), 0);
  x = start;

  SolveOptions options;
  const double goals[] = {1e-10, 1e-10, 1e-6, 1e-14, 0.0, 0.5};
  options.relative = goals[random.below(6)];
  if (random.below(4) == 0) options.maxIterations = 1 + random.below(50);
  WildPreconditioner wild(random.below(6));
  Preconditioner plain;
  const int pre = random.below(8);
  options.preconditioner = pre == 0 ? &wild : pre == 1 ? &plain : nullptr;
  Watch watch;
  watch.stopAt = random.below(5) == 0 ? 1 + random.below(30) : 0;
  options.observer = random.below(2) == 0 ? Watch::observe : nullptr;
  options.observerData = &watch;

  const Vector* const V = random.below(2) == 0 ? &mass : nullptr;
  const Vector* const D = random.below(2) == 0 ? &damp : nullptr;
  const SolveReport report = which == 0   ? solveLeastSquares(A.matrix(), b, &x, options)
                             : which == 1 ? solvePositiveDefinite(A.matrix(), b, &x, options)
                             : which == 2 ? solveSquare(A.matrix(), b, &x, options)
                                          : solveConstraints(A.matrix(), V, D, b, &x, options);
  ASSERT_NE(nullptr, report.message);
  if (poison <= 1) {
    EXPECT_EQ(SOLVE_BAD_INPUT, report.status);
  }
  if (report.status == SOLVE_BAD_INPUT) {
    EXPECT_LE(poison, 1) << report.message;
    EXPECT_EQ(start.count, x.count);
    return;
  }
  if (report.status == SOLVE_STOPPED) {
    EXPECT_TRUE(options.observer && watch.stopAt > 0);
  }
  if (options.observer) {
    EXPECT_EQ(report.iterations, watch.count);
  }
  if (options.maxIterations > 0) {
    EXPECT_LE(report.iterations, options.maxIterations);
  }
  if (options.observer && watch.stopAt > 0) {
    EXPECT_LE(report.iterations, watch.stopAt);
  }
  if (report.status == SOLVE_LIMIT) {
    EXPECT_GT(report.iterations, 0);
  }
  ASSERT_TRUE(x.count == unknowns || report.status == SOLVE_BREAKDOWN);
  for (int j = 0; j < x.count; ++j) ASSERT_TRUE(std::isfinite(x[j]));
  if (which == 3 || x.count != unknowns) return;
  const double truth = relativeResidual(A.matrix(), n, b, x, which == 0);
  // the report is rounded, relative to the size of the terms that cancel
  double size = 0.0, right = 0.0;
  for (int i = 0; i < m; ++i) {
    const SpVec& row = *A.matrix().rows[i];
    right = std::max(right, std::fabs(b[i]));
    for (int k = 0; k < row.numEntries; ++k) {
      size = std::max(size, std::fabs(row.values[k] * x[row.indices[k]]));
    }
  }
  const double slack = 1e-13 * (1.0 + size / std::max(right, 1e-300));
  if (which != 0 && right > 0.0) {
    if (report.status == SOLVE_CONVERGED) {
      EXPECT_LE(truth, options.relative * 1.001 + slack);
    }
    EXPECT_NEAR(truth, report.relativeResidual, 1e-6 * truth + slack);
    Vector from(n);
    if (start.count == n) from = start;
    EXPECT_LE(truth, relativeResidual(A.matrix(), n, b, from, false) * 1.000001 + slack);
  }
}

TEST(SolveFuzz, TheStatusIsTrueForRandomSystemsAndOptions) {
  const char* const wanted = std::getenv("LIMBER_SOLVE_FUZZ_SECONDS");
  const double seconds = wanted ? std::atof(wanted) : 0.0;
  const char* const from = std::getenv("LIMBER_SOLVE_FUZZ_SEED");
  const auto begin = std::chrono::steady_clock::now();
  unsigned seed = from ? static_cast<unsigned>(std::atoi(from)) : 1;
  const unsigned first = seed;
  for (;; ++seed) {
    oneCase(seed);
    if (HasFailure()) break;
    const double gone = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    if (gone >= seconds && seed - first >= 2000) break;
  }
  if (wanted) std::printf("%u systems\n", seed - first);
}

}  // namespace
