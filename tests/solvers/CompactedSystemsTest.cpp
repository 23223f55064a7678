// SpVec::compact sets the width of a row to its last index, so a product reads one element after the end of a
// vector. Values that an earlier solve, an earlier product or the growth of a vector left there must not
// enter any sum.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/NCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/PureCGrad.h"
#include "tests/solvers/OnePass.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

// Symmetric and diagonally dominant, n by n, with an entry in the last column of most rows; its rows are
// compacted, so its width is n - 1.
SparseMatrix compacted(int n) {
  SparseMatrix A;
  for (int i = 0; i < n; ++i) {
    SpVec& row = A.addRow();
    if (i > 0) row.insEnd(-1.0, i - 1);
    row.insEnd(4.0 + 0.1 * (i % 5), i);
    if (i + 2 < n) row.insEnd(-1.0, i + 1);
    if (i + 1 < n) row.insEnd(0.5 + 0.01 * i, n - 1);
    row.compact(1e-9);
  }
  return A;
}

struct Answer {
  int result;
  double rsq;
  std::vector<double> x;
};

bool operator==(const Answer& a, const Answer& b) {
  return a.result == b.result && tolerance::sameBits(a.rsq, b.rsq) && a.x.size() == b.x.size() &&
         tolerance::sameBits(a.x.data(), b.x.data(), static_cast<int>(a.x.size()));
}

using Solve = int (*)(SpMat*, Vector*, Vector*, double*);

struct Named {
  const char* name;
  Solve solve;
};

int damped(SpMat* A, Vector* x, Vector* b, double* rsq) { return ncgradDamp(A, x, b, rsq, 0.01); }
int dual(SpMat* A, Vector* x, Vector* b, double* rsq) {
  Preconditioner identity;
  return ncgradJJt(A, x, b, rsq, nullptr, &identity);
}
int oldDual(SpMat* A, Vector* x, Vector* b, double* rsq) { return cgradJVJt(A, x, b, rsq, nullptr, nullptr); }
int bicg(SpMat* A, Vector* x, Vector* b, double* rsq) {
  int iterations;
  return 100 * biCGrad(A, x, b, *rsq, iterations, 0) + iterations;
}
void plain(SpMat* A, const Vector* v, Vector* w) { A->mult(v, w); }
int callers(SpMat* A, Vector* x, Vector* b, double* rsq) {
  double last;
  int iterations;
  CGIStatus status = CGI_SOLVED;
  mcgradI(A, x, b, *rsq, last, iterations, status, plain, nullptr);
  return 100 * status + iterations;
}

const Named all[] = {{"ncgradA", ncgradA},   {"ncgradAtA", ncgradAtA}, {"ncgrad", ncgrad},
                     {"ncgradDamp", damped}, {"ncgradJJt", dual},      {"ncgradAAt", ncgradAAt},
                     {"mcgradI", callers},   {"cgrad", cgrad},         {"cgradA", cgradA},
                     {"cgradJVJt", oldDual}, {"biCGrad", bicg}};

Answer solve(Solve f, SparseMatrix& A, int unknowns, int rightHandSides) {
  Vector x(unknowns), b(rightHandSides);
  for (int i = 0; i < b.count; ++i) b[i] = std::sin(1.0 + i);
  double rsq = -1.0;
  const int result = f(&A.m, &x, &b, &rsq);
  return {result, rsq, toElements(x)};
}

// Fills the vectors that the solvers share with large numbers.
void solveSomethingLarger(Solve f) {
  SparseMatrix A = compacted(150);
  for (auto& row : A.rows) row->scale(1e9);
  cg_maxIters = cg_maxRestarts = maxCGradPasses = 1;
  cg_tol = 1e-300;
  Vector x(150), b(150);
  b = 1e100;
  double rsq;
  f(&A.m, &x, &b, &rsq);
}

TEST(CompactedSystems, AreSolvedAlikeBeforeAndAfterALargerSolve) {
  const CapturedOutput captured;
  for (const int n : {3, 5, 40, 61}) {
    for (const int unknowns : {n, n - 1}) {
      SparseMatrix A = compacted(n);
      ASSERT_EQ(A.m.width(), n - 1);
      std::vector<Answer> before;
      const auto one = [&](const Named& each) {
        const CGTuning tuning;
        strict(1e-18);
        maxCGradPasses = 2;
        return solve(each.solve, A, unknowns, n);
      };
      for (const Named& each : all) before.push_back(one(each));
      std::size_t k = 0;
      for (const Named& each : all) {
        {
          const CGTuning tuning;
          solveSomethingLarger(each.solve);
        }
        EXPECT_TRUE(one(each) == before[k]) << each.name << " " << n << " " << unknowns;
        ++k;
      }
    }
  }
}

// The caller's vectors may have been longer before.
TEST(CompactedSystems, AreSolvedAlikeWithVectorsThatWereLonger) {
  const CapturedOutput captured;
  constexpr int n = 40;
  SparseMatrix A = compacted(n);
  for (const Named& each : all) {
    Answer answers[2];
    for (const bool longer : {false, true}) {
      const CGTuning tuning;
      strict(1e-18);
      maxCGradPasses = 2;
      Vector x(n - 1), b(n);
      if (longer) {
        for (Vector* v : {&x, &b}) {
          const int count = v->count;
          v->grow(100);
          *v = 1e30;
          v->grow(count);
          *v = 0.0;
        }
      }
      for (int i = 0; i < n; ++i) b[i] = std::sin(1.0 + i);
      double rsq = -1.0;
      const int result = each.solve(&A.m, &x, &b, &rsq);
      answers[longer] = {result, rsq, toElements(x)};
    }
    EXPECT_TRUE(answers[0] == answers[1]) << each.name;
  }
}

TEST(CompactedSystems, SinglePassesDoNotReadWhatTheirWorkVectorsHeld) {
  constexpr int n = 40;
  SparseMatrix A = compacted(n);
  const CGTuning tuning;
  strict(1e-18);
  setStagnation(n, 10.0);
  for (const CGMultFun mult : {multFunA, multFunAtA, multFunJJt, plain}) {
    Answer answers[2];
    for (const bool longer : {false, true}) {
      Vector x(n), b(n), r, p, q, z, best;
      b = 1.0;
      if (longer) {
        for (Vector* v : {&r, &p, &q, &z, &best}) {
          v->grow(100);
          *v = 1e30;
          v->grow(0);
        }
      }
      Preconditioner identity;
      double rsq;
      int iter = 0, bestIter = 0;
      const CGIStatus status =
          pureCGrad(&A.m, &x, &b, mult, &r, &p, &q, 30, iter, bestIter, rsq, &best, &identity, &z);
      answers[longer] = {100 * status + iter, rsq, toElements(x)};
    }
    EXPECT_TRUE(answers[0] == answers[1]);
  }
}

// multFunAtA and multFunJJt write their results into vectors of any length.
TEST(CompactedSystems, OperationsLeaveZerosBehindTheirResults) {
  constexpr int n = 40;
  SparseMatrix A = compacted(n);
  Vector v(n);
  v = 1.0;
  for (const CGMultFun mult : {multFunA, multFunAtA, multFunJJt}) {
    Vector w(100);
    w = 7.0;
    mult(&A.m, &v, &w);
    EXPECT_EQ(w.count, mult == multFunAtA ? n - 1 : n);
    for (int i = w.count; i < 100; ++i) EXPECT_EQ(w.data[i], 0.0) << i;
  }
}

}  // namespace
