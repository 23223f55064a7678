// An observer sees every iteration of every solver, and can end the solve.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/CGrad.h"
#include "limber/solvers/CGradI.h"
#include "limber/solvers/NCGrad.h"
#include "tests/solvers/OnePass.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

namespace {

using Observer = RestoredTuning;

// The arguments that the observer received. It ends the solve at iteration `last`.
struct Seen {
  std::vector<int> iterations;
  std::vector<double> rsq;
  int last = 0;

  double least() const { return *std::min_element(rsq.begin(), rsq.end()); }
};

int observe(int iteration, double rsq, void* data) {
  Seen& seen = *static_cast<Seen*>(data);
  seen.iterations.push_back(iteration);
  seen.rsq.push_back(rsq);
  return iteration == seen.last;
}

// Sets the observer while it exists.
class Observed {
 public:
  explicit Observed(Seen& seen) {
    cg_observer = observe;
    cg_observerData = &seen;
  }
  ~Observed() {
    cg_observer = nullptr;
    cg_observerData = nullptr;
    cg_stopped = 0;
  }
  Observed(const Observed&) = delete;
  Observed& operator=(const Observed&) = delete;
};

constexpr int n = 40;

// Symmetric positive definite. Every solver needs many iterations for it.
SparseMatrix springs() {
  SparseMatrix A;
  for (int i = 0; i < n; ++i) {
    SpVec& row = A.addRow();
    if (i > 0) row.insEnd(-1.0, i - 1);
    row.insEnd(2.5 + 0.01 * (i % 7), i);
    if (i + 1 < n) row.insEnd(-1.0, i + 1);
    row.width = n;
  }
  return A;
}

struct Entry {
  const char* name;
  std::function<int(SpMat*, Vector*, Vector*, double*)> solve;
  // The result when the restarts or iterations are used up after k iterations.
  std::function<int(int k)> used;
};

int bicg(SpMat* A, Vector* x, Vector* b, double* rsq) {
  int iterations = 0;
  const CGIStatus status = biCGrad(A, x, b, *rsq, iterations, 1);
  return status == CGI_SOLVED ? iterations : status;
}

const std::vector<Entry>& entries() {
  const auto minus = [](int k) { return -k; };
  const auto nine = [](int) { return -9; };
  static const std::vector<Entry> all = {
      {"ncgradA", ncgradA, minus},
      {"ncgradAtA", ncgradAtA, minus},
      {"ncgrad", ncgrad, minus},
      {"ncgradDamp", [](SpMat* A, Vector* x, Vector* b, double* r) { return ncgradDamp(A, x, b, r, 0.0); },
       minus},
      {"ncgradJJt",
       [](SpMat* A, Vector* x, Vector* b, double* r) { return ncgradJJt(A, x, b, r, nullptr, nullptr); },
       minus},
      {"ncgradJVJt",
       [](SpMat* A, Vector* x, Vector* b, double* r) {
         return ncgradJVJt(A, x, b, r, nullptr, nullptr, nullptr);
       },
       minus},
      {"ncgradAAt", ncgradAAt, minus},
      {"cgrad", cgrad, nine},
      {"cgradA", cgradA, nine},
      {"cgradAAt", cgradAAt, nine},
      {"cgradJJt", [](SpMat* A, Vector* x, Vector* b, double* r) { return cgradJJt(A, x, b, r, nullptr); },
       nine},
      {"cgradJVJt",
       [](SpMat* A, Vector* x, Vector* b, double* r) { return cgradJVJt(A, x, b, r, nullptr, nullptr); },
       nine},
      {"biCGrad", bicg, [](int) { return CGI_TOO_MANY_RESTARTS; }},
  };
  return all;
}

struct Solved {
  Vector x{n}, b{n};
  double rsq = -1.0;
  int result = 0;

  Solved(const Entry& entry, SpMat* A) {
    for (int i = 0; i < n; ++i) b[i] = std::sin(1.0 + 2.0 * i);
    result = entry.solve(A, &x, &b, &rsq);
  }
};

TEST_F(Observer, IsNobodyAtFirst) {
  EXPECT_EQ(cg_observer, nullptr);
  EXPECT_EQ(cg_observerData, nullptr);
  EXPECT_EQ(cg_stopped, 0);
}

TEST_F(Observer, SeesEachIterationOnceAndChangesNothing) {
  strict(1e-16);
  cgradEps = 1e-6;
  SparseMatrix A = springs();
  for (const Entry& entry : entries()) {
    const Solved alone(entry, &A.m);
    ASSERT_GT(alone.result, 5) << entry.name;
    Seen seen;
    const Observed observed(seen);
    const Solved watched(entry, &A.m);
    EXPECT_EQ(watched.result, alone.result) << entry.name;
    EXPECT_TRUE(tolerance::sameBits(watched.x.data, alone.x.data, n)) << entry.name;
    ASSERT_EQ(static_cast<int>(seen.iterations.size()), alone.result) << entry.name;
    for (int k = 0; k < alone.result; ++k) {
      EXPECT_EQ(seen.iterations[static_cast<std::size_t>(k)], k + 1) << entry.name;
    }
    EXPECT_TRUE(tolerance::sameBits(seen.rsq.back(), watched.rsq)) << entry.name;
    EXPECT_EQ(cg_stopped, 0) << entry.name;
  }
}

TEST_F(Observer, CountsThroughAllPasses) {
  strict(1e-300);
  cg_maxIters = 1;
  cg_maxRestarts = 3;
  SparseMatrix A = springs();
  for (const char* name : {"ncgradA", "biCGrad"}) {
    for (const Entry& entry : entries()) {
      if (entry.name != std::string(name)) continue;
      Seen seen;
      const Observed observed(seen);
      const Solved watched(entry, &A.m);
      EXPECT_GT(seen.iterations.back(), n) << name;
      for (std::size_t k = 0; k < seen.iterations.size(); ++k) {
        ASSERT_EQ(seen.iterations[k], static_cast<int>(k) + 1) << name;
      }
    }
  }
}

// |b - M x|^2 for the system of an entry, by its definition.
double trueSquare(const std::string& name, SparseMatrix& A, const Solved& s) {
  Vector t, w, r(s.b);
  if (name.find("JJt") != std::string::npos || name.find("JVJt") != std::string::npos ||
      name.find("AAt") != std::string::npos) {
    A.m.multT(&s.x, &t);
    A.m.mult(&t, &w);
  } else if (name == "ncgradAtA") {
    A.m.mult(&s.x, &t);
    A.m.multT(&t, &w);
  } else {
    A.m.mult(&s.x, &w);
  }
  r -= w;
  if (name == "ncgrad" || name == "cgrad" || name == "ncgradDamp") {
    A.m.multT(&r, &t);
    return t.magSq();
  }
  return r.magSq();
}

TEST_F(Observer, EndsTheSolveWithTheBestIterate) {
  CapturedOutput captured;
  strict(1e-16);
  SparseMatrix A = springs();
  for (const Entry& entry : entries()) {
    captured.clear();
    Seen seen;
    seen.last = 6;
    const Observed observed(seen);
    const Solved stopped(entry, &A.m);
    EXPECT_EQ(stopped.result, entry.used(6)) << entry.name;
    EXPECT_EQ(seen.iterations.size(), 6u) << entry.name;
    EXPECT_EQ(cg_stopped, 1) << entry.name;
    EXPECT_LE(stopped.rsq, seen.least()) << entry.name;
    const double square = trueSquare(entry.name, A, stopped);
    EXPECT_TRUE(std::fabs(square - stopped.rsq) <= 1e-10 * square) << entry.name << " " << square;
    EXPECT_EQ(captured.err(), "") << entry.name << " did not fail";

    // the next solve begins
    cg_observer = nullptr;
    Solved(entry, &A.m);
    EXPECT_EQ(cg_stopped, 0) << entry.name;
  }
}

TEST_F(Observer, TheStartCountsAsSeen) {
  SparseMatrix A(2, 2, {1, 0, 0, 1e4});
  // rsq: 1.01 at the start, then far larger
  Vector x(2), b = toVector({1, 0.1});
  Seen seen;
  seen.last = 1;
  const Observed observed(seen);
  double rsq = -1.0;
  cg_tol = 1e-30;
  EXPECT_EQ(ncgradA(&A.m, &x, &b, &rsq), -1);
  EXPECT_GT(seen.least(), rsq);
  EXPECT_DOUBLE_EQ(rsq, 1.01);
  EXPECT_EQ(toElements(x), (std::vector<double>{0, 0}));
}

TEST_F(Observer, TheBestIterateIsRightInATracedSolveToo) {
  strict(1e-16);
  const Trace trace;
  SparseMatrix A = springs();
  for (const Entry& entry : entries()) {
    Seen seen;
    seen.last = 9;
    const Observed observed(seen);
    const Solved stopped(entry, &A.m);
    const double square = trueSquare(entry.name, A, stopped);
    EXPECT_TRUE(std::fabs(square - stopped.rsq) <= 1e-10 * square) << entry.name;
  }
  EXPECT_NE(trace.text().find("  cg:FAILED  stop  (  9) because No Improvement\n"), std::string::npos);
  EXPECT_EQ(trace.text().find("cg:Restart"), std::string::npos);
}

TEST_F(Observer, ASolutionIsASolutionWhateverTheObserverReturns) {
  SparseMatrix A(2, 2, {2, 0, 0, 2});
  for (const Entry& entry : entries()) {
    Vector x(2), b = toVector({1, 2});
    Seen seen;
    seen.last = 1;
    cg_tol = 1e-20;
    cgradTol = 10.0;
    const Observed observed(seen);
    double rsq = -1.0;
    EXPECT_EQ(entry.solve(&A.m, &x, &b, &rsq), 1) << entry.name;
    EXPECT_EQ(cg_stopped, 0) << entry.name;
    EXPECT_LT(rsq, 1e-20) << entry.name;
  }
}

TEST_F(Observer, SinglePassesCallItToo) {
  strict(1e-16);
  diagonal = {1, 2, 3, 4, 5, 6, 7, 8};
  setStagnation(8, 10.0);
  OnePass pass({0, 0, 0, 0, 0, 0, 0, 0}, {1, 1, 1, 1, 1, 1, 1, 1});
  Seen seen;
  seen.last = 3;
  const Observed observed(seen);
  pass.solve(diagonalMult, 100, false);
  EXPECT_EQ(pass.status, CGI_NO_IMPROVEMENT);
  EXPECT_EQ(pass.iter, 3);
  EXPECT_EQ(pass.rsq, seen.least());
  EXPECT_EQ(cg_stopped, 1);

  SparseMatrix A = springs();
  Vector x(n), b(n), r, rr, p, pp, q, scratch, best;
  b = 1.0;
  double rsq;
  int iter;
  EXPECT_EQ(biCGradI(&A.m, &x, &b, rsq, iter, &r, &rr, &p, &pp, &q, &scratch, &best, 100, 1),
            CGI_NO_IMPROVEMENT);
  EXPECT_EQ(iter, 3);
  EXPECT_EQ(cg_stopped, 1);
}

TEST_F(Observer, ASolveWithNothingToDoIsNotStopped) {
  SparseMatrix A = springs();
  for (const Entry& entry : entries()) {
    cg_stopped = 1;
    Vector x(n), b(n);
    double rsq;
    EXPECT_EQ(entry.solve(&A.m, &x, &b, &rsq), 0) << entry.name;
    EXPECT_EQ(cg_stopped, 0) << entry.name;
  }
  cg_stopped = 1;
  Vector x(0), b(0);
  double rsq;
  EXPECT_EQ(cgrad(&A.m, &x, &b, &rsq), 0);
  EXPECT_EQ(cg_stopped, 0);
}

}  // namespace
