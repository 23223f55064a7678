// Systems whose numbers differ by about the range of doubles or more, so that scaling them by a power of two
// costs digits. What the reports say is held against sums in long double, which has more exponents.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <valarray>

#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/Tolerance.h"

namespace {

static_assert(std::numeric_limits<long double>::max_exponent > 10000, "the model needs more exponents");

using Longs = std::valarray<long double>;

// A user-defined class that has only products.
class OnlyProducts final : public SpMat {
 public:
  explicit OnlyProducts(const FullMatrix& matrix) : matrix_(matrix) {}
  void mult(const Vector* x, Vector* y) const override { matrix_.mult(x, y); }
  void multT(const Vector* x, Vector* y) const override { matrix_.multT(x, y); }
  int height() const override { return matrix_.numRows; }
  int width() const override { return matrix_.numColumns; }

 private:
  const FullMatrix& matrix_;
};

enum Kind { LeastSquares, Definite, Square, Constraints };

Longs longs(const Vector& v) {
  Longs result(static_cast<std::size_t>(v.count));
  std::copy(v.begin(), v.end(), std::begin(result));
  return result;
}

long double norm(const Longs& v) { return v.size() > 0 ? std::sqrt((v * v).sum()) : 0.0L; }

struct System {
  FullMatrix A;
  Vector b, mass, damp;  // the last two are used by the constraints

  System(int height, int width) : A(height, width), b(height), mass(width), damp(height) {
    for (int k = 0; k < height * width; ++k) A.e(k / width, k % width) = 0.0;
    b = 0.0;
    mass = 1.0;
    damp = 0.0;
  }
  System(int height, int width, std::initializer_list<double> entries, std::initializer_list<double> right)
      : System(height, width) {
    int k = 0;
    for (const double value : entries) A.e(k / width, k % width) = value, ++k;
    b = vectorOf(right);
  }

  // Solves it in one of four classes of matrices.
  SolveReport solve(Kind kind, int matrixClass, Vector* x,
                    const SolveOptions& options = SolveOptions()) const {
    const Entries rows(A);
    if (kind == Constraints) return solveConstraints(rows.matrix(), &mass, &damp, b, x, options);
    const SlicedMatrix sliced(rows.matrix());
    const OnlyProducts products(A);
    const SpMat* const classes[] = {&rows.matrix(), &sliced, &A, &products};
    return everyKind[kind](*classes[matrixClass], b, x, options);
  }

  // A x and A^T x, or the same with all magnitudes.
  Longs product(const Longs& x, bool transposed, bool magnitudes) const {
    Longs y(static_cast<std::size_t>(transposed ? A.numColumns : A.numRows));
    for (int i = 0; i < A.numRows; ++i) {
      for (int j = 0; j < A.numColumns; ++j) {
        const long double a = magnitudes ? std::fabs(A.e(i, j)) : A.e(i, j);
        y[static_cast<std::size_t>(transposed ? j : i)] +=
            a * x[static_cast<std::size_t>(transposed ? i : j)];
      }
    }
    return y;
  }
  Longs apply(Kind kind, const Longs& x, bool magnitudes) const {
    if (kind != Constraints) return product(x, false, magnitudes);
    return product(product(x, true, magnitudes) / longs(mass), false, magnitudes) + longs(damp) * x;
  }
  // The norm of the residual, and of the magnitudes that cancel in it.
  struct Residual {
    long double norm, terms;
  };
  Residual residual(Kind kind, const Vector& x) const {
    Longs r = longs(b) - apply(kind, longs(x), false),
          terms = abs(longs(b)) + apply(kind, abs(longs(x)), true);
    if (kind == LeastSquares) {
      r = product(r, true, false);
      terms = product(terms, true, true);
    }
    return {norm(r), norm(terms)};
  }
  int unknowns(Kind kind) const { return kind == Constraints ? A.numRows : A.numColumns; }
  long double rightNorm(Kind kind) const {
    Vector zero(unknowns(kind));
    zero = 0.0;
    return residual(kind, zero).norm;
  }
};

// Checks the figures of the report, and that a system that has converged is solved.
void expectTruth(const System& system, Kind kind, const SolveReport& report, const Vector& x,
                 double relative) {
  ASSERT_NE(SOLVE_BAD_INPUT, report.status) << report.message;
  ASSERT_EQ(system.unknowns(kind), x.count);
  const System::Residual truth = system.residual(kind, x);
  const long double right = system.rightNorm(kind), rounding = 1e-16L * (right + truth.terms);
  EXPECT_TRUE(std::fabs(report.relativeResidual * right - truth.norm) <= 1e-6L * truth.norm + rounding)
      << report.relativeResidual << " but " << truth.norm / right << ' ' << report.message;
  if (report.status != SOLVE_CONVERGED) return;
  EXPECT_TRUE(truth.norm <= 1.000001L * relative * right + 0.01L * rounding) << truth.norm / right;
}

// Solves a system in all classes of matrices. It must be solved, and the reports must be true.
void expectSolved(const System& system, std::initializer_list<Kind> kinds) {
  for (const Kind kind : kinds) {
    for (int matrixClass = 0; matrixClass < 4; ++matrixClass) {
      Vector x;
      const SolveReport report = system.solve(kind, matrixClass, &x);
      EXPECT_EQ(SOLVE_CONVERGED, report.status) << kind << ' ' << matrixClass << ' ' << report.message;
      expectTruth(system, kind, report, x, 1e-10);
    }
  }
}

// memcheck computes long double like double.
class SolveWideRange : public ::testing::Test {
 protected:
  void SetUp() override { LIMBER_NEEDS_WIDE_LONG_DOUBLE(); }
};

// The entry 1e-300 has only a few digits after A is scaled so that its largest entry is near 1.
TEST_F(SolveWideRange, SmallEntriesKeepTheirDigitsInTheResidual) {
  expectSolved(
      System(4, 4, {0.0, 0.0, -2.0, 0.75, -2.0, 0.0, 0.0, 1.5, -0.25, 0.0, 0.0, 0.0, 4e15, 1e-300, 0.0, 0.0},
             {-1.0, 4503599e9 + 0.5, -3.0, -2.0}),
      {LeastSquares});
  expectSolved(System(2, 2, {4e15, 1e-300, 1.0, 0.0}, {-2e-20, 1e-35}), {Square});
  expectSolved(System(2, 2, {4e15, 0.0, 0.0, 1e-300}, {1e-5, -1e-30}), {Definite, Square});
}

TEST_F(SolveWideRange, ConstraintsWithMassesAndDampingsOf600DecadesAreSolved) {
  System system(2, 3, {2.0, -1.0, 0.5, 0.0, 1.0, 3.0}, {1.0, -2.0});
  system.mass = vectorOf({1e-300, 1.0, 1e300});
  expectSolved(system, {Constraints});
  system.damp = vectorOf({1e300, 1e-300});
  expectSolved(system, {Constraints});
}

// Once b is scaled so that its largest element is near 1, its smallest element is 0.
TEST_F(SolveWideRange, TheReportCountsElementsOfBThatScalingLoses) {
  const System system(2, 1, {0.0, 1.0}, {1e300, 1e-300});
  for (int matrixClass = 0; matrixClass < 4; ++matrixClass) {
    Vector x;
    const SolveReport report = system.solve(LeastSquares, matrixClass, &x);
    EXPECT_EQ(SOLVE_STAGNATED, report.status);
    EXPECT_STREQ(
        "The residual cannot be made smaller in double precision: some numbers of the system are more than "
        "1e270 "
        "times larger than others. This is the best iterate found.",
        report.message);
    EXPECT_EQ(1.0, report.relativeResidual);
    EXPECT_EQ(1e-300, report.residual);
  }
}

// A^T b is (0, 1e-400), which is no double.
TEST_F(SolveWideRange, ARightHandSideBelowTheDoublesIsNotZero) {
  const System system(3, 2, {1.0, 0.0, 0.0, 0.0, 0.0, 1e-200}, {0.0, 1.0, 1e-200});
  Vector x;
  const SolveReport report = system.solve(LeastSquares, 0, &x);
  expectTruth(system, LeastSquares, report, x, 1e-10);
}

TEST_F(SolveWideRange, ARightHandSideThatCancelsInPlainSumsIsNotZero) {
  const System system(3, 1, {1.0, 1.0, 1.0}, {1.0, 1e-20, -1.0});
  Vector x;
  EXPECT_EQ(SOLVE_CONVERGED, system.solve(LeastSquares, 0, &x).status);
  EXPECT_TRUE(tolerance::relative(1e-20 / 3.0, x[0], 1e-12)) << x[0];
  const System orthogonal(2, 1, {1.0, -1.0}, {1.0, 1.0});
  x = Vector();
  const SolveReport report = orthogonal.solve(LeastSquares, 0, &x);
  EXPECT_EQ(SOLVE_CONVERGED, report.status);
  EXPECT_EQ(0.0, report.relativeResidual);
  EXPECT_EQ(0.0, x[0]);
}

// In the units of the solve, the solution is above 2^900.
TEST_F(SolveWideRange, LargeSolutionsOfConstraintsAreJudgedInTwiceThePrecision) {
  System system(3, 1, {-5.0380605068820095e-220, -0.71502891508862376, 0.0},
                {1.9057699314841988e-146, 7.5318462412290653e-31, 0.17080137878656387});
  system.mass = vectorOf({4.0});
  system.damp = vectorOf({0.0, 2.0, 2.0});
  Vector x;
  const SolveReport report = system.solve(Constraints, 0, &x);
  expectTruth(system, Constraints, report, x, 1e-10);
}

// In the units of the solve, the start is above the largest double.
TEST_F(SolveWideRange, AStartThatOverflowsIsKeptIfItIsBetter) {
  const System system(2, 2, {0x1p600, 0.0, 0.0, 0x1p-500}, {0.0, 0x1p200});
  for (const Kind kind : {Definite, Square}) {
    Vector x = vectorOf({0.0, 0x1.8p700});
    const SolveReport report = system.solve(kind, 0, &x);
    EXPECT_EQ(0x1.8p700, x[1]);
    EXPECT_EQ(0.5, report.relativeResidual);
    x[1] = 0x1p700;
    EXPECT_EQ(SOLVE_CONVERGED, system.solve(kind, 0, &x).status);
    EXPECT_EQ(0x1p700, x[1]);
  }
}

// The first unknown is below the doubles. Without it, the other one makes the residual larger than that of
// zero.
TEST_F(SolveWideRange, ASolutionThatUnderflowsIsNotWorseThanTheStart) {
  const System system(2, 2, {-1.25e-99, 1e200, -1.5e-100, -1.25e-100}, {-4.0, 0.0});
  Vector x;
  const SolveReport report = system.solve(Constraints, 0, &x);
  EXPECT_EQ(SOLVE_STAGNATED, report.status);
  EXPECT_STREQ("The solution is too small for doubles: numbers below 1e-307 lose digits.", report.message);
  EXPECT_EQ(1.0, report.relativeResidual);
  ASSERT_EQ(2, x.count);
  EXPECT_EQ(0.0, x[1]);
}

TEST_F(SolveWideRange, TheScaleOfSuchASystemDoesNotMatter) {
  const auto system = [](int onA, int onB) {
    System scaled(3, 3, {0x1p550, 0.0, 0x1.8p500, 0.0, 0x1.4p-480, 0.0, 0x1p490, 0x1.1p-400, 0x1.3p510},
                  {1.0, 0.75, -0.25});
    for (int k = 0; k < 9; ++k) scaled.A.e(k / 3, k % 3) = std::ldexp(scaled.A.e(k / 3, k % 3), onA);
    for (double& v : scaled.b) v = std::ldexp(v, onB);
    return scaled;
  };
  for (const Kind kind : {LeastSquares, Square}) {
    Vector x;
    const SolveReport first = system(0, 0).solve(kind, 0, &x);
    for (const int k : {-400, -1, 3, 400}) {
      Vector y;
      const SolveReport report = system(k, k).solve(kind, 0, &y);
      EXPECT_EQ(first.status, report.status);
      EXPECT_EQ(first.iterations, report.iterations);
      EXPECT_EQ(first.products, report.products);
      EXPECT_EQ(first.relativeResidual, report.relativeResidual);
      ASSERT_EQ(x.count, y.count);
      EXPECT_TRUE(tolerance::sameBits(x.data, y.data, x.count)) << k;
    }
  }
}

TEST_F(SolveWideRange, ReportsOfRandomSystemsAreTrue) {
  int solved[4] = {};
  for (unsigned seed = 1; seed <= 600; ++seed) {
    Random random(seed);
    const Kind kind = static_cast<Kind>(seed % 4);
    const int m = 1 + random.below(6), n = kind == Definite || kind == Square ? m : 1 + random.below(6);
    const auto wide = [&random] {
      const int power = static_cast<int>(1000.0 * random.value());
      return std::ldexp(random.value(), power);
    };
    System system(m, n);
    for (int i = 0; i < m; ++i) {
      for (int j = 0; j < n; ++j) {
        if (random.below(3) == 0) system.A.e(i, j) = random.value();
      }
      if (i < n) system.A.e(i, i) = wide();
      system.b[i] = random.below(3) == 0 ? wide() : random.value();
      system.damp[i] = random.below(3) == 0 ? std::fabs(wide()) : random.below(3);
    }
    for (double& mass : system.mass) mass = random.below(2) ? std::fabs(wide()) : 1.0 + random.below(5);
    for (int i = 0; kind == Definite && i < m; ++i) {
      system.A.e(i, i) = std::fabs(system.A.e(i, i));
      for (int j = 0; j < i; ++j) system.A.e(i, j) = system.A.e(j, i);
    }
    SolveOptions options;
    options.relative = seed % 3 == 0 ? 1e-6 : 1e-10;
    Vector x;
    if (random.below(3) == 0) x = random.vector(system.unknowns(kind));
    const SolveReport report = system.solve(kind, random.below(4), &x, options);
    if (x.count != system.unknowns(kind)) {
      EXPECT_EQ(SOLVE_BREAKDOWN, report.status) << seed;  // the solution is too large
      continue;
    }
    SCOPED_TRACE(seed);
    expectTruth(system, kind, report, x, options.relative);
    solved[kind] += report.status == SOLVE_CONVERGED;
  }
  for (const int count : solved) EXPECT_GT(count, 20);
}

}  // namespace
