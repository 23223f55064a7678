// Large matrices that are not row-sparse.
#include <gtest/gtest.h>

#include <new>

#include "limber/linalg/SlicedMatrix.h"
#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/CapturedOutput.h"

namespace {

constexpr int n = 4225;

// A user-defined class that has only products.
class Products final : public SpMat {
 public:
  explicit Products(const HSpMat& A) : A_(A) {}
  int height() const override { return A_.numRows; }
  int width() const override { return A_.numRows; }
  void mult(const Vector* x, Vector* y) const override {
    ++count;
    A_.mult(x, y);
  }
  void multT(const Vector* x, Vector* y) const override {
    ++count;
    A_.multT(x, y);
  }
  mutable int count = 0;

 private:
  const HSpMat& A_;
};

// A user-defined class without a product with the transpose.
class WithoutTranspose final : public SpMat {
 public:
  int height() const override { return n; }
  int width() const override { return n; }
  void mult(const Vector* x, Vector* y) const override { *y = *x; }
};

// D A D for a grid A. Only scaling by the diagonal makes it well conditioned.
Entries graded(double convection) {
  const Entries plain = grid(65, convection, 0.0);
  Entries A(n, n);
  const auto factor = [](int i) { return std::pow(10.0, 1.5 * std::sin(7.0 * i)); };
  for (int i = 0; i < n; ++i) {
    const SpVec& row = *plain.matrix().rows[i];
    for (int k = 0; k < row.numEntries; ++k) {
      A.add(i, row.indices[k], factor(i) * row.values[k] * factor(row.indices[k]));
    }
  }
  return A;
}

using Solve = SolveReport (*)(const SpMat&, const Vector&, Vector*, const SolveOptions&);

TEST(SolveLargeClasses, LeastSquaresRefuseAClassWithoutProductsWithTheTranspose) {
  const CapturedOutput output;
  const Vector b = Random(1).vector(n);
  Vector x(n);
  x = 2.0;
  const SolveReport report = solveLeastSquares(WithoutTranspose(), b, &x);
  EXPECT_EQ(report.status, SOLVE_BAD_INPUT) << report.message;
  EXPECT_EQ(x[0], 2.0);
  // Without the transpose, a right-hand side of zeros still has the solution zero.
  Vector zeros(n), y;
  EXPECT_EQ(solveLeastSquares(WithoutTranspose(), zeros, &y).status, SOLVE_CONVERGED);
}

// In the units of the solve, the last unknown is above 2^900, where products are not split.
TEST(SolveLargeClasses, LargeUnknownsAreJudgedByTheProductsOfTheClass) {
  class Diagonal final : public SpMat {
   public:
    int height() const override { return n; }
    int width() const override { return n; }
    void mult(const Vector* x, Vector* y) const override {
      *y = *x;
      (*y)[n - 1] *= 0x1p-950;
    }
    void multT(const Vector* x, Vector* y) const override { mult(x, y); }
  };
  Vector b(n), x(n);
  b = 1.0;
  x = 1.0;
  x[n - 1] = 0x1p950;
  for (const Solve solve : everyKind) {
    const SolveReport report = solve(Diagonal(), b, &x, SolveOptions());
    EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
    EXPECT_EQ(0.0, report.residual);
    EXPECT_EQ(0, report.iterations);
  }
  x[n - 1] = 0x1p949;
  SolveOptions rough;
  rough.relative = 0.5;
  EXPECT_EQ(0.5 / 65.0, solveSquare(Diagonal(), b, &x, rough).relativeResidual);
}

TEST(SolveLargeClasses, ARightHandSideOutsideTheRangeHasTheSolutionZero) {
  Entries A(n, n - 1);
  for (int i = 0; i + 1 < n; ++i) A.add(i, i, 1.0 + i % 7);
  class Tall final : public SpMat {
   public:
    explicit Tall(const HSpMat& A) : A_(A) {}
    int height() const override { return n; }
    int width() const override { return n - 1; }
    void mult(const Vector* x, Vector* y) const override { A_.mult(x, y); }
    void multT(const Vector* x, Vector* y) const override { A_.multT(x, y); }

   private:
    const HSpMat& A_;
  };
  Vector b(n), x;
  b[n - 1] = 1.0;
  EXPECT_EQ(solveLeastSquares(Tall(A.matrix()), b, &x).status, SOLVE_CONVERGED);
  EXPECT_EQ(x.mag(), 0.0);
}

TEST(SolveLargeClasses, ASlicedMatrixIsSolvedAsItsRowsAre) {
  const Entries A = graded(0.0);
  const SlicedMatrix sliced(A.matrix());
  const Vector b = Random(1).vector(n);
  for (const Solve solve : {solvePositiveDefinite, solveSquare, solveLeastSquares}) {
    SolveOptions options;
    options.maxIterations = 300;
    Vector x, y;
    const SolveReport rows = solve(A.matrix(), b, &x, options), slices = solve(sliced, b, &y, options);
    EXPECT_EQ(rows.status, slices.status);
    EXPECT_EQ(rows.iterations, slices.iterations);
    EXPECT_EQ(rows.residual, slices.residual);
    ASSERT_EQ(n, x.count);
    ASSERT_EQ(n, y.count);
    for (int j = 0; j < n; ++j) ASSERT_EQ(x[j], y[j]);
  }
}

TEST(SolveLargeClasses, WhatProductsAloneDoNotSolveIsCopiedColumnByColumn) {
  const Entries A = graded(0.2);
  const Products products(A.matrix());
  const Vector b = Random(2).vector(n);
  Vector x;
  const SolveReport report = solveSquare(products, b, &x);
  EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
  EXPECT_LE(relativeResidual(A.matrix(), n, b, x, false), 1e-8);
  EXPECT_GE(products.count, n);
  EXPECT_LE(products.count, 4 * n);
}

TEST(SolveLargeClasses, WhatProductsSolveIsNotCopied) {
  const Entries A = grid(65, 0.0, 0.0);
  const Products products(A.matrix());
  const Vector b = Random(3).vector(n);
  Vector x;
  const SolveReport report = solvePositiveDefinite(products, b, &x);
  EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
  EXPECT_LE(relativeResidual(A.matrix(), n, b, x, false), 1.01e-10);
  EXPECT_LE(products.count, 1000);
}

// A user-defined class that cannot be copied, because its products with unit vectors fail or are not finite.
// The last row is empty.
class NoCopy final : public SpMat {
 public:
  explicit NoCopy(bool fails) : fails_(fails) {}
  int height() const override { return n; }
  int width() const override { return n; }
  void mult(const Vector* x, Vector* y) const override {
    int used = 0;
    for (int i = 0; i < n; ++i) used += (*x)[i] != 0.0;
    if (used == 1 && fails_) throw std::bad_alloc();
    for (int i = 0; i < n - 1; ++i) (*y)[i] = (1.0 + i % 5) * (*x)[i];
    if (used == 1) (*y)[0] = HUGE_VAL;
  }
  void multT(const Vector* x, Vector* y) const override {
    for (int i = 0; i < n - 1; ++i) (*y)[i] = (1.0 + i % 5) * (*x)[i];
  }

 private:
  const bool fails_;
};

TEST(SolveLargeClasses, WhatCannotBeCopiedIsSolvedByItsProductsAsFarAsPossible) {
  const Vector b = Random(4).vector(n);
  for (const bool fails : {false, true}) {
    for (const Solve solve : {solveSquare, solveLeastSquares}) {
      Vector x;
      const SolveReport report = solve(NoCopy(fails), b, &x, SolveOptions());
      // the last equation is 0 = b
      EXPECT_EQ(solve == solveSquare ? SOLVE_STAGNATED : SOLVE_CONVERGED, report.status) << report.message;
      ASSERT_EQ(n, x.count);
      for (int i = 0; i < n - 1; ++i) EXPECT_NEAR(b[i] / (1.0 + i % 5), x[i], 1e-8) << i;
    }
  }
}

// -z is not positive definite.
class Opposite : public Preconditioner {
 public:
  void solve(const Vector* r, Vector* z) override {
    *z = *r;
    *z *= -1.0;
  }
};

TEST(SolveLargeClasses, WithProductsAloneABadPreconditionerIsReported) {
  const Entries A = grid(65, 0.0, 0.0);
  const Products products(A.matrix());
  Opposite opposite;
  SolveOptions options;
  options.preconditioner = &opposite;
  Vector x;
  const SolveReport report = solvePositiveDefinite(products, Random(5).vector(n), &x, options);
  EXPECT_EQ(SOLVE_BREAKDOWN, report.status);
  EXPECT_STREQ("The preconditioner is not positive definite, or does not give finite numbers.",
               report.message);
}

}  // namespace
