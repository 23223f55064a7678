#include <gtest/gtest.h>

#include "limber/foundation/Output.h"

#include "limber/linalg/SlicedMatrix.h"
#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/OwnProcess.h"
#include "tests/support/allocations/Allocations.h"

namespace {

int silent(const char*) { return 0; }

// Symmetric and diagonally dominant, with three entries per row.
SparseMatrix chain(int n) {
  SparseMatrix A;
  for (int i = 0; i < n; ++i) {
    SpVec& row = A.addRow();
    if (i > 0) row.insEnd(-1.0, i - 1);
    row.insEnd(2.5, i);
    if (i + 1 < n) row.insEnd(-1.0, i + 1);
    row.width = n;
  }
  return A;
}

struct All {
  SparseMatrix sparse;
  FullMatrix dense;
  Vector b, x, damp, mass;
  Preconditioner identity;

  explicit All(int n) : sparse(chain(n)), dense(n, n), b(n), x(n), damp(n), mass(n) {
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) dense.e(i, j) = sparse.m.acc(i, j);
      b[i] = 1.0 + i % 3;
      damp[i] = 0.1;
      mass[i] = 1.0 + i % 2;
    }
  }
  void solve() {
    double rsq;
    int iterations;
    for (SpMat* A : {static_cast<SpMat*>(&sparse.m), static_cast<SpMat*>(&dense)}) {
      x = 0.0;
      EXPECT_GT(ncgradA(A, &x, &b, &rsq), 0);
      x = 0.0;
      EXPECT_GT(ncgradAtA(A, &x, &b, &rsq), 0);
      x = 0.0;
      EXPECT_GT(ncgrad(A, &x, &b, &rsq), 0);
      x = 0.0;
      ncgradDamp(A, &x, &b, &rsq, 0.01);
      x = 0.0;
      EXPECT_GT(ncgradJJt(A, &x, &b, &rsq, &damp, &identity), 0);
      x = 0.0;
      EXPECT_GT(ncgradJVJt(A, &x, &b, &rsq, &mass, &damp, nullptr), 0);
      x = 0.0;
      EXPECT_GT(ncgradAAt(A, &x, &b, &rsq), 0);
      x = 0.0;
      cgrad(A, &x, &b, &rsq);
      x = 0.0;
      cgradA(A, &x, &b, &rsq);
      x = 0.0;
      cgradJVJt(A, &x, &b, &rsq, &mass, &damp);
      x = 0.0;
      EXPECT_EQ(biCGrad(A, &x, &b, rsq, iterations, 1), CGI_SOLVED);
      x = 0.0;
      EXPECT_EQ(biCGrad(A, &x, &b, rsq, iterations, 0), CGI_SOLVED);
    }
  }
};

// Each work vector that cannot be allocated is reported and left empty. The solve ends nevertheless, and the
// next one has all its vectors. This is the first use of the solvers in the process.
TEST(SolversAllocation, FailuresOfTheFirstUseAreReportedAndSurvived) {
  if (!inOwnProcess()) return;
  const CGTuning tuning;
  const CapturedOutput captured;
  FullMatrix A(12, 12);
  for (int i = 0; i < 12; ++i) A.e(i, i) = 2.0;
  Vector b(12), x(12);
  for (int i = 0; i < 12; ++i) b[i] = 1.0 + i;
  double rsq;
  int iterations;
  {
    const allocations::FailAt fail(0, true);
    ncgrad(&A, &x, &b, &rsq);
    cgrad(&A, &x, &b, &rsq);
    biCGrad(&A, &x, &b, rsq, iterations, 1);
    EXPECT_TRUE(fail.happened());
  }
  EXPECT_NE(captured.err().find("NEW fails - memory problem"), std::string::npos);
  x = 0.0;
  EXPECT_GT(ncgrad(&A, &x, &b, &rsq), 0);
  EXPECT_EQ(x[11], 6.0);
  x = 0.0;
  cgrad(&A, &x, &b, &rsq);
  EXPECT_EQ(x[11], 6.0);
  x = 0.0;
  EXPECT_EQ(biCGrad(&A, &x, &b, rsq, iterations, 1), CGI_SOLVED);
  EXPECT_EQ(x[11], 6.0);
}

TEST(SolversAllocation, AHalfBandwidthWithoutMemoryIsTheLargest) {
  const SparseMatrix A = chain(9);
  CapturedOutput captured;
  int bandwidth;
  {
    const allocations::FailAt fail(0, true);
    bandwidth = halfBandwidth(&A.m);
  }
  EXPECT_EQ(bandwidth, 8);
  EXPECT_NE(captured.err().find("FATAL ERROR"), std::string::npos);
  EXPECT_LT(halfBandwidth(&A.m), 8);
  const SparseMatrix one = chain(1);
  const allocations::FailAt fail(0, true);
  EXPECT_EQ(halfBandwidth(&one.m), 0);
}

TEST(SolversAllocation, NothingAfterTheFirstSolveOfASize) {
  const CGTuning tuning;
  const CapturedOutput captured;
  stdoutF = silent;
  cg_tol = 1e-12;
  cg_epsilon = 1e-100;
  for (const int n : {10, 120, 40}) {
    All all(n);
    if (n != 40) all.solve();
    const long before = allocations::count();
    all.solve();
    EXPECT_EQ(allocations::count() - before, 0) << n;
  }
}

TEST(SolversAllocation, LargerThanTheFirstWorkVectors) {
  const CGTuning tuning;
  cg_tol = 1e-12;
  cg_epsilon = 1e-100;
  const int n = 2200;
  SparseMatrix A = chain(n);
  Vector b(n), x(n);
  b = 1.0;
  double rsq;
  EXPECT_GT(ncgrad(&A.m, &x, &b, &rsq), 0);
  x = 0.0;
  const long before = allocations::count();
  const int iterations = ncgrad(&A.m, &x, &b, &rsq);
  EXPECT_EQ(allocations::count() - before, 0);
  EXPECT_GT(iterations, 0);
}

TEST(SolversAllocation, NothingInALongSolveAfterAShortOne) {
  const CGTuning tuning;
  cg_tol = 100.0;
  cg_epsilon = 1e-100;
  const int n = 2600;
  SparseMatrix A = chain(n);
  Vector b(n), x(n);
  b = 1.0;
  double rsq;
  const int few = ncgrad(&A.m, &x, &b, &rsq);
  EXPECT_LT(few, 5);
  cg_tol = 1e-14;
  x = 0.0;
  const long before = allocations::count();
  EXPECT_GT(ncgrad(&A.m, &x, &b, &rsq), 10);
  EXPECT_EQ(allocations::count() - before, 0);
}

// Each solve is larger than all before it. First every work vector fails to grow, which empties it. Then only
// the k-th one fails. In each case the same solve must succeed the next time. The matrix is of a class that
// is unknown to the solver and therefore not copied.
class RowsOnly : public HSpMat {
 public:
  explicit RowsOnly(const HSpMat& other) : HSpMat(other) {}
};

TEST(SolversAllocation, ASlicedMatrixIsTakenAsItIs) {
  if (!inOwnProcess()) return;
  const CGTuning tuning;
  cg_tol = cg_epsilon = 1e-14;
  // larger than the solves of other tests, so that a copy would have to allocate
  const int n = 30011;
  SparseMatrix A = chain(n);
  const SlicedMatrix sliced(A.m);
  RowsOnly byRows(A.m);
  Vector b(n), x(n);
  b = 1.0;
  const auto allocationsOf = [&](const SpMat& matrix) {
    double rsq = 0.0;
    x = 0.0;
    const long before = allocations::count();
    EXPECT_GT(ncgrad(const_cast<SpMat*>(&matrix), &x, &b, &rsq), 10);
    return allocations::count() - before;
  };
  allocationsOf(byRows);  // creates the work vectors
  EXPECT_EQ(allocationsOf(sliced), 0);
  EXPECT_GT(allocationsOf(A.m), 0);
}

// 32 different rows of 4096 entries, each 129 times: a little more than 2^24 entries in little memory.
TEST(SolversAllocation, TheCopyOfALargeMatrixIsMadeForEachSolveAndReleased) {
  const CGTuning tuning;
  cg_tol = cg_epsilon = 1e-300;
  constexpr int different = 32, times = 129, entries = 4096;
  SparseMatrix few;
  for (int i = 0; i < different; ++i) {
    SpVec& row = few.addRow();
    for (int k = 0; k < entries; ++k) row.insEnd((k % different == i ? 3.0 : 0.5) + 0.001 * (k % 7), k);
  }
  HSpMat many(0);
  for (int k = 0; k < times; ++k) {
    for (int i = 0; i < different; ++i) many.add(few.m.rows[i]);
  }
  Vector b(many.numRows);
  for (int i = 0; i < b.size(); ++i) b[i] = 1.0 + i % 5;
  RowsOnly byRows(many);
  const auto solve = [&b](SpMat& A, Vector& x) {
    double rsq = 0.0;
    cg_observer = [](int iteration, double, void*) { return static_cast<int>(iteration == 8); };
    ncgrad(&A, &x, &b, &rsq);
    cg_observer = nullptr;
  };
  Vector expected(entries);
  solve(byRows, expected);
  for (int repeat = 0; repeat < 2; ++repeat) {
    Vector x(entries);
    const long before = allocations::count();
    solve(many, x);
    EXPECT_GT(allocations::count(), before + 2) << repeat;
    for (int j = 0; j < entries; ++j) ASSERT_EQ(x[j], expected[j]) << j;
  }
}

TEST(SolversAllocation, KthFailureOfGrowingWorkVectorsIsSurvived) {
  if (!inOwnProcess()) return;
  const CGTuning tuning;
  CapturedOutput captured;
  cg_tol = 1e-12;
  cg_epsilon = 1e-100;
  double rsq;
  int iterations;
  int reported = 0;
  long k = 0;
  for (bool more = true; more; ++k) {
    const int n = 5000 + 2 * static_cast<int>(k);
    SparseMatrix larger = chain(n + 1), A = chain(n);
    Vector b(n + 1), x(n + 1);
    b = 1.0;
    const auto solveAll = [&](SpMat* m) {
      ncgrad(m, &x, &b, &rsq);
      ncgradJJt(m, &x, &b, &rsq, nullptr, nullptr);
      cgrad(m, &x, &b, &rsq);
      biCGrad(m, &x, &b, rsq, iterations, 1);
    };
    {
      const allocations::FailAt all(0, true);
      solveAll(&larger.m);
    }
    b.grow(n);
    x.grow(n);
    captured.clear();
    {
      const allocations::FailAt kth(k);
      solveAll(&A.m);
      more = kth.happened();
    }
    // (the statistics of reallocations may fail silently)
    reported += captured.err().find("NEW fails - memory problem") != std::string::npos;
    const double middle = 1.0 / (2.5 - 2.0);
    for (const auto entry : {ncgrad, ncgradA, cgrad, cgradA}) {
      x = 0.0;
      entry(&A.m, &x, &b, &rsq);
      EXPECT_NEAR(x[n / 2], middle, 1e-2) << k;
    }
    x = 0.0;
    EXPECT_EQ(biCGrad(&A.m, &x, &b, rsq, iterations, 1), CGI_SOLVED) << k;
    EXPECT_NEAR(x[n / 2], middle, 1e-5) << k;
  }
  EXPECT_GE(reported, 5);
  EXPECT_LE(reported, k);
}

}  // namespace
