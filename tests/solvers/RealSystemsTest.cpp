#include <gtest/gtest.h>

#include <cmath>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/MatrixMarket.h"
#include "tests/support/TemporaryFile.h"

namespace {

constexpr double wanted = 1e-8;

double norm(const Vector& v) { return v.mag(); }

double frobenius(const HSpMat& A) {
  double sum = 0.0;
  for (int i = 0; i < A.height(); ++i) sum += A.row(i)->magSq();
  return std::sqrt(sum);
}

Vector difference(SpMat& A, Vector& x, Vector& b) {
  Vector r(A.height());
  A.mult(&x, &r);
  r -= b;
  return r;
}

// |A x - b| / (|A| |x| + |b|).
double scaledResidual(HSpMat& A, Vector& x, Vector& b) {
  return norm(difference(A, x, b)) / (frobenius(A) * norm(x) + norm(b));
}

// |A^T (A x - b)| / (|A| (|A| |x| + |b|)).
double scaledGradient(HSpMat& A, Vector& x, Vector& b) {
  Vector r = difference(A, x, b), g(A.width());
  A.multT(&r, &g);
  const double size = frobenius(A);
  return norm(g) / (size * (size * norm(x) + norm(b)));
}

// A right-hand side for which no x solves the system exactly.
Vector unevenRightHandSide(SpMat& A) {
  Vector ones(A.width()), b(A.height());
  ones = 1.0;
  A.mult(&ones, &b);
  for (int i = 0; i < b.count; ++i) b[i] += 0.01 * std::sin(3.0 * i);
  return b;
}

using Entry = int (*)(SpMat*, Vector*, Vector*, double*);

void leastSquares(const std::string& path) {
  const CGTuning tuning;
  const CapturedOutput captured;
  MatrixMarket file(path);
  ASSERT_EQ(file.error, "");
  HSpMat& A = file.matrix();
  strict(1e-16);
  // the older family restarts from the residual so often that it needs many small steps
  cgradEps = 1e-14;
  maxCGradPasses = 1000;
  for (const Entry entry : {ncgrad, cgrad}) {
    Vector b = unevenRightHandSide(A), x(A.width());
    double rsq = -1.0;
    EXPECT_GT(entry(&A, &x, &b, &rsq), 0);
    EXPECT_TRUE(scaledGradient(A, x, b) <= wanted) << scaledGradient(A, x, b);
    EXPECT_GT(norm(difference(A, x, b)), 1e-3) << "the residual itself stays";
  }
}

// D^-1/2 A D^-1/2 with the diagonal D of A.
void scaleToUnitDiagonal(HSpMat& A) {
  std::vector<double> root;
  for (int i = 0; i < A.height(); ++i) root.push_back(std::sqrt(A.acc(i, i)));
  for (int i = 0; i < A.height(); ++i) {
    for (int k = 0; k < A.row(i)->numEntries; ++k) {
      const int j = A.row(i)->indices[k];
      A.row(i)->e(k) /= root[static_cast<std::size_t>(i)] * root[static_cast<std::size_t>(j)];
    }
  }
}

void positiveDefinite(const std::string& path, const std::vector<Entry>& entries = {ncgradA, cgradA},
                      bool scaled = false) {
  const CGTuning tuning;
  const CapturedOutput captured;
  MatrixMarket file(path);
  ASSERT_EQ(file.error, "");
  HSpMat& A = file.matrix();
  if (scaled) scaleToUnitDiagonal(A);
  for (const Entry entry : entries) {
    Vector b = unevenRightHandSide(A), x(A.width());
    strict(1e-18 * b.magSq());
    cgradEps = 1e-12 * b.magSq();
    maxCGradPasses = 1000;
    double rsq = -1.0;
    EXPECT_GT(entry(&A, &x, &b, &rsq), 0);
    EXPECT_TRUE(scaledResidual(A, x, b) <= wanted) << scaledResidual(A, x, b);
  }
}

TEST(RealSystems, LeastSquaresWell1033) {
  LIMBER_NEEDS_DATA(path, "well1033.mtx.gz");
  leastSquares(path);
}

TEST(RealSystems, LeastSquaresAsh219) {
  LIMBER_NEEDS_DATA(path, "ash219.mtx");
  leastSquares(path);
}

TEST(RealSystems, PositiveDefiniteGr3030) {
  LIMBER_NEEDS_DATA(path, "gr_30_30.mtx");
  positiveDefinite(path);
}

TEST(RealSystems, PositiveDefiniteNos3) {
  LIMBER_NEEDS_DATA(path, "nos3.mtx");
  positiveDefinite(path);
}

TEST(RealSystems, PositiveDefinite494Bus) {
  LIMBER_NEEDS_DATA(path, "494_bus.mtx");
  positiveDefinite(path, {ncgradA});
}

// The older family restarts whenever the residual grows, and with a condition of 4e6 that is every other
// iteration. It takes a million cheap iterations, and the newer family a thousand.
TEST(RealSystems, PositiveDefinite494BusInTheOlderFamily) {
  LIMBER_NEEDS_DATA(path, "494_bus.mtx");
  const CGTuning tuning;
  MatrixMarket file(path);
  ASSERT_EQ(file.error, "");
  HSpMat& A = file.matrix();
  Vector x(A.width()), b(A.height()), ones(A.width());
  ones = 1.0;
  A.mult(&ones, &b);
  cgradTol = 0.0;
  maxCGradPasses = 4000;
  double rsq = -1.0;
  EXPECT_GT(cgradA(&A, &x, &b, &rsq), 0);
  EXPECT_TRUE(scaledResidual(A, x, b) <= wanted) << scaledResidual(A, x, b);
}

TEST(RealSystems, PositiveDefinite494BusWithAUnitDiagonal) {
  LIMBER_NEEDS_DATA(path, "494_bus.mtx");
  positiveDefinite(path, {ncgradA, cgradA}, true);
}

TEST(RealSystems, DualOfWell1033InBothFamilies) {
  LIMBER_NEEDS_DATA(path, "well1033.mtx.gz");
  const CGTuning tuning;
  const CapturedOutput captured;
  MatrixMarket file(path);
  HSpMat& A = file.matrix();
  strict(1e-18);
  Vector damp(A.height()), mass(A.width()), b = unevenRightHandSide(A), newer(A.height()), older(A.height());
  for (int i = 0; i < damp.count; ++i) damp[i] = 0.1;
  for (int j = 0; j < mass.count; ++j) mass[j] = 1.0 + j % 7;
  double rsq = -1.0;
  EXPECT_GT(ncgradJVJt(&A, &newer, &b, &rsq, &mass, &damp, nullptr), 0);
  EXPECT_TRUE(rsq >= 0.0 && rsq <= 1e-18);
  EXPECT_GT(cgradJVJt(&A, &older, &b, &rsq, &mass, &damp), 0);
  newer -= older;
  EXPECT_TRUE(norm(newer) <= 1e-6 * norm(older)) << norm(newer);
}

void nonSymmetric(const std::string& path, int shadowIsResidual, bool mustSolve) {
  const CGTuning tuning;
  MatrixMarket file(path);
  ASSERT_EQ(file.error, "");
  HSpMat& A = file.matrix();
  Vector b = unevenRightHandSide(A), x(A.width());
  cg_tol = 1e-18 * b.magSq();
  cg_epsilon = 1e-300;
  cg_maxIters = 20;
  bicg_numZeroSteps = 1000000;
  double rsq = -1.0;
  int iterations = -1;
  const CGIStatus status = biCGrad(&A, &x, &b, rsq, iterations, shadowIsResidual);
  for (int i = 0; i < x.count; ++i) ASSERT_TRUE(std::isfinite(x[i]));
  ASSERT_GT(iterations, 0);
  ::testing::Test::RecordProperty("outcome", cgiToString(status));
  if (status == CGI_SOLVED)
    EXPECT_TRUE(scaledResidual(A, x, b) <= wanted) << scaledResidual(A, x, b);
  else
    EXPECT_FALSE(mustSolve) << cgiToString(status);
}

// Too far from symmetric without a preconditioner: the solve must say so and end.
TEST(RealSystems, NonSymmetricWest0067) {
  LIMBER_NEEDS_DATA(path, "west0067.mtx");
  nonSymmetric(path, 0, false);
  nonSymmetric(path, 1, false);
}

// If steps without improvement end a pass, x is never worse than the start.
TEST(RealSystems, UnsolvedWest0067KeepsTheBestIterate) {
  LIMBER_NEEDS_DATA(path, "west0067.mtx");
  const CGTuning tuning;
  MatrixMarket file(path);
  HSpMat& A = file.matrix();
  cg_epsilon = 1e-300;
  for (const int shadow : {0, 1}) {
    Vector b = unevenRightHandSide(A), x(A.width());
    double rsq = -1.0;
    int iterations = -1;
    EXPECT_EQ(biCGrad(&A, &x, &b, rsq, iterations, shadow), CGI_TOO_MANY_RESTARTS);
    const double actual = norm(difference(A, x, b));
    EXPECT_TRUE(actual * actual <= b.magSq() * (1.0 + 1e-12)) << actual;
    EXPECT_TRUE(std::fabs(actual * actual - rsq) <= 1e-9 * rsq);
  }
}

// If steps may get worse without limit, the iterates grow until the square of the residual is not finite.
TEST(RealSystems, DivergingWest0067EndsAsSingularWithFiniteNumbers) {
  LIMBER_NEEDS_DATA(path, "west0067.mtx");
  const CGTuning tuning;
  MatrixMarket file(path);
  HSpMat& A = file.matrix();
  cg_epsilon = 1e-300;
  cg_maxIters = 20;
  cg_maxRestarts = 1000;
  bicg_numZeroSteps = 1000000;
  for (const int shadow : {0, 1}) {
    Vector b = unevenRightHandSide(A), x(A.width());
    double rsq = -1.0;
    int iterations = -1;
    EXPECT_EQ(biCGrad(&A, &x, &b, rsq, iterations, shadow), CGI_SINGULAR);
    EXPECT_GT(x.mag(), 1e100);
    for (int i = 0; i < x.count; ++i) ASSERT_TRUE(std::isfinite(x[i])) << x[i];
  }
}

TEST(RealSystems, NonSymmetricJpwh991) {
  LIMBER_NEEDS_DATA(path, "jpwh_991.mtx");
  nonSymmetric(path, 0, true);
  nonSymmetric(path, 1, true);
}

}  // namespace
