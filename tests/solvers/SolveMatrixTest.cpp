// A solver multiplies by a wrapper of the caller's matrix. In it, the structured matrices have their true
// sizes, and a long solve with a row-sparse matrix multiplies by a copy. The copy never changes the numbers
// and is never visible outside of the solve.

#include <gtest/gtest.h>

#include <cmath>
#include <csetjmp>
#include <functional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "limber/linalg/WierdMatrices.h"
#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "tests/solvers/NoTypeInformation.h"
#include "tests/solvers/OnePass.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

// Multiplies like its base class, but is another class and therefore never copied.
class Derived : public HSpMat {
 public:
  using HSpMat::HSpMat;
};

// An n x n matrix, symmetric and diagonally dominant if requested, with rows of different lengths.
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

TEST(SolveMatrix, EverySolveHasTheBitsOfTheRows) {
  const CGTuning tuning;
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
  SparseMatrix sparse = random(n, true);
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
TEST(SolveMatrix, OperationsOfTheLibraryReadTheCopyAndThoseOfTheCallerTheMatrix) {
  const CGTuning tuning;
  strictPasses();
  for (const CGMultFun mult : {multFunA, multFunJJt, multFunAtA}) EXPECT_FALSE(followsTheMatrix(mult));
  EXPECT_TRUE(followsTheMatrix(plainProduct));
  EXPECT_TRUE(followsTheMatrix(ownProduct));
}

TEST(SolveMatrix, ManyEntriesAreCopiedEarlier) {
  const CGTuning tuning;
  strictPasses();
  EXPECT_FALSE(followsTheMatrix(multFunA, 1700, 6)) << "about 320000 entries";
  EXPECT_TRUE(followsTheMatrix(multFunA, 1300, 6)) << "about 190000 entries";
}

TEST(SolveMatrix, WhoeverMultipliesDuringASolveGetsTheMatrixAsItIs) {
  const CGTuning tuning;
  strictPasses();
  SparseMatrix sparse = random(61, true);
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

TEST(SolveMatrix, ChangesBetweenSolvesCount) {
  const CGTuning tuning;
  strictPasses();
  SparseMatrix sparse = random(61, true);
  Vector b = ones(61), x(61), y(61), product;
  double rsq;
  EXPECT_GT(ncgradA(&sparse.m, &x, &b, &rsq), 10);
  for (auto& row : sparse.rows) row->scale(2.0);
  multFunA(&sparse.m, &x, &product);
  for (int i = 0; i < 61; ++i) EXPECT_TRUE(tolerance::close(product[i], 2.0, 1e-10));
  EXPECT_GT(ncgradA(&sparse.m, &y, &b, &rsq), 10);
  for (int i = 0; i < 61; ++i) EXPECT_TRUE(tolerance::close(y[i], 0.5 * x[i], 1e-10));
}

TEST(SolveMatrix, AMatrixThatLosesRowsDuringASolveIsReadWithinItsRows) {
  const CGTuning tuning;
  strictPasses();
  SparseMatrix sparse = random(61, true);
  Meddler meddler([&](int call, const Vector*) { sparse.m.numRows = call < 15 ? 61 : 10; });
  PassResult(&sparse.m, ones(61), multFunA, &meddler);
  EXPECT_GT(meddler.calls, 15);
}

TEST(SolveMatrix, ASolveWithinASolveLeavesItsNumbersAlone) {
  const CGTuning tuning;
  strictPasses();
  SparseMatrix outer = random(61, true), inner = random(61, true);
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

// A preconditioner may leave in this way, for example if it cannot read a file. (The allocations of the solve
// leak. There are none if all vectors already have their sizes.)
TEST(SolveMatrix, ASolveThatIsLeftByAJumpLeavesNothingBehind) {
  const CGTuning tuning;
  strictPasses();
  SparseMatrix sparse = random(61, true);
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
  SparseMatrix sparse = random(61, true);
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
TEST(SolveMatrix, ThreadsWithTheirOwnMatricesAndWorkVectorsDoNotDisturbEachOther) {
  const CGTuning tuning;
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

// Checks that every entry point gives nearly the same solution for A and for `same`, the row-sparse matrix
// with the same elements.
void expectSolved(SpMat* A, SparseMatrix& same, const char* matrix) {
  const int n = same.m.height();
  Vector damp(n), mass(n), b(n);
  Preconditioner identity;
  for (int i = 0; i < n; ++i) {
    damp[i] = 0.1 + 0.01 * i;
    mass[i] = 1.0 + i % 3;
    b[i] = std::sin(3.0 * i + 1.0);
  }
  for (const Named& each : solves(damp, mass, identity)) {
    const CapturedOutput captured;
    Vector x(n), y(n);
    double rsq = -1.0, ysq = -2.0;
    each.solve(A, &x, &b, &rsq);
    EXPECT_EQ(captured.err().find("not implemented"), std::string::npos) << each.name << " on " << matrix;
    each.solve(&same.m, &y, &b, &ysq);
    for (int i = 0; i < n; ++i) {
      ASSERT_TRUE(tolerance::close(x[i], y[i], 1e-8)) << each.name << " on " << matrix << " at " << i;
    }
  }
}

// The row-sparse matrix with the elements of a structured one.
template <class Structured>
SparseMatrix sparseImage(Structured& A) {
  SparseMatrix out;
  for (int i = 0; i < A.height(); ++i) {
    SpVec& row = out.addRow();
    for (int j = 0; j < A.width(); ++j) row.insEnd(A.acc(i, j), j);
    row.width = A.width();
  }
  return out;
}

TEST(SolveMatrix, StructuredMatricesAreSolved) {
  const CGTuning tuning;
  strict(1e-24);
  for (const int n : {1, 10, 200}) {
    Vector diagonal(n);
    for (int i = 0; i < n; ++i) diagonal[i] = 1.0 + i % 5;
    DiagonalMatrix D(&diagonal);
    SparseMatrix d = sparseImage(D);
    expectSolved(&D, d, "DiagonalMatrix");

    IdentityMatrix I(n);
    I.s = 4.0;
    SparseMatrix s = sparseImage(I);
    expectSolved(&I, s, "IdentityMatrix");

    BandedMatrix B(n, 4);
    for (int i = 0; i < n; ++i) {
      B.e(i, i) = 4.0;
      if (i > 0) B.e(i, i - 1) = -1.0;
      if (i + 1 < n) B.e(i, i + 1) = -1.0;
    }
    SparseMatrix b = sparseImage(B);
    expectSolved(&B, b, "BandedMatrix");
  }
}

TEST(SolveMatrix, AQuadraticProgramIsSolved) {
  const CGTuning tuning;
  strict(1e-24);
  SparseMatrix H = random(12, true), J;
  for (int i = 0; i < 3; ++i) J.addRow().insEnd(1.0 + i, 4 * i);
  for (auto& row : J.rows) row->width = 12;
  SQPMatrix Q(&H.m, &J.m);
  // with a positive value the whole matrix is positive definite enough for every solver
  Q.lowerDiagonal = 9.0;
  SparseMatrix q = sparseImage(Q);
  expectSolved(&Q, q, "SQPMatrix");
}

TEST(SolveMatrix, TheBlocksOfAQuadraticProgramMayBeStructured) {
  const CGTuning tuning;
  strict(1e-24);
  Vector diagonal(12);
  for (int i = 0; i < 12; ++i) diagonal[i] = 2.0 + i % 5;
  DiagonalMatrix D(&diagonal);
  IdentityMatrix I(12);
  SparseMatrix J;
  for (int i = 0; i < 3; ++i) J.addRow().insEnd(0.5, 4 * i);
  for (auto& row : J.rows) row->width = 12;
  for (SpMat* H : {static_cast<SpMat*>(&D), static_cast<SpMat*>(&I)}) {
    SparseMatrix h = H == &D ? sparseImage(D) : sparseImage(I);
    SQPMatrix Q(H, &J.m), plain(&h.m, &J.m);
    Q.lowerDiagonal = plain.lowerDiagonal = 9.0;
    Q.hessianShift = plain.hessianShift = 1.0;
    SparseMatrix q = sparseImage(plain);
    expectSolved(&Q, q, "SQPMatrix of structured blocks");
  }
}

TEST(SolveMatrix, StructuredMatricesStayAsTheyAreForEverybodyElse) {
  const CapturedOutput captured;
  Vector diagonal = ones(3), x = ones(3);
  DiagonalMatrix D(&diagonal);
  const SpMat& A = D;
  EXPECT_EQ(A.height(), 0);
  EXPECT_NE(captured.err().find("not implemented"), std::string::npos);
  Vector results[3] = {Vector(2), Vector(2), Vector(2)};
  A.mult(&x, results);
  EXPECT_EQ(results[2][1], 1.0) << "an array of vectors";
}

TEST(SolveMatrix, AClassWithoutTypeInformationIsSolved) {
  const CGTuning tuning;
  strict(1e-24);
  SparseMatrix same(2, 2, {3, 1, 1, 2});
  expectSolved(matrixWithoutTypeInformation(), same, "class compiled with -fno-rtti");
}

}  // namespace
