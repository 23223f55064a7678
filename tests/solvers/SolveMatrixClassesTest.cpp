// The front door with structured matrices and with matrix classes that the caller wrote.
#include <gtest/gtest.h>

#include "limber/solvers/Solve.h"
#include "tests/solvers/NoTypeInformation.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/Tolerance.h"

namespace {

// A user-defined class that has only products.
class OnlyProducts : public SpMat {
 public:
  explicit OnlyProducts(const HSpMat& matrix) : matrix_(matrix) {}
  void mult(const Vector* x, Vector* y) const override { matrix_.mult(x, y); }
  void multT(const Vector* x, Vector* y) const override { matrix_.multT(x, y); }
  int height() const override { return matrix_.height(); }
  int width() const override { return matrix_.width(); }

 private:
  const HSpMat& matrix_;
};

TEST(Solve, TakesMatricesOfTheCallersClassByTheirProducts) {
  for (const int k : {12, 70}) {  // the first is copied by products, the second one is only multiplied by
    const Entries A = grid(k, 0.0, 0.0);
    const OnlyProducts products(A.matrix());
    const Vector b = Random(9).vector(k * k);
    for (const Solve solve : everyKind) {
      Vector x;
      const SolveReport report = solve(products, b, &x, SolveOptions());
      EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
      EXPECT_LE(relativeResidual(A.matrix(), k * k, b, x, solve == leastSquares), 1.001e-10);
    }
  }
}

TEST(Solve, TakesStructuredMatrices) {
  const int n = 6;
  Random random(10);
  const Vector b = random.vector(n);
  IdentityMatrix identity(n);
  identity.s = 3.0;
  DiagonalMatrix diagonal(n);
  BandedMatrix band(n, 4);
  for (int i = 0; i < n; ++i) {
    diagonal.diag->e(i) = i + 1.0;
    band.e(i, i) = 4.0;
    if (i > 0) band.e(i, i - 1) = 1.0;
    if (i < n - 1) band.e(i, i + 1) = 1.0;
  }
  for (const Solve solve : everyKind) {
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solve(identity, b, &x, SolveOptions()).status);
    for (int i = 0; i < n; ++i) EXPECT_TRUE(tolerance::relative(b[i] / 3.0, x[i], 1e-9));
    x = Vector();
    EXPECT_EQ(SOLVE_CONVERGED, solve(diagonal, b, &x, SolveOptions()).status);
    for (int i = 0; i < n; ++i) EXPECT_TRUE(tolerance::relative(b[i] / (i + 1.0), x[i], 1e-9));
    x = Vector();
    EXPECT_EQ(SOLVE_CONVERGED, solve(band, b, &x, SolveOptions()).status);
    Vector y(n);
    band.mult(&x, &y);
    for (int i = 0; i < n; ++i) EXPECT_TRUE(tolerance::close(b[i], y[i], 1e-9));
  }
}

TEST(Solve, TakesTheBlocksOfAQuadraticProgram) {
  FullMatrix H(3, 3), J(1, 3);
  for (int i = 0; i < 3; ++i) {
    H.e(i, i) = 2.0 + i;
    J.e(0, i) = 1.0;
  }
  SQPMatrix program(&H, &J);
  program.hessianShift = 0.5;
  Random random(11);
  const Vector b = random.vector(4);
  for (const Solve solve : {solveLeastSquares, solveSquare}) {
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solve(program, b, &x, SolveOptions()).status);
    Vector y(4);
    program.mult(&x, &y);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(tolerance::close(b[i], y[i], 1e-9));
  }
}

TEST(Solve, AcceptsClassesWithoutTypeInformation) {
  Vector b(2);
  b = 5.0;
  SolveOptions options;
  options.preconditioner = preconditionerWithoutTypeInformation();
  for (const SpMat* A :
       {matrixWithoutTypeInformation(), static_cast<SpMat*>(denseMatrixWithoutTypeInformation())}) {
    for (const auto solve : {solvePositiveDefinite, solveLeastSquares, solveSquare}) {
      Vector x;
      EXPECT_EQ(solve(*A, b, &x, options).status, SOLVE_CONVERGED);
      ASSERT_EQ(x.size(), 2);
      EXPECT_NEAR(x[0], 1.0, 1e-9);
      EXPECT_NEAR(x[1], 2.0, 1e-9);
    }
  }
}

}  // namespace
