#include "limber/solvers/NCGrad.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>

#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"

namespace {

using CGMultiply = RestoredTuning;
using NCGrad = RestoredTuning;

using Elements = std::vector<double>;

void expectNear(const Vector& x, const Elements& answer, const std::string& what) {
  ASSERT_EQ(static_cast<std::size_t>(x.count), answer.size()) << what;
  for (int i = 0; i < x.count; ++i) {
    const double error = std::fabs(x[i] - answer[static_cast<std::size_t>(i)]);
    EXPECT_TRUE(error <= 1e-9) << what << " [" << i << "] is off by " << error;
  }
}

// One entry point applied to a matrix, start and right-hand side.
using Entry = std::function<int(SpMat*, Vector*, Vector*, double*)>;

// After an exact solution the older family finds a direction without curvature, and reports a singular
// system.
void expectSolves(const TinyProblem& t, const char* what, const Entry& entry, const Elements& answer) {
  const bool older = what[0] == 'c';
  const CapturedOutput captured;
  FullMatrix dense = toDense(t.rows, t.columns, t.a);
  const SparseMatrix sparse(t.rows, t.columns, t.a);
  HSpMat rows = sparse.m;
  for (SpMat* A : {static_cast<SpMat*>(&dense), static_cast<SpMat*>(&rows)}) {
    Vector x(static_cast<int>(answer.size())), b = toVector(t.b);
    double rsq = -1.0;
    const int iterations = entry(A, &x, &b, &rsq);
    EXPECT_TRUE(iterations > 0 || (older && iterations == -1)) << t.name << " " << what << " " << iterations;
    EXPECT_TRUE(rsq >= 0.0 && rsq <= 1e-20) << t.name << " " << what << " " << rsq;
    expectNear(x, answer, std::string(t.name) + " " + what);
  }
}

TEST(TinyProblems, EveryEntryPointOfBothFamilies) {
  const CGTuning tuning;
  strict(1e-22);
  for (const TinyProblem& t : tinyProblems()) {
    Vector mass = toVector(t.mass), damp = toVector(t.damp);
    Preconditioner identity;
    if (!t.direct.empty()) {
      expectSolves(t, "ncgradA", ncgradA, t.direct);
      expectSolves(t, "cgradA", cgradA, t.direct);
    }
    expectSolves(t, "ncgrad", ncgrad, t.leastSquares);
    expectSolves(t, "cgrad", cgrad, t.leastSquares);
    const auto jvjt = [&](SpMat* A, Vector* x, Vector* b, double* rsq) {
      return ncgradJVJt(A, x, b, rsq, &mass, &damp, nullptr);
    };
    const auto preconditioned = [&](SpMat* A, Vector* x, Vector* b, double* rsq) {
      return ncgradJVJt(A, x, b, rsq, &mass, &damp, &identity);
    };
    const auto older = [&](SpMat* A, Vector* x, Vector* b, double* rsq) {
      return cgradJVJt(A, x, b, rsq, &mass, &damp);
    };
    expectSolves(t, "ncgradJVJt", jvjt, t.dual);
    expectSolves(t, "ncgradJVJt, identity preconditioner", preconditioned, t.dual);
    expectSolves(t, "cgradJVJt", older, t.dual);
    EXPECT_EQ(cgradDampV, nullptr);
    EXPECT_EQ(cgradMassVec, nullptr);
  }
}

// (A A^T) y = b and (A A^T + I) y = b for A = [1 1 0; 0 1 1]: A A^T = [2 1; 1 2].
TEST_F(NCGrad, NormalFormsOfTwoConstraints) {
  strict(1e-24);
  FullMatrix A = toDense(2, 3, {1, 1, 0, 0, 1, 1});
  Vector ones = toVector({1, 1});
  const auto solved = [&A](const Entry& entry) {
    Vector y(2), b = toVector({3, 3});
    double rsq;
    EXPECT_GT(entry(&A, &y, &b, &rsq), 0);
    return toElements(y);
  };
  const auto damped = [&](SpMat* m, Vector* y, Vector* b, double* rsq) {
    return ncgradJJt(m, y, b, rsq, &ones, nullptr);
  };
  const auto undamped = [&](SpMat* m, Vector* y, Vector* b, double* rsq) {
    return ncgradJJt(m, y, b, rsq, nullptr, nullptr);
  };
  EXPECT_EQ(solved(undamped), (Elements{1, 1}));
  EXPECT_EQ(solved(damped), (Elements{0.75, 0.75}));
  // neither damped nor weighted, whatever the variables hold
  cgradDampV = &ones;
  cgradDefinizer = 5.0;
  cgradMassVec = &ones;
  EXPECT_EQ(solved(ncgradAAt), (Elements{1, 1}));
}

TEST_F(NCGrad, AtATakesTheTransposedRightHandSide) {
  strict(1e-24);
  FullMatrix A = toDense(3, 2, {1, 0, 1, 1, 1, 2});
  Vector x(2), b = toVector({6, 7});
  double rsq;
  EXPECT_GT(ncgradAtA(&A, &x, &b, &rsq), 0);
  expectNear(x, {1.5, 0.5}, "normal equations");
}

// A = 2, d = 3: 2 (2 x + 3) = 2 b. A damping that multiplies x would give 2 b / 7.
TEST_F(NCGrad, DampAddsAConstantToTheProduct) {
  cg_maxRestarts = 1;
  FullMatrix A = toDense(1, 1, {2});
  Vector x = toVector({3.5}), b = toVector({10});
  double rsq = -1.0;
  EXPECT_EQ(ncgradDamp(&A, &x, &b, &rsq, 3.0), 0);
  EXPECT_EQ(rsq, 0.0);
  x[0] = 6.5;
  rsq = -1.0;
  EXPECT_EQ(ncgradDamp(&A, &x, &b, &rsq, -3.0), 0) << "of either sign";
  EXPECT_EQ(rsq, 0.0);
  SparseMatrix rows(1, 1, {2});
  EXPECT_EQ(ncgradDamp(&rows.m, &x, &b, &rsq, -3.0), 0);
  EXPECT_EQ(rsq, 0.0);
  Vector v = toVector({1}), w;
  multFunAtA(&A, &v, &w);
  EXPECT_EQ(w[0], 4.0) << "the damping term is 0 again";
}

// A = 2, b = 10, d = 3 from x = 0: r = 20 - 6 = 14, and q = 2 (2 14 + 3) = 62 contains the constant too, so
// alpha = 196 / 868 and x = 98 / 31. By the recurrence r is then 0; recomputed it is 14 - 4 x = 42 / 31.
TEST_F(NCGrad, DampAddsTheConstantInEveryProduct) {
  cg_maxRestarts = 1;
  cg_maxIters = 2;
  FullMatrix A = toDense(1, 1, {2});
  Vector x(1), b = toVector({10});
  double rsq = -1.0;
  EXPECT_EQ(ncgradDamp(&A, &x, &b, &rsq, 3.0), -2);
  EXPECT_NEAR(x[0], 98.0 / 31.0, 1e-14);
  EXPECT_NEAR(rsq, 42.0 / 31.0 * 42.0 / 31.0, 1e-13);
}

TEST_F(NCGrad, DampedSolvesEndAtTheDampedSolution) {
  cg_tol = 1e-2;
  const double d = 0.1;
  std::mt19937_64 engine(5);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  for (int k = 0; k < 50; ++k) {
    FullMatrix A(6, 4);
    for (int e = 0; e < 24; ++e) A.data[e] = uniform(engine) + (e % 5 == 0 ? 3.0 : 0.0);
    Vector b(6), damped(4), undamped(4);
    for (int i = 0; i < 6; ++i) b[i] = 10.0 * uniform(engine);
    double rsq = -1.0, plain = -1.0;
    ASSERT_GT(ncgradDamp(&A, &damped, &b, &rsq, d), 0) << k;
    ASSERT_GT(ncgrad(&A, &undamped, &b, &plain), 0) << k;
    // |A^T (A x + d 1) - A^T b|^2
    const auto gradientSq = [&](const Vector& x) {
      double sum = 0.0;
      for (int j = 0; j < 4; ++j) {
        double g = 0.0;
        for (int i = 0; i < 6; ++i) {
          double t = d - b[i];
          for (int m = 0; m < 4; ++m) t += A.e(i, m) * x[m];
          g += A.e(i, j) * t;
        }
        sum += g * g;
      }
      return sum;
    };
    EXPECT_TRUE(rsq < cg_tol) << rsq;
    EXPECT_NEAR(gradientSq(damped), rsq, 1e-9) << k;
    EXPECT_GT(gradientSq(undamped), 10.0 * cg_tol) << k;
  }
}

TEST_F(NCGrad, ZeroRightHandSideZeroesTheSolution) {
  FullMatrix A = toDense(2, 2, {2, 0, 0, 2});
  const Entry entries[] = {
      ncgradA,
      ncgradAtA,
      ncgrad,
      [](SpMat* m, Vector* x, Vector* b, double* r) { return ncgradDamp(m, x, b, r, 1.0); },
      [](SpMat* m, Vector* x, Vector* b, double* r) { return ncgradJJt(m, x, b, r, nullptr, nullptr); },
      [](SpMat* m, Vector* x, Vector* b, double* r) {
        return ncgradJVJt(m, x, b, r, nullptr, nullptr, nullptr);
      }};
  for (const Entry& entry : entries) {
    Vector x = toVector({3, 4}), b = toVector({1e-5, 0});
    EXPECT_EQ(entry(&A, &x, &b, nullptr), 0);
    EXPECT_EQ(toElements(x), (Elements{0, 0}));
    // small, but not below cg_epsilon
    x[0] = 3.0;
    b[0] = 2e-4;
    EXPECT_NE(entry(&A, &x, &b, nullptr), 0);
    EXPECT_NE(x[0], 0.0);
    cgradDampV = nullptr;
  }
  // not handled specially here: the residual of the start counts
  Vector x = toVector({3, 4}), b = toVector({0, 0});
  EXPECT_GT(ncgradAAt(&A, &x, &b, nullptr), 0);
}

TEST_F(NCGrad, JJtZeroRightHandSideLeavesTheDampingSet) {
  FullMatrix A = toDense(1, 1, {2});
  Vector x = toVector({3}), b = toVector({0}), damp = toVector({5});
  EXPECT_EQ(ncgradJJt(&A, &x, &b, nullptr, &damp, nullptr), 0);
  EXPECT_EQ(cgradDampV, &damp);
  Vector v = toVector({1}), w;
  multFunA(&A, &v, &w);
  EXPECT_EQ(w[0], 7.0);
}

TEST_F(NCGrad, JVJtZeroRightHandSideLeavesBothSet) {
  FullMatrix A = toDense(1, 1, {2});
  Vector x = toVector({3}), b = toVector({0}), damp = toVector({5}), mass = toVector({4});
  EXPECT_EQ(ncgradJVJt(&A, &x, &b, nullptr, &mass, &damp, nullptr), 0);
  EXPECT_EQ(cgradDampV, &damp);
  EXPECT_EQ(cgradMassVec, &mass);
  Vector v = toVector({1}), w;
  multFunJJt(&A, &v, &w);
  EXPECT_EQ(w[0], 6.0);
}

TEST_F(NCGrad, SingularSystems) {
  FullMatrix none(2, 2);
  Vector b = toVector({3, 4});
  Vector x(2);
  // one iteration was begun, so the result is minus one iteration, where the others return -1
  cg_maxRestarts = 3;
  EXPECT_EQ(ncgradA(&none, &x, &b, nullptr), -1);
  FullMatrix half = toDense(2, 2, {1, 0, 0, 0});
  Vector start = toVector({0, 0}), rhs = toVector({1, 1});
  cg_tol = 1e-30;
  cg_goNoWhereSc = 100.0;
  const int iterations = ncgradA(&half, &start, &rhs, nullptr);
  EXPECT_LT(iterations, -1);
  Vector again = toVector({0, 0});
  EXPECT_EQ(ncgradAAt(&half, &again, &rhs, nullptr), -1);
  Vector dual = toVector({0, 0});
  EXPECT_EQ(ncgradJJt(&half, &dual, &rhs, nullptr, nullptr, nullptr), -1);
}

TEST_F(NCGrad, UnsolvedReturnsTheNegatedIterations) {
  cg_tol = 1e-30;
  cg_maxIters = 1;
  cg_maxRestarts = 4;
  FullMatrix A = toDense(1, 1, {3});
  Vector x(1), b = toVector({8});
  double rsq = -1.0;
  EXPECT_EQ(ncgradA(&A, &x, &b, &rsq), -4);
  EXPECT_GT(rsq, 0.0);
  Vector y(1);
  EXPECT_EQ(ncgradAtA(&A, &y, &b, &rsq), -4);
}

TEST_F(NCGrad, JVJtWarnsOfSizesAndGoesOn) {
  const CapturedOutput captured;
  FullMatrix A = toDense(2, 3, {1, 1, 0, 0, 1, 1});
  Vector x(2), b = toVector({1, 1}), mass = toVector({1, 1}), damp = toVector({0, 0, 0});
  EXPECT_GT(ncgradJVJt(&A, &x, &b, nullptr, &mass, &damp, nullptr), 0);
  const std::vector<std::string>& calls = captured.errCalls();
  ASSERT_EQ(calls.size(), 6u);
  EXPECT_EQ(calls[0].rfind("WARNING @ (NewCGrad:", 0), 0u);
  EXPECT_EQ(calls[1], "CGRAD warning: massvec wrong size! massVec(2) matrix(3 x 2)");
  EXPECT_EQ(calls[3].rfind("WARNING @ (NewCGrad:", 0), 0u);
  EXPECT_EQ(calls[4], "damping vector is not the same as the height of matrix!");
  EXPECT_EQ(captured.err().find("Cgrad mult may fail!"), std::string::npos);
}

TEST_F(NCGrad, JVJtAcceptsALongerMass) {
  const CapturedOutput captured;
  FullMatrix A = toDense(1, 1, {1});
  Vector x(1), b = toVector({1}), mass = toVector({1, 1}), damp = toVector({0});
  ncgradJVJt(&A, &x, &b, nullptr, &mass, &damp, nullptr);
  EXPECT_EQ(captured.err(), "");
}

TEST_F(CGMultiply, DefinizerAddsAMultipleWhenPositive) {
  FullMatrix A = toDense(2, 2, {1, 2, 3, 4});
  const Vector v = toVector({1, 10});
  Vector w;
  cgradDefinizer = 0.0;
  multFunA(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{21, 43}));
  cgradDefinizer = 0.5;
  multFunA(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{21.5, 48}));
  multFunJJt(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{5 + 110 + 0.5, 11 + 250 + 5}));
  multFunAtA(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{150, 214}));
}

TEST_F(CGMultiply, DampingOfMultFunAReachesAsFarAsTheDamping) {
  FullMatrix A = toDense(2, 2, {1, 0, 0, 1});
  const Vector v = toVector({1, 10});
  Vector w, shorter = toVector({2}), longer = toVector({2, 3, 4, 5, 6, 7});
  cgradDampV = &shorter;
  multFunA(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{3, 10}));
  cgradDampV = &longer;
  multFunA(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{3, 40}));
}

TEST_F(CGMultiply, DampingOfMultFunJJtReachesAsFarAsTheProduct) {
  FullMatrix A = toDense(2, 2, {1, 0, 0, 1});
  const Vector v = toVector({1, 10});
  Vector w, damp = toVector({2, 3, 4, 5, 6, 7});
  cgradDampV = &damp;
  multFunJJt(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{3, 40}));
  // unlike multFunA, it ignores the length of the damping: the second element is still in the storage
  damp.grow(1);
  multFunJJt(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{3, 40}));
  multFunA(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{3, 10}));
}

// t = A^T (1, 1) = (1, 2, 1).
TEST_F(CGMultiply, WeightsDivideTheProductOfMultFunJJtOnly) {
  FullMatrix A = toDense(2, 3, {1, 1, 0, 0, 1, 1});
  const Vector v = toVector({1, 1}), three = toVector({1, 2, 3});
  Vector w, mass = toVector({2, 4, 8}), shorter = toVector({2, 4});
  cgradMassVec = &mass;
  multFunJJt(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{1, 0.625}));
  multFunA(&A, &three, &w);
  EXPECT_EQ(toElements(w), (Elements{3, 5}));
  cgradMassVec = &shorter;
  multFunJJt(&A, &v, &w);
  EXPECT_EQ(toElements(w), (Elements{1, 1.5})) << "the last one has no weight";
}

// Multiplies as its base does, but is another class.
class Derived : public HSpMat {
 public:
  using HSpMat::HSpMat;
};

TEST_F(CGMultiply, RowsFetchedOnceGiveTheBitsOfTwoProducts) {
  for (const int height : {1, 5, 255, 256, 257, 700}) {
    SparseMatrix sparse;
    for (int i = 0; i < height; ++i) {
      SpVec& row = sparse.addRow();
      for (int k = 0; k < i % 9; ++k) row.ins(std::sin(i + 7.0 * k), (i * 31 + k * 17) % 90);
    }
    sparse.m.rows[height / 2] = nullptr;
    Derived other(height);
    for (int i = 0; i < height; ++i) other.rows[i] = sparse.m.rows[i];
    Vector v(90), once(3), twice(200);
    for (int j = 0; j < 90; ++j) v[j] = std::cos(3.0 * j);
    multFunAtA(&sparse.m, &v, &once);
    multFunAtA(&other, &v, &twice);
    EXPECT_EQ(toElements(once), toElements(twice)) << height;
  }
}

TEST_F(CGMultiply, OutputsGrowAndShrinkToTheirLength) {
  FullMatrix A = toDense(2, 3, {1, 1, 0, 0, 1, 1});
  const Vector three = toVector({1, 2, 3}), two = toVector({1, 2});
  Vector w(30);
  multFunA(&A, &three, &w);
  EXPECT_EQ(toElements(w), (Elements{3, 5}));
  multFunAtA(&A, &three, &w);
  EXPECT_EQ(toElements(w), (Elements{3, 8, 5}));
  multFunJJt(&A, &two, &w);
  EXPECT_EQ(toElements(w), (Elements{4, 5}));
}

}  // namespace
