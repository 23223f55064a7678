#include "limber/solvers/MCGrad.h"

#include <gtest/gtest.h>

#include "limber/solvers/PureCGrad.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"

namespace {

using MCGrad = RestoredTuning;

struct Solve {
  Vector x, b;
  double rsq = -7.0, rsqOut = -7.0;
  int total = -7;
  CGIStatus inner = CGI_SMALL_IMPROVEMENT;
  CGStatus status = CG_STOP;

  Solve(const std::vector<double>& start, const std::vector<double>& rhs)
      : x(toVector(start)), b(toVector(rhs)) {}
  void run(SpMat* A, CGMultFun mult = multFunA, Preconditioner* precond = nullptr) {
    status = mcgradI(A, &x, &b, rsq, rsqOut, total, inner, mult, precond);
  }
};

TEST_F(MCGrad, SolvedStartIsAcceptedOnPassZero) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  FullMatrix two = toDense(1, 1, {2});
  Solve solve({2}, {4});
  std::string text;
  {
    const Trace trace;
    solve.run(&two);
    text = trace.text();
  }
  EXPECT_EQ(solve.status, CG_ACCEPT);
  EXPECT_EQ(solve.inner, CGI_SOLVED);
  EXPECT_EQ(solve.total, 0);
  EXPECT_EQ(solve.rsq, 0.0);
  EXPECT_EQ(solve.rsqOut, 0.0);
  EXPECT_EQ(captured.out(), "  cg:ACCEPT  after (  0) because Solved\n");
  EXPECT_EQ(text,
            "MCGRADI x:1 b:1 a:(rows:1 cols:1)\n"
            "  Restart : 0  (0 total Iterations)\n"
            "  cg:ACCEPT  after (  0) because Solved\n");
}

TEST_F(MCGrad, TraceTakesAllSizesFromTheMatrix) {
  FullMatrix m = toDense(2, 3, {1, 0, 0, 0, 1, 0});
  Solve solve({0, 0}, {0, 0});
  const Trace trace;
  solve.run(&m, multFunJJt);
  EXPECT_EQ(trace.text().substr(0, trace.text().find('\n')), "MCGRADI x:3 b:2 a:(rows:2 cols:3)");
}

TEST_F(MCGrad, SingularOperatorFailsAtOnce) {
  FullMatrix none(2, 2);
  Solve solve({0, 0}, {3, 4});
  solve.run(&none);
  EXPECT_EQ(solve.status, CG_FAILED);
  EXPECT_EQ(solve.inner, CGI_SINGULAR);
  EXPECT_EQ(solve.total, 1);
  EXPECT_EQ(solve.rsqOut, 25.0);
}

TEST_F(MCGrad, FailedLineIsTracedOnlyWhenVerbose) {
  const CapturedOutput captured;
  FullMatrix none(1, 1);
  const char* const line = "  cg:FAILED  after (  1) because Singular\n";
  for (const int verbosity : {0, 1}) {
    const Trace trace;
    cg_verbosity = verbosity;
    Solve solve({0}, {4});
    solve.run(&none);
    EXPECT_EQ(trace.text().find(line) != std::string::npos, verbosity == 1);
  }
  EXPECT_EQ(captured.out(), line);
}

TEST_F(MCGrad, FailedLineNeedsNoTraceFile) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  FullMatrix none(1, 1);
  Solve solve({0}, {4});
  solve.run(&none);
  EXPECT_EQ(captured.out(), "  cg:FAILED  after (  1) because Singular\n");
}

TEST_F(MCGrad, EmptyMatrixIsSolvedUnlessNothingIsGoodEnough) {
  HSpMat empty(0);
  Solve solve({}, {});
  solve.run(&empty);
  EXPECT_EQ(solve.inner, CGI_SOLVED);
  cg_tol = 0.0;
  Solve strict({}, {});
  strict.run(&empty);
  EXPECT_EQ(strict.status, CG_STOP);
  EXPECT_EQ(strict.inner, CGI_TOO_MANY_ITERS);
  EXPECT_EQ(strict.total, 10);
}

// One iteration is allowed, so no pass moves x: all passes except the first start from 0.5 x + 0.5 b.
TEST_F(MCGrad, PassWithoutImprovementMovesTheStartTowardsTheRightHandSide) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  cg_maxIters = 1;
  cg_maxRestarts = 3;
  FullMatrix two = toDense(1, 1, {2});
  Solve solve({0}, {8});
  const Trace trace;
  solve.run(&two);
  // 0 -> 4 (residual 0): solved on the second pass
  EXPECT_EQ(solve.status, CG_ACCEPT);
  EXPECT_EQ(solve.x[0], 4.0);
  EXPECT_EQ(solve.total, 1);
  EXPECT_EQ(captured.out(),
            "  cg:Restart after (  1) because Too Many Iters\n"
            "  cg:ACCEPT  after (  1) because Solved\n");
  const std::string text = trace.text();
  EXPECT_NE(text.find("\n  Restart : 1  (1 total Iterations)\n"), std::string::npos);
  EXPECT_NE(text.find("\n  cg:Restart after (  1) because Too Many Iters\n"), std::string::npos);
}

TEST_F(MCGrad, FirstPassIsNeverPerturbed) {
  cg_maxIters = 1;
  cg_maxRestarts = 1;
  FullMatrix two = toDense(1, 1, {2});
  Solve solve({1}, {8});
  solve.run(&two);
  EXPECT_EQ(solve.x[0], 1.0);
  EXPECT_EQ(solve.status, CG_STOP);
}

TEST_F(MCGrad, StopsAfterTheLastRestart) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  cg_maxIters = 1;
  cg_maxRestarts = 2;
  FullMatrix three = toDense(1, 1, {3});
  Solve solve({0}, {8});
  solve.run(&three);
  EXPECT_EQ(solve.status, CG_STOP);
  EXPECT_EQ(solve.x[0], 4.0);
  EXPECT_EQ(solve.rsqOut, 16.0);
  EXPECT_EQ(solve.rsq, 16.0);
  EXPECT_EQ(solve.total, 2);
  EXPECT_EQ(captured.out(),
            "  cg:Restart after (  1) because Too Many Iters\n"
            "  cg:Restart after (  2) because Too Many Iters\n"
            "  cg:FAILED  stop  (  2) because Too Many Iters\n");
}

// A first step that makes everything worse.
void worsening(SpMat*, const Vector* in, Vector* out) {
  const bool direction = in->data[0] == 4.0;
  *out = toVector(direction ? std::vector<double>{1, 10} : std::vector<double>{0.25, 0.5});
}

// The vector of the best iterate is also the scratch vector of the trace, so a traced solve restores M x.
TEST_F(MCGrad, TracedSolveGoesBackToTheProductInsteadOfTheBest) {
  cg_maxRestarts = 1;
  cg_goNoWhereSc = 0.0;
  FullMatrix shape(2, 2);
  const std::vector<double> start = {0.125, 0}, rhs = {4.25, 0.5};
  Solve untraced(start, rhs);
  untraced.run(&shape, worsening);
  EXPECT_EQ(untraced.inner, CGI_NO_IMPROVEMENT);
  EXPECT_EQ(toElements(untraced.x), start);
  {
    const CapturedOutput captured;
    cg_verbosity = 1;
    Solve verbose(start, rhs);
    verbose.run(&shape, worsening);
    EXPECT_EQ(toElements(verbose.x), start) << "no line per iteration, no product";
    cg_verbosity = 2;
    Solve wordy(start, rhs);
    wordy.run(&shape, worsening);
    EXPECT_EQ(toElements(wordy.x), (std::vector<double>{0.25, 0.5}));
    cg_verbosity = 0;
  }
  const Trace trace;
  Solve traced(start, rhs);
  traced.run(&shape, worsening);
  EXPECT_EQ(traced.inner, CGI_NO_IMPROVEMENT);
  EXPECT_EQ(toElements(traced.x), (std::vector<double>{0.25, 0.5}));
}

// Writes 0 to as many elements as the result has.
void zeroInPlace(SpMat*, const Vector*, Vector* out) { *out = 0.0; }

TEST_F(MCGrad, AnOperatorThatKeepsTheSizeOfItsResultSeesTheWholeRightHandSide) {
  HSpMat none(0);
  Solve solve({0, 0, 0}, {2, 2, 2});
  solve.run(&none, zeroInPlace);
  EXPECT_EQ(solve.status, CG_STOP);
  EXPECT_EQ(solve.inner, CGI_TOO_MANY_ITERS);
  EXPECT_EQ(solve.rsqOut, 12.0);
}

TEST_F(MCGrad, SmallerSolvesSeeNothingOfALargerOneBefore) {
  strict(1e-24);
  FullMatrix large(40, 40);
  for (int i = 0; i < 40; ++i) {
    for (int j = 0; j < 40; ++j) large.e(i, j) = i == j ? 50.0 : 1.0 / (1.0 + i + j);
  }
  Solve first(std::vector<double>(40, 0.0), std::vector<double>(40, 1000.0));
  first.run(&large);
  EXPECT_EQ(first.status, CG_ACCEPT);
  for (int k = 0; k < 20; ++k) {
    FullMatrix small(4, 4);
    for (int i = 0; i < 4; ++i) small.e(i, i) = 1.0 + i + k;
    small.e(0, 1) = small.e(1, 0) = 0.5;
    for (const CGMultFun mult : {multFunA, multFunAtA, multFunJJt}) {
      const std::vector<double> answer = {1, -2, 3, 4};
      const Vector x = toVector(answer);
      Vector b;
      mult(&small, &x, &b);
      ASSERT_EQ(b.count, 4);
      Solve solve({0, 0, 0, 0}, toElements(b));
      solve.run(&small, mult);
      ASSERT_EQ(solve.status, CG_ACCEPT) << k;
      ASSERT_LE(solve.total, 12);
      for (int i = 0; i < 4; ++i) ASSERT_NEAR(solve.x[i], answer[static_cast<std::size_t>(i)], 1e-10);
    }
  }
}

}  // namespace
