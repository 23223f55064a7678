#include "limber/solvers/PureCGrad.h"

#include <gtest/gtest.h>

#include <string>

#include "limber/solvers/Preconditioner.h"
#include "tests/solvers/OnePass.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/CommaLocale.h"
#include "tests/support/Tolerance.h"

namespace {

using PureCGrad = RestoredTuning;

TEST(CGStatus, TextsOfAllCodes) {
  std::string texts;
  for (int k = 0; k <= 10; ++k) texts += cgiToString(static_cast<CGIStatus>(k)) + std::string("\n");
  EXPECT_EQ(texts,
            "Solved\nToo Many Iters\nNo Direction\nSingular\nSmall Improvement\nNo Step Length\n"
            "No Improvement\nBi-CG breakdown!\nBi-CG can't start\n"
            "Bi-Conjugacy fails from roundoff error\nToo many Restarts\n");
  EXPECT_STREQ(cgiToString(static_cast<CGIStatus>(11)), "illegal CGI code");
  EXPECT_STREQ(cgiToString(static_cast<CGIStatus>(-1)), "illegal CGI code");
  EXPECT_EQ(CG_ACCEPT, 0);
  EXPECT_EQ(CG_STOP, 1);
  EXPECT_EQ(CG_FAILED, 2);
}

TEST(CGTuning, InitialValues) {
  EXPECT_EQ(cg_tol, 0.1);
  EXPECT_EQ(cg_maxIters, 3);
  EXPECT_EQ(cg_maxRestarts, 10);
  EXPECT_EQ(cg_reset_resid, 50);
  EXPECT_EQ(cg_goNoWhereSc, 0.25);
  EXPECT_EQ(cg_epsilon, 1e-08);
  EXPECT_EQ(cg_verbosity, 0);
  EXPECT_EQ(cgradDribble, nullptr);
  EXPECT_EQ(cgradMAXX, 2050);
  EXPECT_EQ(cgradMAXB, 2050);
  EXPECT_EQ(cgradDefinizer, -1.0);
  EXPECT_EQ(cgradDampV, nullptr);
  EXPECT_EQ(cgradMassVec, nullptr);
  EXPECT_EQ(cgradEps, 1e-05);
  EXPECT_EQ(cgradTol, 0.0002);
  EXPECT_EQ(cgradNeptune, 1e+20);
  EXPECT_EQ(maxCGradPasses, 10);
}

TEST(Preconditioner, BaseIsTheIdentityAndGrowsItsOutput) {
  const Vector r = toVector({1, 2, 3, 4, 5, 6});
  Vector z(1);
  Preconditioner().solve(&r, &z);
  EXPECT_EQ(toElements(z), toElements(r));
  Vector longer(9);
  Preconditioner().solve(&r, &longer);
  EXPECT_EQ(longer.count, 6);
}

TEST_F(PureCGrad, SolvedStartLeavesIterationsUntouched) {
  OnePass run({1}, {2.3});
  diagonal = {2};
  run.solve(diagonalMult, 10);
  EXPECT_EQ(run.status, CGI_SOLVED);
  EXPECT_EQ(run.iter, -7);
  EXPECT_EQ(run.bestIter, -7);
  EXPECT_TRUE(tolerance::close(run.rsq, 0.09, 1e-15));
  EXPECT_EQ(run.z.count, 1);
  EXPECT_EQ(run.best.count, 0);
}

TEST_F(PureCGrad, TracesWithSwappedLabelsAndPlusSignAtTheStart) {
  const CapturedOutput captured;
  const Trace trace;
  cg_verbosity = 2;
  diagonal = {2};
  OnePass run({1}, {4});
  run.solve(diagonalMult, 10);
  EXPECT_EQ(run.status, CGI_SOLVED);
  EXPECT_EQ(run.iter, 1);
  EXPECT_EQ(captured.out(),
            "cg:iter (0)  - rsq(4) rp:(5)\n"
            "cg:iter (1)  - obj(-4) rsq(0) lastR(4) alpha(0.5) beta(0)\n");
  EXPECT_EQ(trace.text(),
            "  cg:iter (  0)  - obj (4) rsq(5)\n"
            "    cg:iter (  1) - obj (-4) rsq(0) lastR(4) alpha(0.5) beta(0) nextBeta(0)\n");
}

TEST_F(PureCGrad, TraceCarriesBetaFromTheSecondIteration) {
  const Trace trace;
  cg_tol = -1.0;
  diagonal = {1, 3};
  OnePass run({0, 0}, {3, 3});
  const CapturedOutput captured;
  run.solve(diagonalMult, 3);
  EXPECT_EQ(captured.out(), "");
  const std::string text = trace.text();
  EXPECT_EQ(text.substr(0, text.find("cg:iter (  2)")),
            "  cg:iter (  0)  - obj (18) rsq(0)\n"
            "    cg:iter (  1) - obj (-4.5) rsq(4.5) lastR(18) alpha(0.5) beta(0) nextBeta(0.25)\n    ");
  EXPECT_NE(text.find("lastR(4.5) alpha(0.666667) beta(0.25)"), std::string::npos) << text;
}

TEST_F(PureCGrad, NextBetaOfAPreconditionedTraceIsAlwaysOne) {
  const Trace trace;
  cg_tol = -1.0;
  diagonal = {1, 3};
  Preconditioner identity;
  OnePass run({0, 0}, {3, 3});
  run.solve(diagonalMult, 2, true, &identity);
  EXPECT_EQ(trace.text(),
            "  cg:iter (  0)  - obj (18) rsq(0)\n"
            "    cg:iter (  1) - obj (-4.5) rsq(4.5) lastR(18) alpha(0.5) beta(0) nextBeta(1)\n");
}

TEST_F(PureCGrad, TraceFileHasAPointInAnyLocale) {
  const CommaLocale comma;
  if (!comma.active()) GTEST_SKIP() << "cannot make a locale here";
  const Trace trace;
  diagonal = {2};
  OnePass run({1}, {4});
  run.solve(diagonalMult, 10);
  EXPECT_NE(trace.text().find("alpha(0.5)"), std::string::npos);
}

TEST_F(PureCGrad, LimitOfOneIterationSkipsTheLoop) {
  for (const int limit : {1, 0, -5}) {
    OnePass run({1}, {4});
    diagonal = {2};
    run.solve(diagonalMult, limit);
    EXPECT_EQ(run.status, CGI_TOO_MANY_ITERS);
    EXPECT_EQ(run.iter, 1);
    EXPECT_EQ(run.bestIter, 0);
    EXPECT_EQ(run.x[0], 1.0);
    EXPECT_EQ(run.best[0], 1.0);
  }
}

TEST_F(PureCGrad, VanishingCurvatureIsSingularAndKeepsTheIterate) {
  OnePass run({1}, {4});
  diagonal = {0};
  run.solve(diagonalMult, 10);
  EXPECT_EQ(run.status, CGI_SINGULAR);
  EXPECT_EQ(run.x[0], 1.0);
  EXPECT_EQ(run.rsq, 16.0);
}

TEST_F(PureCGrad, NegativeCurvatureIsJudgedByMagnitude) {
  OnePass run({0}, {4});
  diagonal = {-2};
  run.solve(diagonalMult, 10);
  EXPECT_EQ(run.status, CGI_SOLVED);
  EXPECT_EQ(run.x[0], -2.0);
}

// r = 4; q = 4 makes alpha 1 and r 0: solved by the recurrence. Recomputed it is b - 2 = 2.
TEST_F(PureCGrad, FalseSolutionIsReportedAndGoesOn) {
  setStagnation(1, 5.0);
  const CapturedOutput captured;
  const Trace trace;
  cg_verbosity = 1;
  OnePass run({0}, {4});
  // start; trace; q; trace; residual from scratch 4 - 2
  run.follow({{0}, {0}, {4}, {0}, {2}}, 2);
  EXPECT_EQ(run.status, CGI_TOO_MANY_ITERS);
  EXPECT_EQ(run.iter, 2);
  EXPECT_EQ(run.bestIter, 1);
  EXPECT_EQ(run.rsq, 4.0);
  EXPECT_EQ(captured.out(), "  cg:false solution @ 1 (was:0 now:4). keep going....\n");
  EXPECT_NE(trace.text().find("\n    cg:false solution @ 1 (was:0 now:4). keep going....\n"),
            std::string::npos);
}

TEST_F(PureCGrad, ResetTracesADifferenceThatIsAlwaysZero) {
  setStagnation(1, 5.0);
  for (const int every : {1, 2, 0}) {
    const CapturedOutput captured;
    const Trace trace;
    cg_verbosity = 1;
    cg_reset_resid = every;
    OnePass run({0, 0}, {4, 0});
    // start; trace; q; trace; residual from scratch: 4 - 1 = 3, far from the 40 that the recurrence has
    run.follow({{0, 0}, {0, 0}, {1, 10}, {0, 0}, {1, 0}}, 2);
    const bool reset =
        trace.text().find("\nroundoff error (1), rmag 9, should be 9, 0% difference\n") != std::string::npos;
    EXPECT_EQ(reset, every == 1) << trace.text();
    EXPECT_EQ(run.r[0], every == 1 ? 3.0 : 0.0);
    EXPECT_EQ(captured.out().find("roundoff"), std::string::npos);
  }
}

// r = (4, 0); q = (1, 10): curvature 4, alpha 4, x = (16, 0), r = (0, -40).
const std::vector<std::vector<double>> worseStep = {{0, 0}, {1, 10}};

TEST_F(PureCGrad, StagnationGoesBackToTheBestIterate) {
  setStagnation(1, 0.0);
  const CapturedOutput captured;
  cg_verbosity = 1;
  OnePass run({0, 0}, {4, 0});
  run.follow(worseStep, 10);
  EXPECT_EQ(run.status, CGI_NO_IMPROVEMENT);
  EXPECT_EQ(run.iter, 1);
  EXPECT_EQ(run.bestIter, 0);
  EXPECT_EQ(run.rsq, 16.0);
  EXPECT_EQ(toElements(run.x), (std::vector<double>{0, 0}));
  EXPECT_EQ(captured.out(),
            "backing up to better time (0:16->1:1600)\n"
            "  no improvement from iter 0 to iter 1, giving up\n");
}

TEST_F(PureCGrad, StagnationIsTracedFurtherIn) {
  setStagnation(1, 0.0);
  const CapturedOutput captured;
  const Trace trace;
  OnePass run({0, 0}, {4, 0});
  run.follow({{0, 0}, {0, 0}, {1, 10}}, 10);
  const std::string text = trace.text();
  EXPECT_EQ(text.substr(text.find("    backing")),
            "    backing up to better time (0:16->1:1600)\n"
            "    no improvement from iter 0 to iter 1, giving up\n");
  EXPECT_EQ(captured.out(), "");
}

TEST_F(PureCGrad, StagnationWithoutABestWarnsEvenWhenSilent) {
  setStagnation(1, 0.0);
  const CapturedOutput captured;
  OnePass run({0, 0}, {4, 0});
  run.follow(worseStep, 10, false);
  EXPECT_EQ(run.status, CGI_NO_IMPROVEMENT);
  EXPECT_EQ(run.rsq, 1600.0);
  EXPECT_EQ(run.x[0], 16.0);
  EXPECT_EQ(captured.out(), "warning - cg not backing up to better time (0:16->1:1600)\n");
}

TEST_F(PureCGrad, StagnationLimitMustBeExceeded) {
  setStagnation(1, 1.0);
  OnePass run({0, 0}, {4, 0});
  // the second step: p = (400, -40), curvature 400, alpha 4, r = (-8, -80)
  run.follow({{0, 0}, {1, 10}, {2, 10}}, 10);
  EXPECT_EQ(run.status, CGI_NO_IMPROVEMENT);
  EXPECT_EQ(run.iter, 2);
}

TEST_F(PureCGrad, IterationLimitGoesBackToTheBestIterate) {
  setStagnation(1, 1.0);
  const CapturedOutput captured;
  const Trace trace;
  cg_verbosity = 1;
  OnePass run({0, 0}, {4, 0});
  run.follow({{0, 0}, {0, 0}, {1, 10}}, 2);
  EXPECT_EQ(run.status, CGI_TOO_MANY_ITERS);
  EXPECT_EQ(run.iter, 2);
  EXPECT_EQ(run.rsq, 16.0);
  EXPECT_EQ(run.x[0], 0.0);
  EXPECT_EQ(captured.out(), "  cg:backing up to better time (0:16->2:1600)\n");
  EXPECT_NE(trace.text().find("\n    cg:backing up to better time (0:16->2:1600)\n"), std::string::npos);
}

TEST_F(PureCGrad, IterationLimitWithoutABestWarnsEvenWhenSilent) {
  setStagnation(1, 1.0);
  const CapturedOutput captured;
  const Trace trace;
  OnePass run({0, 0}, {4, 0});
  run.follow({{0, 0}, {0, 0}, {1, 10}}, 2, false);
  EXPECT_EQ(run.status, CGI_TOO_MANY_ITERS);
  EXPECT_EQ(run.rsq, 1600.0);
  const char* const line = "warning - cg not backing up to better time (0) (16->1600)\n";
  EXPECT_EQ(captured.out(), line);
  EXPECT_NE(trace.text().find(line), std::string::npos);
}

TEST_F(PureCGrad, UntracedCallsUseNoSharedScratch) {
  OnePass run({0, 0}, {3, 3});
  diagonal = {1, 3};
  run.solve(diagonalMult, 10);
  EXPECT_EQ(run.status, CGI_SOLVED);
  EXPECT_TRUE(tolerance::close(run.x[0], 3.0, 1e-14));
  EXPECT_TRUE(tolerance::close(run.x[1], 1.0, 1e-14));
}

}  // namespace
