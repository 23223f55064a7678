// A long solve multiplies by a copy of a row-sparse matrix that is laid out for products. What shows of it:
// nothing in the numbers, and that a change of the matrix during a solve does not count.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/MCGrad.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/PureCGrad.h"
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

/// The identity, which at a late iteration changes the matrix, multiplies by it, and changes it back.
class Meddler : public Preconditioner {
 public:
  Meddler(SpMat* A, SpVec* row) : product(A->height()), A_(A), row_(row) {}

  void solve(const Vector* r, Vector* z) override {
    Preconditioner::solve(r, z);
    if (++calls != 15) return;
    const double kept = row_->e(0);
    row_->e(0) = 1e6;
    multFunA(A_, r, &product);
    row_->e(0) = kept;
    Vector now;
    multFunA(A_, r, &now);
    same = tolerance::sameBits(product.data, now.data, now.count);
  }

  int calls = 0;
  bool same = false;
  Vector product;

 private:
  SpMat* A_;
  SpVec* row_;
};

void plainProduct(SpMat* A, const Vector* v, Vector* w) { A->mult(v, w); }
void ownProduct(SpMat* A, const Vector* v, Vector* w) { multFunA(A, v, w); }

/// Whether a change of the matrix late in a pass goes unseen by multFunA.
bool copies(CGMultFun mult) {
  SparseMatrix sparse = random(61, true);
  Vector b(61), x(61), r, p, q, best, z;
  b = 1.0;
  Meddler meddler(&sparse.m, sparse.rows[60].get());
  int iter = 0, bestIter = 0;
  double rsq;
  pureCGrad(&sparse.m, &x, &b, mult, &r, &p, &q, 100, iter, bestIter, rsq, &best, &meddler, &z);
  EXPECT_GT(meddler.calls, 15);
  return meddler.same;
}

TEST(SolveCopy, ALongPassDoesNotFollowTheMatrix) {
  const Tuning tuning;
  Tuning::strict(1e-24);
  EXPECT_TRUE(copies(multFunA));
}

TEST(SolveCopy, AProductOfTheCallersOwnMayChangeTheMatrix) {
  const Tuning tuning;
  Tuning::strict(1e-24);
  EXPECT_FALSE(copies(plainProduct));
  EXPECT_FALSE(copies(ownProduct));
}

TEST(SolveCopy, ChangesBetweenSolvesCount) {
  const Tuning tuning;
  Tuning::strict(1e-24);
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

/// The inverse of a matrix, by a solve within the solve.
class InnerSolve : public Preconditioner {
 public:
  explicit InnerSolve(HSpMat* A) : A_(A) {}

  void solve(const Vector* r, Vector* z) override {
    z->grow(r->count);
    *z = 0.0;
    Vector b(*r), p, q, best, rest, unused;
    int iter = 0, bestIter = 0;
    double rsq;
    status = pureCGrad(A_, z, &b, multFunA, &rest, &p, &q, 200, iter, bestIter, rsq, &best, nullptr, &unused);
  }

  CGIStatus status = CGI_TOO_MANY_ITERS;

 private:
  HSpMat* A_;
};

TEST(SolveCopy, ASolveWithinASolveHasItsOwnMatrix) {
  const Tuning tuning;
  Tuning::strict(1e-24);
  SparseMatrix outer = random(61, true), inner = random(61, true);
  for (auto& row : inner.rows) row->scale(3.0);
  inner.rows[7]->e(0) *= 1.0 + 1e-3;
  InnerSolve preconditioner(&inner.m);
  Vector b(61), x(61), product;
  b = 1.0;
  double rsq, rsqOut;
  int iterations;
  CGIStatus status;
  EXPECT_EQ(mcgradI(&outer.m, &x, &b, rsq, rsqOut, iterations, status, multFunA, &preconditioner), CG_ACCEPT);
  EXPECT_EQ(preconditioner.status, CGI_SOLVED);
  outer.m.mult(&x, &product);
  for (int i = 0; i < 61; ++i) EXPECT_TRUE(tolerance::close(product[i], 1.0, 1e-10));
}

}  // namespace
