// A long solve with a row-sparse matrix multiplies by a copy, which never changes the numbers and is never
// visible outside of the solve.

#include <gtest/gtest.h>

#include <cmath>
#include <csetjmp>
#include <functional>
#include <thread>
#include <utility>

#include "limber/linalg/WierdMatrices.h"
#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "tests/solvers/EverySolve.h"
#include "tests/solvers/OnePass.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

using SolveMatrix = RestoredTuning;

// Multiplies like its base class, but is another class and therefore never copied.
class Derived : public HSpMat {
 public:
  using HSpMat::HSpMat;
};

TEST_F(SolveMatrix, EverySolveHasTheBitsOfTheRows) {
  strict(1e-18);
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
    SparseMatrix sparse = randomSparse(n, symmetric);
    Derived rows(n);
    for (int i = 0; i < n; ++i) rows.rows[i] = sparse.m.rows[i];
    for (const EntryPoint& each : entryPoints(damp, mass, identity)) {
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

// Makes passes run to the end, also the first one of the process.
void strictPasses() {
  strict(1e-24);
  setStagnation(61, 10.0);
}

// The identity as a preconditioner, which calls `action` with the number of each call, from 1.
class Meddler : public Preconditioner {
 public:
  explicit Meddler(std::function<void(int call, const Vector* r)> action) : action_(std::move(action)) {}

  void solve(const Vector* r, Vector* z) override {
    Preconditioner::solve(r, z);
    action_(++calls, r);
  }

  int calls = 0;

 private:
  std::function<void(int call, const Vector* r)> action_;
};

// The result of pureCGrad with separate work vectors.
struct PassResult {
  CGIStatus status;
  int iterations = 0;
  double rsq = -1.0;
  Vector x;

  PassResult(SpMat* A, const Vector& b, CGMultFun mult, Preconditioner* pre) : x(b.count) {
    Vector right(b), r, p, q, best, z;
    int bestIter = 0;
    status = pureCGrad(A, &x, &right, mult, &r, &p, &q, 100, iterations, bestIter, rsq, &best, pre, &z);
  }
};

Vector ones(int n) {
  Vector v(n);
  v = 1.0;
  return v;
}

void plainProduct(SpMat* A, const Vector* v, Vector* w) { A->mult(v, w); }
void ownProduct(SpMat* A, const Vector* v, Vector* w) { multFunA(A, v, w); }

// True if a change of the matrix between two iterations changes the solution.
bool followsTheMatrix(CGMultFun mult, int n = 61, int iteration = 12) {
  SparseMatrix sparse = randomSparse(n, true);
  double& entry = sparse.rows.back()->e(0);
  const double kept = entry;
  const auto solve = [&](double change) {
    Meddler meddler([&](int call, const Vector*) { entry = call == iteration ? change : kept; });
    const PassResult pass(&sparse.m, ones(n), mult, &meddler);
    EXPECT_GT(meddler.calls, iteration + 1);
    return pass.x;
  };
  const Vector undisturbed = solve(kept), disturbed = solve(1e3);
  return !tolerance::sameBits(undisturbed.data, disturbed.data, n);
}

// (The effect of such a change is undefined. Here it shows which matrix is read.)
TEST_F(SolveMatrix, OperationsOfTheLibraryReadTheCopyAndThoseOfTheCallerTheMatrix) {
  strictPasses();
  for (const CGMultFun mult : {multFunA, multFunJJt, multFunAtA}) EXPECT_FALSE(followsTheMatrix(mult));
  EXPECT_TRUE(followsTheMatrix(plainProduct));
  EXPECT_TRUE(followsTheMatrix(ownProduct));
}

TEST_F(SolveMatrix, ManyEntriesAreCopiedEarlier) {
  strictPasses();
  EXPECT_FALSE(followsTheMatrix(multFunA, 1200, 6)) << "about 160000 entries";
  EXPECT_TRUE(followsTheMatrix(multFunA, 930, 6)) << "about 96000 entries";
}

TEST_F(SolveMatrix, WhoeverMultipliesDuringASolveGetsTheMatrixAsItIs) {
  strictPasses();
  SparseMatrix sparse = randomSparse(61, true);
  double& entry = sparse.rows[60]->e(0);
  const double kept = entry;
  Meddler meddler([&](int call, const Vector* r) {
    if (call != 15) return;
    entry = 1e6;
    for (const CGMultFun mult : {multFunA, multFunJJt, multFunAtA}) {
      Vector w, expected;
      mult(&sparse.m, r, &w);
      Derived rows(61);
      for (int i = 0; i < 61; ++i) rows.rows[i] = sparse.m.rows[i];
      mult(&rows, r, &expected);
      EXPECT_TRUE(tolerance::sameBits(w.data, expected.data, 61));
    }
    entry = kept;
  });
  EXPECT_EQ(PassResult(&sparse.m, ones(61), multFunA, &meddler).status, CGI_SOLVED);
  EXPECT_GT(meddler.calls, 15);
}

TEST_F(SolveMatrix, ChangesBetweenSolvesCount) {
  strictPasses();
  SparseMatrix sparse = randomSparse(61, true);
  Vector b = ones(61), x(61), y(61), product;
  double rsq;
  EXPECT_GT(ncgradA(&sparse.m, &x, &b, &rsq), 10);
  for (auto& row : sparse.rows) row->scale(2.0);
  multFunA(&sparse.m, &x, &product);
  for (int i = 0; i < 61; ++i) EXPECT_TRUE(tolerance::close(product[i], 2.0, 1e-10));
  EXPECT_GT(ncgradA(&sparse.m, &y, &b, &rsq), 10);
  for (int i = 0; i < 61; ++i) EXPECT_TRUE(tolerance::close(y[i], 0.5 * x[i], 1e-10));
}

TEST_F(SolveMatrix, AMatrixThatLosesRowsDuringASolveIsReadWithinItsRows) {
  strictPasses();
  SparseMatrix sparse = randomSparse(61, true);
  Meddler meddler([&](int call, const Vector*) { sparse.m.numRows = call < 15 ? 61 : 10; });
  PassResult(&sparse.m, ones(61), multFunA, &meddler);
  EXPECT_GT(meddler.calls, 15);
}

TEST_F(SolveMatrix, ASolveWithinASolveLeavesItsNumbersAlone) {
  strictPasses();
  SparseMatrix outer = randomSparse(61, true), inner = randomSparse(61, true);
  for (auto& row : inner.rows) row->scale(3.0);
  Preconditioner identity;
  const PassResult alone(&inner.m, ones(61), multFunA, nullptr);
  const PassResult undisturbed(&outer.m, ones(61), multFunA, &identity);
  EXPECT_EQ(alone.status, CGI_SOLVED);
  EXPECT_EQ(undisturbed.status, CGI_SOLVED);
  Meddler meddler([&](int call, const Vector*) {
    if (call % 7 != 1) return;
    const PassResult inside(&inner.m, ones(61), multFunA, nullptr);
    EXPECT_TRUE(tolerance::sameBits(inside.x.data, alone.x.data, 61)) << call;
  });
  const PassResult pass(&outer.m, ones(61), multFunA, &meddler);
  EXPECT_EQ(pass.status, CGI_SOLVED);
  EXPECT_GT(meddler.calls, 15);
  EXPECT_TRUE(tolerance::sameBits(pass.x.data, undisturbed.x.data, 61));
}

std::jmp_buf jumpedOut;

// Leaves the solve by a longjmp at its 15th call. It has no local objects, so the jump skips no destructor.
class Jumper : public Preconditioner {
 public:
  void solve(const Vector* r, Vector* z) override {
    Preconditioner::solve(r, z);
    if (++calls == 15) std::longjmp(jumpedOut, 1);
  }
  int calls = 0;
};

// A preconditioner may leave a solve in this way, for example if it cannot read a file. What the solve has
// allocated then leaks, but if all vectors already have their sizes it allocates nothing.
TEST_F(SolveMatrix, ASolveThatIsLeftByAJumpLeavesNothingBehind) {
  strictPasses();
  SparseMatrix sparse = randomSparse(61, true);
  Vector b = ones(61), x(61), r(61), p(61), q(61), z(61), best(61);
  Jumper jumper;
  if (setjmp(jumpedOut) == 0) {
    int iter = 0, bestIter = 0;
    double rsq;
    pureCGrad(&sparse.m, &x, &b, multFunA, &r, &p, &q, 100, iter, bestIter, rsq, &best, &jumper, &z);
    FAIL() << "too short";
  }
  for (auto& row : sparse.rows) row->scale(2.0);
  Derived rows(61);
  for (int i = 0; i < 61; ++i) rows.rows[i] = sparse.m.rows[i];
  const PassResult after(&sparse.m, b, multFunA, nullptr), expected(&rows, b, multFunA, nullptr);
  EXPECT_EQ(after.status, CGI_SOLVED);
  EXPECT_TRUE(tolerance::sameBits(after.x.data, expected.x.data, 61));
  EXPECT_TRUE(tolerance::sameBits(after.rsq, expected.rsq));
  EXPECT_FALSE(followsTheMatrix(multFunA)) << "the storage of the copy is free again";
}

// The solve of one thread. Everything that it needs already has its size.
struct OwnSolve {
  SparseMatrix sparse = randomSparse(61, true);
  Vector b{61}, x{61}, r{61}, p{61}, q{61}, z{61}, best{61};
  Preconditioner identity;
  CGIStatus status = CGI_SINGULAR;

  explicit OwnSolve(double scale) {
    for (auto& row : sparse.rows) row->scale(scale);
    b = 1.0;
  }
  void run(CGMultFun mult) {
    x = 0.0;
    int iter = 0, bestIter = 0;
    double rsq;
    status = pureCGrad(&sparse.m, &x, &b, mult, &r, &p, &q, 100, iter, bestIter, rsq, &best, &identity, &z);
  }
};

// Under ThreadSanitizer this shows that such solves share nothing but the storage of the copy.
TEST_F(SolveMatrix, ThreadsWithTheirOwnMatricesAndWorkVectorsDoNotDisturbEachOther) {
  strictPasses();
  for (const CGMultFun mult : {multFunA, plainProduct}) {
    OwnSolve first(1.0), second(7.0);
    first.run(mult);
    second.run(mult);
    const Vector firstAlone(first.x), secondAlone(second.x);
    int wrong[2] = {0, 0};
    const auto repeat = [mult](OwnSolve& solve, const Vector& expected, int& differences) {
      for (int k = 0; k < 300; ++k) {
        solve.run(mult);
        differences += solve.status != CGI_SOLVED || !tolerance::sameBits(solve.x.data, expected.data, 61);
      }
    };
    std::thread one(repeat, std::ref(first), std::cref(firstAlone), std::ref(wrong[0]));
    std::thread two(repeat, std::ref(second), std::cref(secondAlone), std::ref(wrong[1]));
    one.join();
    two.join();
    EXPECT_EQ(wrong[0], 0);
    EXPECT_EQ(wrong[1], 0);
  }
}

}  // namespace
