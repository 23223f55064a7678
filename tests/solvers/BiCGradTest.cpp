#include "limber/solvers/BiCGrad.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"

namespace {

using BiCGrad = RestoredTuning;

using Elements = std::vector<double>;

struct Solve {
  Vector x, b;
  double rsq = -7.0;
  int iterations = -7;
  Vector r, rr, p, pp, q, scratch, best;

  Solve(const Elements& start, const Elements& rhs) : x(toVector(start)), b(toVector(rhs)) {}
  CGIStatus all(SpMat& A, int shadow) { return biCGrad(&A, &x, &b, rsq, iterations, shadow); }
  CGIStatus pass(SpMat& A, int shadow, int maxIters = 20) {
    return biCGradI(&A, &x, &b, rsq, iterations, &r, &rr, &p, &pp, &q, &scratch, &best, maxIters, shadow);
  }
};

// Well conditioned and not symmetric.
FullMatrix skewed(int n) {
  FullMatrix A(n, n);
  for (int i = 0; i < n; ++i) {
    A.e(i, i) = 4.0 + i % 3;
    if (i > 0) A.e(i, i - 1) = -1.5;
    if (i + 1 < n) A.e(i, i + 1) = 0.5;
  }
  return A;
}

TEST_F(BiCGrad, InitialValues) {
  EXPECT_EQ(bicg_checkBiCG, 0.0);
  EXPECT_EQ(bicg_numZeroSteps, 5);
  EXPECT_EQ(bicg_zeroStep, 0.01);
}

TEST_F(BiCGrad, ResidualIsTheRightHandSideLessTheProduct) {
  FullMatrix A = toDense(2, 2, {1, 2, 3, 4});
  Vector x = toVector({1, 1}), b = toVector({10, 10}), r(7);
  EXPECT_EQ(residual(&A, &x, &b, &r), &r);
  EXPECT_EQ(toElements(r), (Elements{7, 3}));
}

TEST_F(BiCGrad, SolvesNonSymmetricSystemsWithBothShadows) {
  cg_tol = 1e-22;
  cg_epsilon = 1e-100;
  for (const int n : {1, 2, 5, 40, 7}) {
    for (const int shadow : {0, 1}) {
      FullMatrix A = skewed(n);
      Vector answer(n), b(n);
      for (int i = 0; i < n; ++i) answer[i] = 1.0 + i % 4;
      A.mult(&answer, &b);
      Solve solve(Elements(static_cast<std::size_t>(n), 0.0), toElements(b));
      EXPECT_EQ(solve.all(A, shadow), CGI_SOLVED);
      EXPECT_TRUE(solve.rsq >= 0.0 && solve.rsq < 1e-22);
      for (int i = 0; i < n; ++i)
        EXPECT_TRUE(std::fabs(solve.x[i] - answer[i]) <= 1e-10) << n << " " << shadow;
    }
  }
}

TEST_F(BiCGrad, SolvedStartTakesNoIteration) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  FullMatrix A = skewed(1);
  Solve solve({1}, {4.3});
  EXPECT_EQ(solve.all(A, 1), CGI_SOLVED);
  EXPECT_EQ(solve.iterations, 0);
  EXPECT_EQ(captured.out(), "  cg:ACCEPT  after (  0) because Solved\n");
}

TEST_F(BiCGrad, TracesStartAndEnd) {
  const CapturedOutput captured;
  cg_verbosity = 2;
  FullMatrix A = toDense(1, 1, {2});
  Solve solve({0}, {4});
  EXPECT_EQ(solve.all(A, 0), CGI_SOLVED);
  EXPECT_EQ(captured.out(),
            "bi-cg(0): r:16 rr:64 rrr:32\n"
            "  cg:ACCEPT  after (  1) because Solved\n");
  EXPECT_EQ(solve.x[0], 2.0);
}

TEST_F(BiCGrad, TracesEveryIterationAtVerbosityThree) {
  const CapturedOutput captured;
  cg_verbosity = 3;
  FullMatrix A = skewed(4);
  Solve solve({0, 0, 0, 0}, {1, 2, 3, 4});
  EXPECT_EQ(solve.pass(A, 1), CGI_SOLVED);
  EXPECT_NE(captured.out().find("\nbi-cg(1): r:"), std::string::npos);
  for (const char* label : {" rr:", " rrr:", " alpha:", " beta:", " p:", " pp:"})
    EXPECT_NE(captured.out().find(label, captured.out().find("bi-cg(1)")), std::string::npos) << label;
}

TEST_F(BiCGrad, LimitOfOneIteration) {
  FullMatrix A = skewed(2);
  Solve solve({0, 0}, {3, 4});
  EXPECT_EQ(solve.pass(A, 1, 1), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(solve.iterations, 1);
  EXPECT_EQ(toElements(solve.x), (Elements{0, 0}));
}

TEST_F(BiCGrad, ZeroMatrixIsAtABreakdownAndCannotStart) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  FullMatrix A(2, 2);
  Solve solve({0, 0}, {3, 4});
  EXPECT_EQ(solve.all(A, 0), CGI_BICG_CANT_START);
  EXPECT_EQ(captured.out(),
            "  bi-cg: initial guess at breakdown point\n"
            "  bi-cg: CANNOT GET STARTED!\n"
            "  cg:FAILED  after (  0) because Bi-CG can't start\n");
}

// r . A r = 0 for a rotation by 90 degrees, at any start: moving by the residual does not help.
TEST_F(BiCGrad, PerturbationMovesTheStartByItsResidual) {
  FullMatrix A = toDense(2, 2, {0, -1, 1, 0});
  Solve solve({0, 0}, {3, 4});
  EXPECT_EQ(solve.pass(A, 0), CGI_BICG_CANT_START);
  EXPECT_EQ(toElements(solve.x), (Elements{3, 4}));
}

TEST_F(BiCGrad, ZeroCurvatureIsSingular) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  FullMatrix A = toDense(2, 2, {0, -1, 1, 0});
  Solve solve({0, 0}, {3, 4});
  EXPECT_EQ(solve.all(A, 1), CGI_SINGULAR);
  EXPECT_EQ(captured.out(), "  cg:FAILED  after (  1) because Singular\n");
  EXPECT_EQ(toElements(solve.x), (Elements{0, 0}));
}

TEST_F(BiCGrad, NumbersThatAreNotFiniteNeverReachTheSolution) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const double bad : {nan, std::numeric_limits<double>::infinity(), 1e308}) {
    FullMatrix A = skewed(3);
    A.e(1, 1) = bad;
    for (const int shadow : {0, 1}) {
      Solve solve({0, 0, 0}, {1, 2, 3});
      EXPECT_EQ(solve.all(A, shadow), CGI_SINGULAR);
      for (int i = 0; i < 3; ++i) EXPECT_TRUE(std::isfinite(solve.x[i]));
    }
  }
}

TEST_F(BiCGrad, RestartsAreCountedAndEndAsTooMany) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  cg_maxIters = 1;
  cg_maxRestarts = 2;
  FullMatrix A = toDense(1, 1, {2});
  Solve solve({0}, {4});
  EXPECT_EQ(solve.all(A, 1), CGI_TOO_MANY_RESTARTS);
  EXPECT_EQ(solve.iterations, 2);
  EXPECT_EQ(captured.out(),
            "  cg:Restart after (  1) because Too Many Iters\n"
            "  cg:Restart after (  2) because Too Many Iters\n"
            "  cg:FAILED  stop  (  2) because Too Many Iters\n");
}

TEST_F(BiCGrad, StepsThatDoNotImproveGoBackToTheBest) {
  const CapturedOutput captured;
  cg_verbosity = 2;
  bicg_numZeroSteps = 0;
  // r = (1, 1), A r = (10, -9): d = 1, alpha = 2, r = (-19, 19)
  FullMatrix A = toDense(2, 2, {10, 0, 0, -9});
  Solve solve({0, 0}, {1, 1});
  EXPECT_EQ(solve.pass(A, 1), CGI_NO_IMPROVEMENT);
  EXPECT_EQ(solve.rsq, 2.0);
  EXPECT_EQ(solve.iterations, 1);
  EXPECT_EQ(toElements(solve.x), (Elements{0, 0}));
  EXPECT_NE(captured.out().find("  bi-cg(1): things got worse 2 (2) went to 722 (0), -36000% improvement\n"),
            std::string::npos)
      << captured.out();
}

TEST_F(BiCGrad, StepsThatDoNotImproveAreAllowedForAWhile) {
  FullMatrix A = toDense(2, 2, {10, 0, 0, -9});
  Solve solve({0, 0}, {1, 1});
  EXPECT_EQ(solve.pass(A, 1), CGI_SOLVED);
  EXPECT_TRUE(std::fabs(solve.x[0] - 0.1) <= 1e-10);
}

TEST_F(BiCGrad, LostConjugacyEndsThePassOnlyWhenTested) {
  const CapturedOutput captured;
  cg_verbosity = 2;
  FullMatrix A = skewed(6);
  const Elements rhs = {1, 2, 3, 4, 5, 6};
  cg_tol = 1e-20;
  cg_epsilon = 1e-100;
  Solve untested(Elements(6, 0.0), rhs);
  EXPECT_EQ(untested.pass(A, 1), CGI_SOLVED);
  EXPECT_EQ(captured.out().find("violated"), std::string::npos);
  // below rounding errors: the first step already exceeds this
  bicg_checkBiCG = 1e-30;
  Solve tested(Elements(6, 0.0), rhs);
  EXPECT_EQ(tested.pass(A, 1), CGI_BICG_ROUNDOFF);
  EXPECT_NE(captured.out().find(": bi-conjugacy condition violated! "), std::string::npos);
  EXPECT_EQ(toElements(tested.x), toElements(tested.best));
}

TEST_F(BiCGrad, RecomputingEveryResidualStillConverges) {
  cg_tol = 1e-20;
  cg_epsilon = 1e-100;
  cg_maxIters = 50;
  for (const int every : {1, 2, 3, 50, 0}) {
    cg_reset_resid = every;
    FullMatrix A = skewed(30);
    Solve solve(Elements(30, 0.0), Elements(30, 1.0));
    EXPECT_EQ(solve.all(A, 1), CGI_SOLVED) << every;
  }
}

TEST_F(BiCGrad, LongSolvesTellEveryFiftyIterationsWhateverTheVerbosity) {
  const CapturedOutput captured;
  SparseMatrix A;
  for (int i = 0; i < 1001; ++i) A.addRow().insEnd(2.0, i);
  Solve solve(Elements(1001, 0.0), Elements(1001, 2.0));
  EXPECT_EQ(solve.all(A.m, 1), CGI_SOLVED);
  EXPECT_EQ(captured.out(), "\tBiCG    1:    4004.0\n");
}

}  // namespace
