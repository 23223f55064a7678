#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <memory>

#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/JJtBandedPrecond.h"
#include "limber/solvers/JJtCholeskyPrecond.h"
#include "limber/solvers/JJtPrecond.h"
#include "limber/solvers/NCGrad.h"
#include "tests/solvers/RandomJacobian.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using tolerance::relative;
using tolerance::sameBits;

namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(JJtPrecond, inverse) == sizeof(void*));
static_assert(offsetof(JJtBandedPrecond, band) == sizeof(void*));
static_assert(offsetof(JJtCholeskyPrecond, band) == sizeof(void*));
static_assert(sizeof(JJtPrecond) == 2 * sizeof(void*));
#pragma GCC diagnostic pop

template <class T>
struct Restored {
  explicit Restored(T& global) : variable(global), value(global) {}
  ~Restored() { variable = value; }
  T& variable;
  T value;
};

Vector filled(int n, double first, double step) {
  Vector v(n);
  for (int i = 0; i < n; ++i) v[i] = first + step * i;
  return v;
}

// |M z - r| / |r| for the whole normal matrix M.
double residual(const Jacobian& J, Vector* weights, Vector* damp, const Vector& z, const Vector& r) {
  const std::unique_ptr<ResizeMatrix> m(buildJJt(&J.matrix, nullptr, weights, damp, 0.0));
  double sum = 0.0;
  for (int i = 0; i < m->rows(); ++i) {
    double difference = -r[i];
    for (int j = 0; j < m->columns(); ++j) difference += m->e(i, j) * z[j];
    sum += difference * difference;
  }
  return std::sqrt(sum) / r.mag();
}

const char* const notDefinite = "Banded preconditioner not positive definite, using the diagonal";

}  // namespace

TEST(JJtPrecond, DividesByTheWeightedDampedDiagonal) {
  Jacobian J(1);
  for (int i = 0; i < 5; ++i) J.addRow(i, 4, 1.0);
  Vector weights = filled(8, 0.5, 0.25), damp = filled(5, 0.0, 0.5), r = filled(5, 1.0, 1.0), z(5);
  JJtPrecond precond(&J.matrix, &weights, &damp);
  precond.solve(&r, &z);
  for (int i = 0; i < 5; ++i) {
    const double d = J.matrix.row(i)->weightedL2(&weights) + damp[i];
    EXPECT_TRUE(sameBits(precond.inverse->e(i), 1.0 / d));
    EXPECT_TRUE(sameBits(z[i], 1.0 / d * r[i]));
  }
}

TEST(JJtPrecond, AddsAPositiveDefinizerAndNoOther) {
  Restored<double> keep(cgradDefinizer);
  Jacobian J(2);
  J.addRow(0, 3, 1.0);
  const double d = J.matrix.row(0)->magSq();
  for (double definizer : {-1.0, 0.0, 2.0}) {
    cgradDefinizer = definizer;
    JJtPrecond precond(&J.matrix, nullptr, nullptr);
    EXPECT_TRUE(sameBits(precond.inverse->e(0), 1.0 / (d + (definizer > 0.0 ? definizer : 0.0))));
  }
}

TEST(JJtPrecond, KeepsADiagonalNextToZeroUninverted) {
  HSpMat J(0);
  SpVec zeros(4), tiny(4), atEpsilon(4);
  tiny.ins(0.5e-4, 0);
  J.add(&zeros);
  J.add(&tiny);
  J.add(&atEpsilon);
  Vector damp(3);
  damp[2] = -cg_epsilon;
  JJtPrecond precond(&J, nullptr, &damp);
  EXPECT_TRUE(sameBits(precond.inverse->e(0), 0.0));
  EXPECT_TRUE(sameBits(precond.inverse->e(1), 0.5e-4 * 0.5e-4)) << "below cg_epsilon";
  EXPECT_TRUE(sameBits(precond.inverse->e(2), 1.0 / -cg_epsilon))
      << "cg_epsilon itself is inverted, whatever its sign";
  Vector r = filled(3, 3.0, 0.0), z(3);
  precond.solve(&r, &z);
  EXPECT_EQ(z[0], 0.0) << "a row of zeros zeroes its residual";
}

TEST(JJtPrecond, WritesTheCommonPartAndDoesNotGrowZ) {
  Jacobian J(3);
  for (int i = 0; i < 6; ++i) J.addRow(i, 2, 1.0);
  JJtPrecond precond(&J.matrix, nullptr, nullptr);
  Vector r = filled(8, 1.0, 1.0), z = filled(8, -5.0, 0.0);
  precond.solve(&r, &z);
  EXPECT_NE(z[5], -5.0);
  EXPECT_EQ(z[6], -5.0);
  Vector shortR = filled(2, 1.0, 1.0), same = filled(8, -5.0, 0.0);
  precond.solve(&shortR, &same);
  EXPECT_EQ(same[2], -5.0);
  Vector shrunk = filled(8, -5.0, 0.0);
  shrunk.grow(1);
  precond.solve(&r, &shrunk);
  EXPECT_EQ(shrunk.size(), 1);
  EXPECT_NE(shrunk.data[5], -5.0) << "z's own size does not count, its storage does";
  EXPECT_EQ(shrunk.data[6], -5.0);
  Vector none(0);
  precond.solve(&r, &none);
  EXPECT_EQ(none.size(), 0);
}

TEST(JJtPrecond, OfNoRowsWritesNothing) {
  HSpMat J(0);
  JJtPrecond precond(&J, nullptr, nullptr);
  EXPECT_EQ(precond.inverse->size(), 0);
  Vector r = filled(3, 1.0, 0.0), z = filled(3, -5.0, 0.0);
  precond.solve(&r, &z);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(z[i], -5.0);
}

TEST(JJtPrecond, CopiesShareTheVector) {
  Jacobian J(4);
  for (int i = 0; i < 9; ++i) J.addRow(i, 2, 1.0);
  Vector r = filled(9, 1.0, 1.0), z(9), expected(9);
  auto first = std::make_unique<JJtPrecond>(&J.matrix, nullptr, nullptr);
  first->solve(&r, &expected);
  JJtPrecond copy(*first);
  JJtPrecond assigned(&J.matrix, nullptr, nullptr);
  assigned = *first;
  assigned = *&assigned;
  EXPECT_EQ(copy.inverse, first->inverse);
  EXPECT_EQ(assigned.inverse, first->inverse);
  first.reset();
  copy.solve(&r, &z);
  EXPECT_TRUE(sameBits(z.data, expected.data, 9));
}

template <class P>
class BandPrecond : public ::testing::Test {};
using BandPreconds = ::testing::Types<JJtBandedPrecond, JJtCholeskyPrecond>;
TYPED_TEST_SUITE(BandPrecond, BandPreconds);

TYPED_TEST(BandPrecond, SolvesTheTridiagonalMatrix) {
  Jacobian J(5);
  for (int i = 0; i < 12; ++i) J.addRow(2 * i, 4, 1.0);
  Vector weights = filled(30, 0.5, 0.05), damp = filled(12, 0.1, 0.01), r = filled(12, 1.0, -0.3), z;
  CapturedOutput output;
  TypeParam precond(&J.matrix, 1, &weights, &damp);
  EXPECT_EQ(output.err() + output.out(), "");
  EXPECT_EQ(precond.diagonal, nullptr);
  precond.solve(&r, &z);
  ASSERT_EQ(z.size(), 12) << "z takes the length of r";
  EXPECT_TRUE(tolerance::small(residual(J, &weights, &damp, z, r), 1e-12));
  precond.solve(&r, &r);
  EXPECT_TRUE(sameBits(r.data, z.data, 12)) << "in place";
}

TYPED_TEST(BandPrecond, OfBandwidthZeroIsTheDiagonal) {
  Jacobian J(6);
  for (int i = 0; i < 7; ++i) J.addRow(i, 4, 1.0);
  TypeParam precond(&J.matrix, 0, nullptr, nullptr);
  Vector r = filled(7, 1.0, 1.0), z;
  precond.solve(&r, &z);
  for (int i = 0; i < 7; ++i) EXPECT_TRUE(relative(z[i], r[i] / J.matrix.row(i)->magSq(), 1e-15 * 8));
}

TYPED_TEST(BandPrecond, AddsAPositiveDefinizerAsTheShift) {
  Restored<double> keep(cgradDefinizer);
  cgradDefinizer = 3.0;
  Jacobian J(6);
  J.addRow(0, 4, 1.0);
  TypeParam precond(&J.matrix, 0, nullptr, nullptr);
  Vector r = filled(1, 1.0, 0.0), z;
  precond.solve(&r, &z);
  EXPECT_TRUE(relative(z[0], 1.0 / (J.matrix.row(0)->magSq() + 3.0), 1e-14));
}

TYPED_TEST(BandPrecond, ReportsAMatrixThatIsNotDefiniteAndUsesTheDiagonal) {
  Jacobian J(7);
  for (int i = 0; i < 6; ++i) J.addRow(i, 3, 1.0);
  Vector damp(6);
  damp[3] = -100.0;
  CapturedOutput output;
  TypeParam precond(&J.matrix, 1, nullptr, &damp);
  ASSERT_EQ(output.errCalls().size(), 1u);
  EXPECT_EQ(output.err().find(std::string("ERR: ") + notDefinite + " @ (NewCGrad:"), 0u) << output.err();
  ASSERT_NE(precond.diagonal, nullptr);
  JJtPrecond diagonal(&J.matrix, nullptr, &damp);
  Vector r = filled(8, 1.0, 1.0), z, expected(8);
  diagonal.solve(&r, &expected);
  precond.solve(&r, &z);
  ASSERT_EQ(z.size(), 8);
  EXPECT_TRUE(sameBits(z.data, expected.data, 6));
  EXPECT_EQ(z[7], r[7]) << "what the matrix does not reach stays the residual";
}

TYPED_TEST(BandPrecond, CopiesShareBandAndDiagonal) {
  Jacobian J(8);
  for (int i = 0; i < 6; ++i) J.addRow(i, 3, 1.0);
  Vector damp(6), r = filled(6, 1.0, 1.0), z, expected;
  for (double one : {0.0, -100.0}) {
    damp[3] = one;
    CapturedOutput output;
    auto first = std::make_unique<TypeParam>(&J.matrix, 1, nullptr, &damp);
    first->solve(&r, &expected);
    TypeParam copy(*first);
    TypeParam assigned(&J.matrix, 0, nullptr, nullptr);
    assigned = copy;
    EXPECT_EQ(copy.band, first->band);
    EXPECT_EQ(copy.diagonal, first->diagonal);
    first.reset();
    assigned.solve(&r, &z);
    EXPECT_TRUE(sameBits(z.data, expected.data, 6));
  }
}

TYPED_TEST(BandPrecond, OfNoRowsIsTheIdentity) {
  HSpMat J(0);
  CapturedOutput output;
  TypeParam precond(&J, 2, nullptr, nullptr);
  EXPECT_EQ(output.err(), "");
  Vector r = filled(3, 1.0, 1.0), z;
  precond.solve(&r, &z);
  ASSERT_EQ(z.size(), 3);
  EXPECT_TRUE(sameBits(z.data, r.data, 3));
}

TYPED_TEST(BandPrecond, NegativeBandwidthUsesTheDiagonal) {
  Jacobian J(9);
  for (int i = 0; i < 3; ++i) J.addRow(i, 3, 1.0);
  CapturedOutput output;
  TypeParam precond(&J.matrix, -1, nullptr, nullptr);
  EXPECT_NE(output.err().find("Banded preconditioner not built, using the diagonal"), std::string::npos);
  Vector r = filled(3, 1.0, 1.0), z;
  precond.solve(&r, &z);
  EXPECT_TRUE(relative(z[1], r[1] / J.matrix.row(1)->magSq(), 1e-15));
}

TEST(JJtBandedPrecond, OfAWiderBandFactorsWhatItsBuilderPlaced) {
  Jacobian J(10);
  for (int i = 0; i < 10; ++i) J.addRow(i, 4, 1.0);
  Vector damp = filled(10, 50.0, 0.0), r = filled(10, 1.0, 1.0), banded, cholesky;
  JJtBandedPrecond(&J.matrix, 3, nullptr, &damp).solve(&r, &banded);
  JJtCholeskyPrecond(&J.matrix, 3, nullptr, &damp).solve(&r, &cholesky);
  EXPECT_TRUE(tolerance::small(residual(J, nullptr, &damp, cholesky, r), 1e-13));
  EXPECT_GT(residual(J, nullptr, &damp, banded, r), 1e-4) << "another matrix, by contract";
}

TEST(JJtCholeskyPrecond, WithTheFullHalfBandwidthConvergesInOneOrTwoIterations) {
  Restored<double> keep(cg_tol), keepEpsilon(cg_epsilon);
  cg_epsilon = 1e-300;
  for (unsigned seed = 0; seed < 10; ++seed) {
    Jacobian J(seed);
    J.addFrames(12, 4, 10, 5);
    const int n = J.matrix.height();
    Vector b = filled(n, 1.0, 0.1), x(n);
    cg_tol = 1e-16 * b.magSq();
    double rsq = -1.0;
    JJtCholeskyPrecond direct(&J.matrix, 7, nullptr, nullptr);
    const int iterations = ncgradJJt(&J.matrix, &x, &b, &rsq, nullptr, &direct);
    EXPECT_GE(iterations, 1);
    EXPECT_LE(iterations, 2);
    EXPECT_TRUE(tolerance::small(rsq, cg_tol));
    Vector plain(n);
    JJtPrecond diagonal(&J.matrix, nullptr, nullptr);
    EXPECT_GT(std::abs(ncgradJJt(&J.matrix, &plain, &b, &rsq, nullptr, &diagonal)), 5);
  }
}

TEST(JJtCholeskyPrecond, WantsTheInverseOfTheMassThatTheSolveTakes) {
  Restored<double> keep(cg_tol), keepEpsilon(cg_epsilon);
  cg_epsilon = 1e-300;
  Restored<Vector*> keepMass(cgradMassVec), keepDamp(cgradDampV);
  Jacobian J(11);
  J.addFrames(10, 4, 10, 5);
  const int n = J.matrix.height(), width = J.matrix.width();
  Vector mass(width), weights(width), damp = filled(n, 0.2, 0.01), b = filled(n, 1.0, 0.1), x(n);
  for (int k = 0; k < width; ++k) mass[k] = 0.01 + k % 17, weights[k] = 1.0 / mass[k];
  cg_tol = 1e-16 * b.magSq();
  double rsq = -1.0;
  JJtCholeskyPrecond right(&J.matrix, 7, &weights, &damp), wrong(&J.matrix, 7, &mass, &damp);
  const int iterations = ncgradJVJt(&J.matrix, &x, &b, &rsq, &mass, &damp, &right);
  EXPECT_GE(iterations, 1);
  EXPECT_LE(iterations, 2);
  EXPECT_TRUE(tolerance::small(residual(J, &weights, &damp, x, b), 1e-8));
  Vector other(n);
  EXPECT_GT(std::abs(ncgradJVJt(&J.matrix, &other, &b, &rsq, &mass, &damp, &wrong)), 2);
}
