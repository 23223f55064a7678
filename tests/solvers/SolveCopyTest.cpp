// A long solve multiplies by a copy of a row-sparse matrix that is laid out for products. What shows of it:
// nothing in the numbers, and that a change of the matrix during a solve does not count.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <utility>
#include <vector>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "tests/solvers/OnePass.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

/// Multiplies as its base does, but is another class, which is never copied.
class Derived : public HSpMat {
 public:
  using HSpMat::HSpMat;
};

/// n by n, symmetric and diagonally dominant where asked for, rows of different lengths.
SparseMatrix random(int n, bool symmetric) {
  std::mt19937 engine(3);
  std::vector<double> a(static_cast<std::size_t>(n * n));
  const auto at = [&a, n](int i, int j) -> double& { return a[static_cast<std::size_t>(i * n + j)]; };
  std::normal_distribution<double> normal;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < i; ++j) {
      if (engine() % 9 != 0) continue;
      at(i, j) = normal(engine);
      at(j, i) = symmetric ? at(i, j) : 0.5 * normal(engine);
    }
  }
  for (int i = 0; i < n; ++i) {
    double sum = 0.0;
    for (int j = 0; j < n; ++j) sum += std::fabs(at(i, j));
    at(i, i) = 1.01 * sum + 0.01 * i;
  }
  return SparseMatrix(n, n, a);
}

using Solve = std::function<int(SpMat*, Vector*, Vector*, double*)>;

struct Named {
  const char* name;
  Solve solve;
};

std::vector<Named> solves(Vector& damp, Vector& mass, Preconditioner& identity) {
  return {
      {"ncgradA", ncgradA},
      {"ncgradAtA", ncgradAtA},
      {"ncgrad", ncgrad},
      {"ncgradAAt", ncgradAAt},
      {"ncgradDamp", [](SpMat* A, Vector* x, Vector* b, double* r) { return ncgradDamp(A, x, b, r, 0.01); }},
      {"ncgradJJt",
       [&](SpMat* A, Vector* x, Vector* b, double* r) { return ncgradJJt(A, x, b, r, &damp, &identity); }},
      {"ncgradJVJt", [&](SpMat* A, Vector* x, Vector* b,
                         double* r) { return ncgradJVJt(A, x, b, r, &mass, &damp, nullptr); }},
      {"cgrad", cgrad},
      {"cgradA", cgradA},
      {"cgradAAt", cgradAAt},
      {"cgradJVJt",
       [&](SpMat* A, Vector* x, Vector* b, double* r) { return cgradJVJt(A, x, b, r, &mass, &damp); }},
      {"biCGrad",
       [](SpMat* A, Vector* x, Vector* b, double* r) {
         int iterations = 0;
         biCGrad(A, x, b, *r, iterations, 1);
         return iterations;
       }},
  };
}

TEST(SolveCopy, EverySolveHasTheBitsOfTheRows) {
  const Tuning tuning;
  Tuning::strict(1e-18);
  const CapturedOutput captured;
  constexpr int n = 61;
  Vector damp(n), mass(n), b(n);
  Preconditioner identity;
  for (int i = 0; i < n; ++i) {
    damp[i] = 0.1 + 0.01 * i;
    mass[i] = 1.0 + i % 3;
    b[i] = std::sin(3.0 * i);
  }
  for (const bool symmetric : {true, false}) {
    SparseMatrix sparse = random(n, symmetric);
    Derived rows(n);
    for (int i = 0; i < n; ++i) rows.rows[i] = sparse.m.rows[i];
    for (const Named& each : solves(damp, mass, identity)) {
      Vector x(n), y(n);
      double rsq = -1.0, ysq = -2.0;
      const int iterations = each.solve(&sparse.m, &x, &b, &rsq);
      EXPECT_EQ(each.solve(&rows, &y, &b, &ysq), iterations) << each.name;
      EXPECT_GT(std::abs(iterations), 7) << each.name << ": too short for a copy";
      EXPECT_TRUE(tolerance::sameBits(rsq, ysq)) << each.name;
      EXPECT_TRUE(tolerance::sameBits(x.data, y.data, n)) << each.name;
    }
  }
}

/// Passes that go on to the end, also the first of the process.
void strictPasses() {
  Tuning::strict(1e-24);
  setStagnation(61, 10.0);
}

/// The identity, which does something at one of its calls.
class Meddler : public Preconditioner {
 public:
  Meddler(int call, std::function<void(const Vector* r)> action) : call_(call), action_(std::move(action)) {}

  void solve(const Vector* r, Vector* z) override {
    Preconditioner::solve(r, z);
    if (++calls == call_) action_(r);
  }

  int calls = 0;

 private:
  int call_;
  std::function<void(const Vector* r)> action_;
};

CGIStatus onePass(SpMat* A, Vector* x, Vector* b, CGMultFun mult, Preconditioner* pre) {
  Vector r, p, q, best, z;
  int iter = 0, bestIter = 0;
  double rsq;
  return pureCGrad(A, x, b, mult, &r, &p, &q, 100, iter, bestIter, rsq, &best, pre, &z);
}

/// Solves with the action at some call, late unless said, and sees to it that the pass is that long.
void solveWith(SparseMatrix& sparse, CGMultFun mult, std::function<void(const Vector*)> action,
               int call = 15) {
  Vector b(61), x(61);
  b = 1.0;
  Meddler meddler(call, std::move(action));
  onePass(&sparse.m, &x, &b, mult, &meddler);
  EXPECT_GT(meddler.calls, call);
}

void plainProduct(SpMat* A, const Vector* v, Vector* w) { A->mult(v, w); }
void ownProduct(SpMat* A, const Vector* v, Vector* w) { multFunA(A, v, w); }

/// Whether a change of the matrix at that call of a pass goes unseen by multFunA.
bool unseen(CGMultFun mult, int call = 15) {
  SparseMatrix sparse = random(61, true);
  bool same = false;
  const auto change = [&](const Vector* r) {
    double& entry = sparse.rows[60]->e(0);
    const double kept = entry;
    Vector changed, now;
    entry = 1e6;
    multFunA(&sparse.m, r, &changed);
    entry = kept;
    multFunA(&sparse.m, r, &now);
    same = tolerance::sameBits(changed.data, now.data, now.count);
  };
  solveWith(sparse, mult, change, call);
  return same;
}

TEST(SolveCopy, ALongPassDoesNotFollowTheMatrix) {
  const Tuning tuning;
  strictPasses();
  for (const CGMultFun mult : {multFunA, multFunJJt, multFunAtA}) EXPECT_TRUE(unseen(mult));
  EXPECT_FALSE(unseen(multFunA, 2)) << "too early for a copy";
}

TEST(SolveCopy, AProductOfTheCallersOwnMayChangeTheMatrix) {
  const Tuning tuning;
  strictPasses();
  EXPECT_FALSE(unseen(plainProduct));
  EXPECT_FALSE(unseen(ownProduct));
}

TEST(SolveCopy, OperandsThatDoNotFitGetTheProductOfTheRows) {
  const Tuning tuning;
  strictPasses();
  SparseMatrix sparse = random(61, true);
  Derived rows(61);
  for (int i = 0; i < 61; ++i) rows.rows[i] = sparse.m.rows[i];
  solveWith(sparse, multFunA, [&](const Vector*) {
    for (const int n : {0, 2, 60, 61, 90}) {
      Vector v(n), w, expected;
      for (int i = 0; i < n; ++i) v[i] = std::sin(2.0 * i);
      for (const CGMultFun mult : {multFunA, multFunJJt, multFunAtA}) {
        mult(&sparse.m, &v, &w);
        mult(&rows, &v, &expected);
        ASSERT_EQ(w.count, expected.count);
        EXPECT_TRUE(tolerance::sameBits(w.data, expected.data, w.count)) << n;
      }
    }
  });
}

TEST(SolveCopy, AMatrixThatLosesRowsIsReadAsItIs) {
  const Tuning tuning;
  strictPasses();
  SparseMatrix sparse = random(61, true);
  solveWith(sparse, multFunA, [&](const Vector* r) {
    Vector w(90), expected, ten(10);
    ten = 1.0;
    sparse.m.numRows = 10;
    multFunA(&sparse.m, r, &w);
    sparse.m.mult(r, &expected);
    EXPECT_EQ(w.count, 10);
    EXPECT_TRUE(tolerance::sameBits(w.data, expected.data, 10));
    multFunJJt(&sparse.m, &ten, &w);
    EXPECT_EQ(w.count, 10);
    sparse.m.numRows = 61;
  });
}

/// Multiplies by a matrix with one entry shifted, and solves with another matrix on the way.
SpVec* shiftedRow = nullptr;
SpMat* other = nullptr;
void shiftedProduct(SpMat* A, const Vector* v, Vector* w) {
  double rsq;
  Vector x(v->count), b(*v);
  ncgradA(other, &x, &b, &rsq);
  shiftedRow->e(0) += 3.0;
  multFunA(A, v, w);
  shiftedRow->e(0) -= 3.0;
}

TEST(SolveCopy, AProductOfTheCallersOwnCountsInsideASolveToo) {
  const Tuning tuning;
  strictPasses();
  SparseMatrix sparse = random(61, true), second = random(61, true);
  for (auto& row : second.rows) row->scale(5.0);
  shiftedRow = sparse.rows[60].get();
  other = &second.m;
  Vector b(61), alone(61), inside(61), undisturbed(61), x(61);
  b = 1.0;
  onePass(&sparse.m, &alone, &b, shiftedProduct, nullptr);
  Preconditioner identity;
  onePass(&sparse.m, &undisturbed, &b, multFunA, &identity);
  Vector before, after;
  Meddler meddler(15, [&](const Vector* r) {
    multFunA(&sparse.m, r, &before);
    onePass(&sparse.m, &inside, &b, shiftedProduct, nullptr);
    sparse.rows[60]->e(0) += 1.0;
    multFunA(&sparse.m, r, &after);
    sparse.rows[60]->e(0) -= 1.0;
  });
  onePass(&sparse.m, &x, &b, multFunA, &meddler);
  EXPECT_GT(meddler.calls, 15);
  EXPECT_TRUE(tolerance::sameBits(inside.data, alone.data, 61));
  EXPECT_TRUE(tolerance::sameBits(before.data, after.data, 61)) << "goes on with its own copy";
  EXPECT_TRUE(tolerance::sameBits(x.data, undisturbed.data, 61));
}

TEST(SolveCopy, ChangesBetweenSolvesCount) {
  const Tuning tuning;
  strictPasses();
  SparseMatrix sparse = random(61, true);
  Vector b(61), x(61), y(61), product;
  b = 1.0;
  double rsq;
  EXPECT_GT(ncgradA(&sparse.m, &x, &b, &rsq), 10);
  for (auto& row : sparse.rows) row->scale(2.0);
  multFunA(&sparse.m, &x, &product);
  for (int i = 0; i < 61; ++i) EXPECT_TRUE(tolerance::close(product[i], 2.0, 1e-10));
  EXPECT_GT(ncgradA(&sparse.m, &y, &b, &rsq), 10);
  for (int i = 0; i < 61; ++i) EXPECT_TRUE(tolerance::close(y[i], 0.5 * x[i], 1e-10));
}

TEST(SolveCopy, ASolveWithinASolveHasItsOwnMatrix) {
  const Tuning tuning;
  strictPasses();
  SparseMatrix outer = random(61, true), inner = random(61, true);
  for (auto& row : inner.rows) row->scale(3.0);
  Vector b(61), alone(61), inside(61), x(61), undisturbed(61);
  b = 1.0;
  EXPECT_EQ(onePass(&inner.m, &alone, &b, multFunA, nullptr), CGI_SOLVED);
  Preconditioner identity;
  EXPECT_EQ(onePass(&outer.m, &undisturbed, &b, multFunA, &identity), CGI_SOLVED);
  Meddler meddler(15, [&](const Vector*) { onePass(&inner.m, &inside, &b, multFunA, nullptr); });
  EXPECT_EQ(onePass(&outer.m, &x, &b, multFunA, &meddler), CGI_SOLVED);
  EXPECT_TRUE(tolerance::sameBits(inside.data, alone.data, 61));
  EXPECT_TRUE(tolerance::sameBits(x.data, undisturbed.data, 61));
}

}  // namespace
