// The front door with matrices that lack something, that contradict themselves, or whose numbers are extreme.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "limber/solvers/Solve.h"
#include "tests/solvers/SolveSystems.h"

namespace {

FullMatrix denseOf(std::initializer_list<std::initializer_list<double>> rows) {
  FullMatrix m(static_cast<int>(rows.size()), static_cast<int>(rows.begin()->size()));
  int i = 0;
  for (const auto& row : rows) {
    int j = 0;
    for (const double value : row) m.e(i, j++) = value;
    ++i;
  }
  return m;
}

std::string messageOf(Solve solve, const SpMat& A, const Vector& b) {
  Vector x;
  const SolveReport report = solve(A, b, &x, SolveOptions());
  EXPECT_EQ(SOLVE_BAD_INPUT, report.status);
  EXPECT_EQ(0, x.count);
  return report.message;
}

TEST(SolveOddMatrices, AResizableMatrixIsSolvedInItsCurrentShape) {
  ResizeMatrix A(5, 5);
  A.grow(2, 2);
  A.e(0, 0) = 4.0;
  A.e(0, 1) = A.e(1, 0) = 1.0;
  A.e(1, 1) = 3.0;
  for (const Solve solve : everyKind) {
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solve(A, vectorOf({1, 2}), &x, SolveOptions()).status);
    ASSERT_EQ(2, x.count);
    EXPECT_NEAR(1.0 / 11.0, x[0], 1e-12);
    EXPECT_NEAR(7.0 / 11.0, x[1], 1e-12);
  }
}

TEST(SolveOddMatrices, MissingRowsAreRowsOfZeros) {
  SpVec first;
  first.insEnd(2.0, 0);
  HSpMat A(3);
  A.rows[0] = &first;
  for (const Solve& solve : everyKind) {
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solve(A, vectorOf({4, 0, 0}), &x, SolveOptions()).status);
    ASSERT_EQ(&solve == everyKind ? 1 : 3, x.count);
    EXPECT_NEAR(2.0, x[0], 1e-12);
  }
}

TEST(SolveOddMatrices, MatricesWithoutStorageAreEmpty) {
  const FullMatrix dense(0, 3);
  const DiagonalMatrix diagonal(static_cast<Vector*>(nullptr));
  const BandedMatrix band(0, 2);
  for (const Solve solve : everyKind) {
    for (const SpMat* A : {static_cast<const SpMat*>(&dense), static_cast<const SpMat*>(&diagonal),
                           static_cast<const SpMat*>(&band)}) {
      Vector x;
      EXPECT_EQ(SOLVE_CONVERGED, solve(*A, Vector(), &x, SolveOptions()).status);
      EXPECT_EQ(0, x.count);
      EXPECT_EQ(SOLVE_BAD_INPUT, solve(*A, Vector(1), &x, SolveOptions()).status);
    }
  }
}

TEST(SolveOddMatrices, ABandWithoutSomeOfItsRowsHasZerosThere) {
  BandedMatrix band(3, 2);
  for (int i = 0; i < 3; ++i) band.e(i, i) = 2.0;
  double* const kept = band.data[1];
  band.data[1] = nullptr;
  band.rows = 4;  // one more than allocated
  for (const Solve solve : everyKind) {
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solve(band, vectorOf({2, 0, 4, 0}), &x, SolveOptions()).status);
    ASSERT_EQ(4, x.count);
    EXPECT_NEAR(1.0, x[0], 1e-12);
    EXPECT_NEAR(2.0, x[2], 1e-12);
  }
  band.rows = 3;
  band.data[1] = kept;
}

TEST(SolveOddMatrices, MoreEntriesThanAnIntCountsAreRefused) {
  SpVec row;
  for (int j = 0; j < 4096; ++j) row.insEnd(1.0, j);
  HSpMat A((1 << 19) + 1);  // the same row everywhere
  for (int i = 0; i < A.numRows; ++i) A.rows[i] = &row;
  const std::string refusal = "The matrix has entries in negative columns, or too many of them.";
  EXPECT_EQ(refusal, messageOf(solveLeastSquares, A, Vector(A.numRows)));
  Vector lambda;
  EXPECT_EQ(refusal, solveConstraints(A, nullptr, nullptr, Vector(A.numRows), &lambda).message);
}

// H is n x n and J has n columns; neither may have rows or columns elsewhere.
TEST(SolveOddMatrices, BlocksThatDoNotFitTogetherAreRefused) {
  FullMatrix H = denseOf({{2, 0}, {0, 3}}), wideH = denseOf({{2, 0, 1}, {0, 3, 1}});
  FullMatrix J = denseOf({{1, 1}}), wideJ = denseOf({{1, 1, 1}}), thinJ = denseOf({{1}});
  Entries negative(1, 2), sparseH(2, 2), wideSparseH(2, 3);
  negative.add(0, 0, 1.0);
  negative.matrix().rows[0]->indices[0] = -1;
  sparseH.add(0, 0, 2.0);
  sparseH.matrix().rows[0]->width = sparseH.matrix().rows[1]->width = 1;  // the last column has no entries
  wideSparseH.add(0, 2, 1.0);
  const struct {
    SpMat *H, *J;
  } wrong[] = {{nullptr, &J},
               {&H, nullptr},
               {&H, &negative.matrix()},
               {&negative.matrix(), &J},
               {&wideH, &J},
               {&wideSparseH.matrix(), &J},
               {&H, &wideJ},
               {&H, &thinJ}};
  for (const auto& blocks : wrong) {
    SQPMatrix program(blocks.H, blocks.J);
    for (const int n : {2, 3}) EXPECT_FALSE(messageOf(solveSquare, program, Vector(n)).empty());
  }
  SQPMatrix program(&sparseH.matrix(), &J);
  program.hessianShift = 1.0;
  Vector x;
  EXPECT_EQ(SOLVE_CONVERGED, solveSquare(program, vectorOf({4, 2, 2}), &x).status);
  ASSERT_EQ(3, x.count);
  // | 3 0 1 |       | 4 |
  // | 0 1 1 | x  =  | 2 |
  // | 1 1 0 |       | 2 |
  EXPECT_NEAR(1.0, x[0], 1e-12);
  EXPECT_NEAR(1.0, x[1], 1e-12);
  EXPECT_NEAR(1.0, x[2], 1e-12);
}

// A user-defined class that does not tell its sizes.
class OnlyMult : public SpMat {
 public:
  int height() const override { return 0; }
  int width() const override { return 0; }
  void mult(const Vector* x, Vector* y) const override {
    y->grow(2);
    (*y)[0] = 4.0 * (*x)[0] + (*x)[1];
    (*y)[1] = (*x)[0] + 3.0 * (*x)[1];
  }
  void multT(const Vector* x, Vector* y) const override { mult(x, y); }
};

TEST(SolveOddMatrices, AClassWithoutSizesHasThoseOfTheVectors) {
  const OnlyMult A;
  for (const Solve& solve : everyKind) {
    Vector x(&solve == everyKind ? 2 : 0);
    EXPECT_EQ(SOLVE_CONVERGED, solve(A, vectorOf({1, 2}), &x, SolveOptions()).status);
    ASSERT_EQ(2, x.count);
    EXPECT_NEAR(1.0 / 11.0, x[0], 1e-12);
    EXPECT_NEAR(7.0 / 11.0, x[1], 1e-12);
  }
}

// A user-defined diagonal matrix whose products fail for some vectors.
class Diagonal : public SpMat {
 public:
  Diagonal(int n, double largest, bool unitVectors = true) : n_(n), largest_(largest), unit_(unitVectors) {}
  int height() const override { return n_; }
  int width() const override { return n_; }
  void mult(const Vector* x, Vector* y) const override {
    y->grow(n_);
    int others = 0;
    for (int i = 0; i < n_; ++i) others += (*x)[i] != 0.0;
    for (int i = 0; i < n_; ++i) (*y)[i] = (1.0 + largest_ * i / n_) * (*x)[i];
    if (others == 1 && !unit_) (*y)[0] = std::numeric_limits<double>::quiet_NaN();
  }
  void multT(const Vector* x, Vector* y) const override { mult(x, y); }

 private:
  const int n_;
  const double largest_;
  const bool unit_;
};

TEST(SolveOddMatrices, ALargeClassWhoseProductIsNotFiniteIsRefused) {
  const Diagonal A(5000, std::numeric_limits<double>::infinity());
  for (const Solve solve : everyKind) {
    EXPECT_EQ("The matrix has an entry that is not finite.", messageOf(solve, A, Vector(5000)));
  }
}

// Its diagonal ranges from 1 to 1e14. Iterations that only multiply do not solve this, so the front door asks
// for the columns.
TEST(SolveOddMatrices, AClassWithoutFiniteColumnsIsSolvedByItsProductsAsFarAsTheyLead) {
  const Diagonal A(4500, 1e14, false);
  SolveOptions options;
  options.maxIterations = 3000;
  Vector x;
  const SolveReport report = solveLeastSquares(A, Random(1).vector(4500), &x, options);
  EXPECT_EQ(SOLVE_LIMIT, report.status) << report.message;
  EXPECT_LT(report.relativeResidual, 1.0);
  EXPECT_EQ(3000, report.iterations);
}

TEST(SolveOddMatrices, TheResidualOfUnfinishedProductsIsThatOfTheirSolution) {
  const Entries A = grid(70, 0.0, 0.0);
  class Products final : public SpMat {
   public:
    explicit Products(const HSpMat& matrix) : matrix_(matrix) {}
    int height() const override { return matrix_.numRows; }
    int width() const override { return matrix_.numRows; }
    void mult(const Vector* x, Vector* y) const override { matrix_.mult(x, y); }
    void multT(const Vector* x, Vector* y) const override { matrix_.multT(x, y); }

   private:
    const HSpMat& matrix_;
  } products(A.matrix());
  const Vector b = Random(2).vector(4900);
  for (const Solve& solve : everyKind) {
    SolveOptions options;
    options.maxIterations = 4;
    Vector x;
    const SolveReport report = solve(products, b, &x, options);
    EXPECT_EQ(SOLVE_LIMIT, report.status);
    const double truth = relativeResidual(A.matrix(), 4900, b, x, &solve == everyKind);
    EXPECT_NEAR(report.relativeResidual, truth, 1e-9 * truth);
  }
}

TEST(SolveOddMatrices, StoredZerosWithoutAMirrorImageAreSymmetric) {
  Entries A(3, 3);
  for (int i = 0; i < 3; ++i) A.add(i, i, 2.0 + i);
  A.add(0, 2, 0.0);
  A.add(1, 2, 0.5);
  A.add(2, 1, 0.5);
  Vector x;
  EXPECT_EQ(SOLVE_CONVERGED, solvePositiveDefinite(A.matrix(), vectorOf({2, 3.5, 4.5}), &x).status);
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(1.0, x[i], 1e-12);
  A.matrix().rows[0]->values[1] = 1e-3;  // now without a mirror image
  const SolveReport skewed = solvePositiveDefinite(A.matrix(), vectorOf({2, 3.5, 4.5}), &x);
  EXPECT_EQ(SOLVE_BREAKDOWN, skewed.status);
  EXPECT_NE(std::string::npos, std::string(skewed.message).find("not symmetric")) << skewed.message;
}

TEST(SolveOddMatrices, AnEntryWhoseMirrorImageIsInAnotherRowMakesTheMatrixUnsymmetric) {
  // Above and below the diagonal there is one entry each, with the same value.
  Entries A(3, 3);
  for (int i = 0; i < 3; ++i) A.add(i, i, 4.0);
  A.add(0, 1, 1.0);
  A.add(2, 0, 1.0);
  Vector x;
  const SolveReport report = solvePositiveDefinite(A.matrix(), vectorOf({5, 4, 5}), &x);
  EXPECT_EQ(SOLVE_BREAKDOWN, report.status);
  EXPECT_NE(std::string::npos, std::string(report.message).find("not symmetric")) << report.message;
}

class Doubling : public Preconditioner {
 public:
  void solve(const Vector* r, Vector* z) override {
    *z = *r;
    *z *= 2.0;
  }
};

// The eigenvalues are 1.9, 1.9 and -0.8, the last one along (1, -1, 1).
TEST(SolveOddMatrices, AnIndefiniteMatrixIsSolvedOnlyWhereNothingTellsThatItIs) {
  const FullMatrix A = denseOf({{1, 0.9, -0.9}, {0.9, 1, 0.9}, {-0.9, 0.9, 1}});
  Doubling doubling;
  for (Preconditioner* const preconditioner :
       {static_cast<Preconditioner*>(nullptr), static_cast<Preconditioner*>(&doubling)}) {
    SolveOptions options;
    options.preconditioner = preconditioner;
    Vector x;
    const SolveReport report = solvePositiveDefinite(A, vectorOf({1, 0, 0}), &x, options);
    EXPECT_EQ(SOLVE_BREAKDOWN, report.status);
    EXPECT_NE(std::string::npos, std::string(report.message).find("not positive definite")) << report.message;
    Vector y;
    EXPECT_EQ(SOLVE_CONVERGED, solvePositiveDefinite(A, vectorOf({1.9, 1.9, 0}), &y, options).status);
    EXPECT_NEAR(1.0, y[0], 1e-10);
    EXPECT_NEAR(1.0, y[1], 1e-10);
    EXPECT_NEAR(0.0, y[2], 1e-10);
  }
}

TEST(SolveOddMatrices, ColumnsOfVeryDifferentSizesAreSolved) {
  const FullMatrix A = denseOf({{1, 1e-120}, {2, -1e-120}, {1, 3e-120}, {0, 1e-120}});
  Vector x;
  EXPECT_EQ(SOLVE_CONVERGED, solveLeastSquares(A, vectorOf({3, 0, 7, 2}), &x).status);
  EXPECT_NEAR(1.0, x[0], 1e-9);
  EXPECT_NEAR(2.0, x[1] * 1e-120, 1e-9);
}

TEST(SolveOddMatrices, NumbersAtTheEndsOfTheRangeAreSolved) {
  for (const double scale : {1e-306, 1e305}) {
    const FullMatrix A = denseOf({{4 * scale, scale}, {scale, 3 * scale}});
    for (const Solve solve : everyKind) {
      Vector x;
      EXPECT_EQ(SOLVE_CONVERGED, solve(A, vectorOf({scale, 2 * scale}), &x, SolveOptions()).status);
      EXPECT_NEAR(1.0 / 11.0, x[0], 1e-12);
      EXPECT_NEAR(7.0 / 11.0, x[1], 1e-12);
    }
  }
}

// The columns are dependent, so the Gram matrix does not help, and the dense factor costs too much to polish.
TEST(SolveOddMatrices, TallDependentColumnsAreSolved) {
  constexpr int n = 40;
  for (const int m : {3000, 6000}) {
    Random random(static_cast<unsigned>(m));
    Entries A(m, n);
    for (int i = 0; i < m; ++i) {
      double sum = 0.0;
      for (int j = 0; j < n - 1; ++j) {
        const double value = random.value();
        A.add(i, j, value);
        sum += value;
      }
      A.add(i, n - 1, sum);
    }
    const Vector b = random.vector(m);
    Vector x;
    EXPECT_EQ(SOLVE_CONVERGED, solveLeastSquares(A.matrix(), b, &x).status);
    EXPECT_LE(relativeResidual(A.matrix(), n, b, x, true), 1.001e-10);
  }
}

// A row that is nearly full would connect all columns, so their order ignores it.
TEST(SolveOddMatrices, AFullRowAmongSparseOnesIsFactored) {
  Random random(3);
  constexpr int n = 300;
  Entries A(n, n);
  for (int i = 0; i < n - 1; ++i) {
    for (int k = 0; k < 5; ++k) A.add(i, random.below(n), random.value());
    A.add(i, i, 0.1);
  }
  for (int j = 0; j < n; ++j) A.add(n - 1, j, random.value());
  const Vector b = random.vector(n);
  Vector x;
  EXPECT_EQ(SOLVE_CONVERGED, solveSquare(A.matrix(), b, &x).status);
  EXPECT_LE(relativeResidual(A.matrix(), n, b, x, false), 1e-8);
}

// A graded operator on a cube: its factor would cost far more than the solve did.
TEST(SolveOddMatrices, AGradedCubeIsSolvedWithoutItsFactor) {
  constexpr int k = 12, n = k * k * k;
  Entries A(n, n);
  const auto factor = [](int i) { return std::pow(10.0, 3.0 * std::sin(7.0 * i)); };
  for (int i = 0; i < n; ++i) {
    const int place[3] = {i % k, i / k % k, i / (k * k)}, step[3] = {1, k, k * k};
    A.add(i, i, 6.0 * factor(i) * factor(i));
    for (int axis = 0; axis < 3; ++axis) {
      if (place[axis] > 0) A.add(i, i - step[axis], -factor(i) * factor(i - step[axis]));
      if (place[axis] + 1 < k) A.add(i, i + step[axis], -factor(i) * factor(i + step[axis]));
    }
  }
  const Vector b = Random(4).vector(n);
  Vector x;
  const SolveReport report = solvePositiveDefinite(A.matrix(), b, &x);
  EXPECT_EQ(SOLVE_CONVERGED, report.status) << report.message;
  EXPECT_LE(relativeResidual(A.matrix(), n, b, x, false), 1.001e-10);
}

// The fields that rows have for their widths need not cover their entries.
TEST(SolveOddMatrices, HaveAtLeastTheColumnsOfTheirEntries) {
  SpVec rows[2];
  rows[0].ins(2.0, 1);
  rows[1].ins(4.0, 4);
  HSpMat A(2);
  Vector x, b(2);
  for (int i = 0; i < 2; ++i) {
    rows[i].width = 1;
    A.rows[i] = &rows[i];
    b[i] = 8.0;
  }
  EXPECT_EQ(solveLeastSquares(A, b, &x).status, SOLVE_CONVERGED);
  ASSERT_EQ(x.count, 5);
  EXPECT_EQ(x[1], 4.0);
  EXPECT_EQ(x[4], 2.0);
}

}  // namespace
