#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "limber/solvers/BiCGrad.h"
#include "tests/solvers/ScriptedPass.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"

namespace {

using BiCGPass = RestoredTuning;

TEST_F(BiCGPass, VanishingShadowIsABreakdown) {
  for (const int verbosity : {1, 2}) {
    const CapturedOutput captured;
    cg_verbosity = verbosity;
    ScriptedPass pass({none, firstProduct}, {{2, 0}});
    EXPECT_EQ(pass.run(), CGI_BICG_BREAKDOWN);
    EXPECT_EQ(pass.iter, 1);
    EXPECT_EQ(pass.rsq, 1.0);
    EXPECT_EQ(toElements(pass.x), (Elements{2, 0})) << "the step was taken";
    EXPECT_EQ(captured.out(), verbosity == 1 ? ""
                                             : "bi-cg(0): r:4 rr:4 rrr:4\n"
                                               "  bi-cg(1): rr vanishes (but not r?)\n");
  }
}

// rr = (2, 0) - (1, 0) = (1, 0), at a right angle to r.
TEST_F(BiCGPass, VanishingProductIsABreakdown) {
  for (const int verbosity : {1, 2}) {
    const CapturedOutput captured;
    cg_verbosity = verbosity;
    ScriptedPass pass({none, firstProduct}, {{1, 0}});
    EXPECT_EQ(pass.run(), CGI_BICG_BREAKDOWN);
    EXPECT_EQ(toElements(pass.rr), (Elements{1, 0}));
    EXPECT_EQ(captured.out(), verbosity == 1 ? ""
                                             : "bi-cg(0): r:4 rr:4 rrr:4\n"
                                               "  bi-cg(1): r . rr vanishes (0) beta = 0\n");
  }
}

TEST_F(BiCGPass, VanishingIsJudgedByMagnitudeBelowEpsilon) {
  const CapturedOutput captured;
  // rr = (1, 1): |rr|^2 = 2, r . rr = -1
  cg_epsilon = 1.0;
  ScriptedPass at({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(at.run(), CGI_TOO_MANY_ITERS);
  // rr = r = (0, -1): |rr|^2 = r . rr = 1
  ScriptedPass both({none, firstProduct}, {{2, 1}});
  EXPECT_EQ(both.run(), CGI_TOO_MANY_ITERS);
  cg_epsilon = 1.5;
  ScriptedPass product({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(product.run(), CGI_BICG_BREAKDOWN);
  cg_verbosity = 2;
  cg_epsilon = 2.5;
  ScriptedPass shadow({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(shadow.run(), CGI_BICG_BREAKDOWN);
  EXPECT_NE(captured.out().find("rr vanishes (but"), std::string::npos) << "that test comes first";
}

// r = (0, 1e-5), rr = (0, 1): rho = 1e-5, beta = 2.5e-6, p = (5e-6, 1e-5).
TEST_F(BiCGPass, VanishingDirection) {
  cg_tol = 1e-20;
  ScriptedPass pass({none, {2, -1e-5}}, {{2, -1}});
  EXPECT_EQ(pass.run(), CGI_NO_DIRECTION);
  EXPECT_EQ(pass.iter, 1);
  EXPECT_EQ(toElements(pass.x), (Elements{2, 0}));
}

TEST_F(BiCGPass, StartAtTheToleranceIsNotSolved) {
  cg_tol = 4.0;
  ScriptedPass at({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(at.run(1), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(at.iter, 1);
  cg_tol = 4.5;
  ScriptedPass below({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(below.run(1), CGI_SOLVED);
  EXPECT_EQ(below.iter, 0);
  EXPECT_EQ(below.rsq, 4.0);
}

TEST_F(BiCGPass, BreakdownAndMissingDirectionLeadToRestarts) {
  cg_verbosity = 1;
  cg_maxRestarts = 1;
  {
    const CapturedOutput captured;
    ScriptedPass pass({none, firstProduct}, {{2, 0}});
    EXPECT_EQ(pass.drive(), CGI_TOO_MANY_RESTARTS);
    EXPECT_EQ(captured.out(),
              "  cg:Restart after (  1) because Bi-CG breakdown!\n"
              "  cg:FAILED  stop  (  1) because Bi-CG breakdown!\n");
  }
  const CapturedOutput captured;
  cg_tol = 1e-20;
  ScriptedPass pass({none, {2, -1e-5}}, {{2, -1}});
  EXPECT_EQ(pass.drive(), CGI_TOO_MANY_RESTARTS);
  EXPECT_EQ(captured.out(),
            "  cg:Restart after (  1) because No Direction\n"
            "  cg:FAILED  stop  (  1) because No Direction\n");
}

// rr = (1, 1), rho = -1, beta = -1 / 4, p = beta (2, 0) + (0, -1), pp = beta (2, 0) + (1, 1).
TEST_F(BiCGPass, NextDirections) {
  const CapturedOutput captured;
  cg_verbosity = 3;
  ScriptedPass pass({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(pass.run(), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(pass.iter, 2);
  EXPECT_EQ(toElements(pass.r), (Elements{0, -1}));
  EXPECT_EQ(toElements(pass.rr), (Elements{1, 1}));
  EXPECT_EQ(toElements(pass.p), (Elements{-0.5, -1}));
  EXPECT_EQ(toElements(pass.pp), (Elements{0.5, 1}));
  EXPECT_EQ(captured.out(),
            "bi-cg(0): r:4 rr:4 rrr:4\n"
            "bi-cg(1): r:1 rr:2 rrr:-1 alpha:1 beta:-0.25 p:1.25 pp:1.25\n");
}

// Then q = (0.5, 0.25), d = pp . q = 0.5, alpha = -2: r = (1, -0.5), rsq = 1.25, and x = (3, 2).
const std::vector<Elements> twoSteps = {none, firstProduct, {0.5, 0.25}};

TEST_F(BiCGPass, SecondStepTakesTheShadowDirection) {
  ScriptedPass pass(twoSteps, {{1, -1}, {1, 0}});
  EXPECT_EQ(pass.run(3), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(toElements(pass.x), (Elements{3, 2}));
  EXPECT_EQ(toElements(pass.r), (Elements{1, -0.5}));
  EXPECT_EQ(toElements(pass.rr), (Elements{3, 1})) << "(1, 1) + 2 (1, 0)";
  EXPECT_EQ(toElements(pass.best), (Elements{2, 0}));
  EXPECT_EQ(pass.rsq, 1.25);
}

// |r . rr| / rsq = |(1, -0.5) . (1, 1)| / 1.25 = 0.4: above half of the limit it is printed, above the limit
// the pass ends.
TEST_F(BiCGPass, LossOfConjugacyIsToldAtHalfTheLimitAndEndsAboveIt) {
  const char* const line = "  bi-cg(2): bi-conjugacy condition violated! 40.00% 0.5\n";
  struct {
    double limit;
    bool told, ends;
  } const cases[] = {
      {0.0, false, false}, {-1.0, false, false}, {0.9, false, false}, {0.7, true, false}, {0.3, true, true}};
  for (const auto& c : cases) {
    for (const int verbosity : {1, 2}) {
      const CapturedOutput captured;
      cg_verbosity = verbosity;
      bicg_checkBiCG = c.limit;
      ScriptedPass pass(twoSteps, {{1, -1}, {1, 0}});
      EXPECT_EQ(pass.run(3), c.ends ? CGI_BICG_ROUNDOFF : CGI_TOO_MANY_ITERS) << c.limit;
      EXPECT_EQ(captured.out().find(line) != std::string::npos, c.told && verbosity == 2) << c.limit;
      EXPECT_EQ(toElements(pass.x), c.ends ? (Elements{2, 0}) : (Elements{3, 2}));
    }
  }
}

// 4 -> 3.980025 is a reduction by 0.499 %, less than the 1 % that counts.
TEST_F(BiCGPass, SmallImprovementsCountAsNone) {
  bicg_numZeroSteps = 0;
  const std::vector<Elements> products = {none, {2, 1.995}};
  ScriptedPass pass(products, {{1, -1}});
  EXPECT_EQ(pass.run(), CGI_NO_IMPROVEMENT);
  EXPECT_EQ(pass.rsq, 4.0);
  EXPECT_EQ(toElements(pass.x), none);
  bicg_zeroStep = 0.004;
  ScriptedPass enough(products, {{1, -1}});
  EXPECT_EQ(enough.run(), CGI_TOO_MANY_ITERS);
}

// Iteration 1 is the best. The second step is worse, and one such step is allowed or not.
TEST_F(BiCGPass, StepsAreCountedFromTheBestIterate) {
  const CapturedOutput captured;
  cg_verbosity = 2;
  bicg_numZeroSteps = 1;
  ScriptedPass allowed(twoSteps, {{1, -1}, {1, 0}});
  EXPECT_EQ(allowed.run(3), CGI_TOO_MANY_ITERS);
  EXPECT_NE(captured.out().find("  bi-cg(2): things got worse 1 (1) went to 1.25 (1), -25% improvement\n"),
            std::string::npos)
      << captured.out();
  // a third step that is as bad is one too many, and the change of x by the second one is undone
  ScriptedPass tooMany({none, firstProduct, {0.5, 0.25}, {0, 0.25}}, {{1, -1}, {1, 0}});
  EXPECT_EQ(tooMany.run(4), CGI_NO_IMPROVEMENT);
  EXPECT_EQ(tooMany.iter, 3);
  EXPECT_EQ(tooMany.rsq, 1.0);
  EXPECT_EQ(toElements(tooMany.x), (Elements{2, 0}));
}

TEST_F(BiCGPass, PerturbedStartGoesOn) {
  const CapturedOutput captured;
  cg_verbosity = 1;
  FullMatrix A = toDense(2, 2, {1, 0, 0, -1});
  Vector x(2), b = toVector({2, 2});
  double rsq;
  int iterations;
  EXPECT_EQ(biCGrad(&A, &x, &b, rsq, iterations, 0), CGI_SOLVED);
  EXPECT_EQ(iterations, 1);
  EXPECT_EQ(toElements(x), (Elements{2, -2}));
  EXPECT_EQ(captured.out(),
            "  bi-cg: initial guess at breakdown point\n"
            "  cg:ACCEPT  after (  1) because Solved\n");
}

// r . r = 8 is below this epsilon; after the move r = (0, 4), and the shadow residual is A r = (0, -4)
// although r itself was requested.
TEST_F(BiCGPass, PerturbedStartTakesTheProductAsItsShadow) {
  cg_epsilon = 10.0;
  FullMatrix A = toDense(2, 2, {1, 0, 0, -1});
  Vector x(2), b = toVector({2, 2}), r, rr, p, pp, q, scratch, best;
  double rsq;
  int iter;
  EXPECT_EQ(biCGradI(&A, &x, &b, rsq, iter, &r, &rr, &p, &pp, &q, &scratch, &best, 1, 1), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(toElements(r), (Elements{0, 4}));
  EXPECT_EQ(toElements(rr), (Elements{0, -4}));
  EXPECT_EQ(toElements(best), (Elements{2, 2}));
  EXPECT_EQ(rsq, 16.0);
}

int linesOfALongSolve(int n) {
  SparseMatrix A;
  for (int i = 0; i < n; ++i) {
    SpVec& row = A.addRow();
    if (i > 0) row.insEnd(-1.0, i - 1);
    row.insEnd(2.0, i);
    if (i + 1 < n) row.insEnd(-1.0, i + 1);
  }
  Vector x(n), b(n), r, rr, p, pp, q, scratch, best;
  b = 1.0;
  double rsq;
  int iter;
  const CapturedOutput captured;
  EXPECT_EQ(biCGradI(&A.m, &x, &b, rsq, iter, &r, &rr, &p, &pp, &q, &scratch, &best, 60, 1),
            CGI_TOO_MANY_ITERS);
  const std::string text = captured.out();
  if (n > 1000) {
    EXPECT_EQ(text.rfind("\tBiCG    1:", 0), 0u);
    EXPECT_NE(text.find("\n\tBiCG   51:"), std::string::npos);
  }
  return static_cast<int>(std::count(text.begin(), text.end(), '\n'));
}

TEST_F(BiCGPass, LongSolvesTellIterations1And51) {
  bicg_numZeroSteps = 1000;
  EXPECT_EQ(linesOfALongSolve(1001), 2);
  EXPECT_EQ(linesOfALongSolve(1000), 0) << "more than 1000 entries";
}

}  // namespace
