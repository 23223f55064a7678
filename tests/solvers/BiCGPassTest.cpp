#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>

#include "limber/linalg/SpMat.h"
#include "limber/solvers/BiCGrad.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"

// Passes whose products are written down here, so that each number can be checked by hand.

namespace {

using Elements = std::vector<double>;

// A 2 x 2 matrix that returns the next line of its script for each product. The last line repeats.
class ScriptedMatrix : public SpMat {
 public:
  ScriptedMatrix(std::vector<Elements> products, std::vector<Elements> transposed)
      : products_(std::move(products)), transposed_(std::move(transposed)) {}
  int height() const override { return 2; }
  int width() const override { return 2; }
  void mult(const Vector*, Vector* y) const override { answer(products_, made, y); }
  void multT(const Vector*, Vector* y) const override { answer(transposed_, madeTransposed, y); }
  mutable std::size_t made = 0, madeTransposed = 0;

 private:
  static void answer(const std::vector<Elements>& lines, std::size_t& call, Vector* y) {
    *y = toVector(lines[std::min(call++, lines.size() - 1)]);
  }
  std::vector<Elements> products_, transposed_;
};

// From x = 0 with b = (2, 0), so r = (2, 0) and rsq = 4.
struct Pass {
  ScriptedMatrix A;
  Vector x{2}, b = toVector({2, 0});
  double rsq = -7.0;
  int iter = -7;
  Vector r, rr, p, pp, q, scratch, best;

  Pass(std::vector<Elements> products, std::vector<Elements> transposed)
      : A(std::move(products), std::move(transposed)) {}
  CGIStatus run(int maxIters = 2, int shadow = 1) {
    return biCGradI(&A, &x, &b, rsq, iter, &r, &rr, &p, &pp, &q, &scratch, &best, maxIters, shadow);
  }
  CGIStatus drive() { return biCGrad(&A, &x, &b, rsq, iter, 1); }
};

// r = rr = p = pp = (2, 0) and rho = 4. This q has d = 4, so alpha = 1, r = (0, -1) and rsq = 1.
const Elements none = {0, 0}, firstProduct = {2, 1};

TEST(BiCGPass, VanishingShadowIsABreakdown) {
  const CGTuning tuning;
  for (const int verbosity : {1, 2}) {
    const CapturedOutput captured;
    cg_verbosity = verbosity;
    Pass pass({none, firstProduct}, {{2, 0}});
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
TEST(BiCGPass, VanishingProductIsABreakdown) {
  const CGTuning tuning;
  for (const int verbosity : {1, 2}) {
    const CapturedOutput captured;
    cg_verbosity = verbosity;
    Pass pass({none, firstProduct}, {{1, 0}});
    EXPECT_EQ(pass.run(), CGI_BICG_BREAKDOWN);
    EXPECT_EQ(toElements(pass.rr), (Elements{1, 0}));
    EXPECT_EQ(captured.out(), verbosity == 1 ? ""
                                             : "bi-cg(0): r:4 rr:4 rrr:4\n"
                                               "  bi-cg(1): r . rr vanishes (0) beta = 0\n");
  }
}

TEST(BiCGPass, VanishingIsJudgedByMagnitudeBelowEpsilon) {
  const CGTuning tuning;
  const CapturedOutput captured;
  // rr = (1, 1): |rr|^2 = 2, r . rr = -1
  cg_epsilon = 1.0;
  Pass at({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(at.run(), CGI_TOO_MANY_ITERS);
  cg_epsilon = 1.5;
  Pass product({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(product.run(), CGI_BICG_BREAKDOWN);
  cg_verbosity = 2;
  cg_epsilon = 2.5;
  Pass shadow({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(shadow.run(), CGI_BICG_BREAKDOWN);
  EXPECT_NE(captured.out().find("rr vanishes (but"), std::string::npos) << "that test comes first";
}

// r = (0, 1e-5), rr = (0, 1): rho = 1e-5, beta = 2.5e-6, p = (5e-6, 1e-5).
TEST(BiCGPass, VanishingDirection) {
  const CGTuning tuning;
  cg_tol = 1e-20;
  Pass pass({none, {2, -1e-5}}, {{2, -1}});
  EXPECT_EQ(pass.run(), CGI_NO_DIRECTION);
  EXPECT_EQ(pass.iter, 1);
  EXPECT_EQ(toElements(pass.x), (Elements{2, 0}));
}

TEST(BiCGPass, StartAtTheToleranceIsNotSolved) {
  const CGTuning tuning;
  cg_tol = 4.0;
  Pass at({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(at.run(1), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(at.iter, 1);
  cg_tol = 4.5;
  Pass below({none, firstProduct}, {{1, -1}});
  EXPECT_EQ(below.run(1), CGI_SOLVED);
  EXPECT_EQ(below.iter, 0);
  EXPECT_EQ(below.rsq, 4.0);
}

TEST(BiCGPass, BreakdownAndMissingDirectionLeadToRestarts) {
  const CGTuning tuning;
  cg_verbosity = 1;
  cg_maxRestarts = 1;
  {
    const CapturedOutput captured;
    Pass pass({none, firstProduct}, {{2, 0}});
    EXPECT_EQ(pass.drive(), CGI_TOO_MANY_RESTARTS);
    EXPECT_EQ(captured.out(),
              "  cg:Restart after (  1) because Bi-CG breakdown!\n"
              "  cg:FAILED  stop  (  1) because Bi-CG breakdown!\n");
  }
  const CapturedOutput captured;
  cg_tol = 1e-20;
  Pass pass({none, {2, -1e-5}}, {{2, -1}});
  EXPECT_EQ(pass.drive(), CGI_TOO_MANY_RESTARTS);
  EXPECT_EQ(captured.out(),
            "  cg:Restart after (  1) because No Direction\n"
            "  cg:FAILED  stop  (  1) because No Direction\n");
}

// rr = (1, 1), rho = -1, beta = -1 / 4, p = beta (2, 0) + (0, -1), pp = beta (2, 0) + (1, 1).
TEST(BiCGPass, NextDirections) {
  const CGTuning tuning;
  const CapturedOutput captured;
  cg_verbosity = 3;
  Pass pass({none, firstProduct}, {{1, -1}});
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

TEST(BiCGPass, SecondStepTakesTheShadowDirection) {
  const CGTuning tuning;
  Pass pass(twoSteps, {{1, -1}, {1, 0}});
  EXPECT_EQ(pass.run(3), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(toElements(pass.x), (Elements{3, 2}));
  EXPECT_EQ(toElements(pass.r), (Elements{1, -0.5}));
  EXPECT_EQ(toElements(pass.rr), (Elements{3, 1})) << "(1, 1) + 2 (1, 0)";
  EXPECT_EQ(toElements(pass.best), (Elements{2, 0}));
  EXPECT_EQ(pass.rsq, 1.25);
}

// |r . rr| / rsq = |(1, -0.5) . (1, 1)| / 1.25 = 0.4: above half of the limit it is printed, above the limit
// the pass ends.
TEST(BiCGPass, LossOfConjugacyIsToldAtHalfTheLimitAndEndsAboveIt) {
  const CGTuning tuning;
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
      Pass pass(twoSteps, {{1, -1}, {1, 0}});
      EXPECT_EQ(pass.run(3), c.ends ? CGI_BICG_ROUNDOFF : CGI_TOO_MANY_ITERS) << c.limit;
      EXPECT_EQ(captured.out().find(line) != std::string::npos, c.told && verbosity == 2) << c.limit;
      EXPECT_EQ(toElements(pass.x), c.ends ? (Elements{2, 0}) : (Elements{3, 2}));
    }
  }
}

// 4 -> 3.980025 is a reduction by 0.499 %, less than the 1 % that counts.
TEST(BiCGPass, SmallImprovementsCountAsNone) {
  const CGTuning tuning;
  bicg_numZeroSteps = 0;
  const std::vector<Elements> products = {none, {2, 1.995}};
  Pass pass(products, {{1, -1}});
  EXPECT_EQ(pass.run(), CGI_NO_IMPROVEMENT);
  EXPECT_EQ(pass.rsq, 4.0);
  EXPECT_EQ(toElements(pass.x), none);
  bicg_zeroStep = 0.004;
  Pass enough(products, {{1, -1}});
  EXPECT_EQ(enough.run(), CGI_TOO_MANY_ITERS);
}

// Iteration 1 is the best. The second step is worse, and one such step is allowed or not.
TEST(BiCGPass, StepsAreCountedFromTheBestIterate) {
  const CGTuning tuning;
  const CapturedOutput captured;
  cg_verbosity = 2;
  bicg_numZeroSteps = 1;
  Pass allowed(twoSteps, {{1, -1}, {1, 0}});
  EXPECT_EQ(allowed.run(3), CGI_TOO_MANY_ITERS);
  EXPECT_NE(captured.out().find("  bi-cg(2): things got worse 1 (1) went to 1.25 (1), -25% improvement\n"),
            std::string::npos)
      << captured.out();
  // a third step that is as bad is one too many, and the change of x by the second one is undone
  Pass tooMany({none, firstProduct, {0.5, 0.25}, {0, 0.25}}, {{1, -1}, {1, 0}});
  EXPECT_EQ(tooMany.run(4), CGI_NO_IMPROVEMENT);
  EXPECT_EQ(tooMany.iter, 3);
  EXPECT_EQ(tooMany.rsq, 1.0);
  EXPECT_EQ(toElements(tooMany.x), (Elements{2, 0}));
}

// The recurrence has 1; recomputed, r = (2, 0) - (2, 2) = (0, -2). Then p = r, and A p is compared with the
// product of the previous direction: |(2, 1)|^2 = 5, |(3, 4)|^2 = 25.
TEST(BiCGPass, RoundoffErrorsAreTold) {
  const CGTuning tuning;
  cg_reset_resid = 1;
  const std::vector<Elements> products = {none, firstProduct, {2, 2}, {3, 4}};
  const CapturedOutput captured;
  cg_verbosity = 2;
  Pass pass(products, {{9, 9}});
  EXPECT_EQ(pass.run(), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(captured.out(),
            "bi-cg(0): r:4 rr:4 rrr:4\n"
            "  bi-cg(1): RSQ roundoff error (1) should be (4) = (300 %)\n"
            "bi-cg(1): PP roundoff err (5) should be (25) = (400 %)\n");
  EXPECT_EQ(pass.rsq, 4.0);
  EXPECT_EQ(toElements(pass.r), (Elements{0, -2}));
  EXPECT_EQ(pass.A.madeTransposed, 0u) << "the shadow is rebuilt";
  EXPECT_EQ(toElements(pass.rr), toElements(pass.r));
  EXPECT_EQ(toElements(pass.p), toElements(pass.r));
  EXPECT_EQ(toElements(pass.pp), toElements(pass.r));
}

TEST(BiCGPass, RoundoffErrorsAreOnlyToldWhenVerbose) {
  const CGTuning tuning;
  const CapturedOutput captured;
  cg_reset_resid = 1;
  cg_verbosity = 1;
  Pass pass({none, firstProduct, {2, 2}, {3, 4}}, {{9, 9}});
  EXPECT_EQ(pass.run(), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(captured.out(), "");
  EXPECT_EQ(pass.A.made, 3u) << "A p is not multiplied for nothing";
}

// 1.002^2 = 1.004004 is 0.4 % off, 1.003^2 = 1.006009 is 0.6 %; likewise |A p|^2 = 5 against 5.02 and 5.03.
TEST(BiCGPass, RoundoffErrorsAreToldFromHalfAPercent) {
  const CGTuning tuning;
  cg_reset_resid = 1;
  cg_verbosity = 2;
  for (const bool more : {false, true}) {
    const CapturedOutput captured;
    Pass pass({none, firstProduct, {2, more ? 1.003 : 1.002}, {2, more ? 1.0149 : 1.0099}}, {{9, 9}});
    pass.run();
    EXPECT_EQ(captured.out().find("RSQ") != std::string::npos, more);
    EXPECT_EQ(captured.out().find("PP") != std::string::npos, more);
  }
}

// q = (2, 0) gives r = 0; recomputed it is (2, 0) - (1, 3) = (1, -3).
TEST(BiCGPass, SmallResidualIsBelievedOnlyWhenRecomputed) {
  const CGTuning tuning;
  cg_reset_resid = 0;
  Pass pass({none, {2, 0}, {1, 3}}, {{9, 9}});
  EXPECT_EQ(pass.run(), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(pass.rsq, 10.0);
  EXPECT_EQ(toElements(pass.r), (Elements{1, -3}));
  EXPECT_EQ(toElements(pass.pp), (Elements{1, -3}));
  Pass solved({none, {2, 0}, {2, 0.25}}, {{9, 9}});
  EXPECT_EQ(solved.run(), CGI_SOLVED);
  EXPECT_EQ(solved.rsq, 0.0625) << "the recomputed value";
}

// With the shadow A r: (1, 1) at the start, and after the recomputation (5, 6).
TEST(BiCGPass, RebuiltShadowIsOfTheKindOfTheFirst) {
  const CGTuning tuning;
  cg_reset_resid = 1;
  // rho = 2, d = 2 + 1 = 3, alpha = 2 / 3, r = (2 / 3, -2 / 3)
  Pass pass({none, {1, 1}, {2, 1}, {1, 1}, {5, 6}}, {{9, 9}});
  EXPECT_EQ(pass.run(2, 0), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(toElements(pass.r), (Elements{1, -1}));
  EXPECT_EQ(toElements(pass.rr), (Elements{5, 6}));
  EXPECT_EQ(toElements(pass.p), (Elements{1, -1}));
  EXPECT_EQ(toElements(pass.pp), (Elements{5, 6}));
}

// r = (2, 2) and A r = (2, -2) are orthogonal. From x = r: r = (0, 4), and one step solves the system.
TEST(BiCGPass, PerturbedStartGoesOn) {
  const CGTuning tuning;
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
TEST(BiCGPass, PerturbedStartTakesTheProductAsItsShadow) {
  const CGTuning tuning;
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

TEST(BiCGPass, NumbersThatAreNotFiniteAnywhere) {
  const CGTuning tuning;
  cg_reset_resid = 1;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Elements bad = {nan, 1};
  const std::vector<Elements> good = {none, firstProduct, {2, 2}, {3, 4}};
  for (std::size_t k = 0; k < good.size(); ++k) {
    std::vector<Elements> products = good;
    products[k] = bad;
    Pass pass(products, {{9, 9}});
    EXPECT_EQ(pass.run(4), CGI_SINGULAR) << k;
    for (int i = 0; i < 2; ++i) EXPECT_EQ(pass.x[i], pass.x[i]) << k;
    if (k == 1) {
      EXPECT_EQ(pass.rsq, 4.0) << "of x, which stays";
    }
  }
  cg_reset_resid = 0;
  Pass shadow({none, firstProduct, {1, 1}}, {bad});
  EXPECT_EQ(shadow.run(4), CGI_SINGULAR);
  EXPECT_EQ(shadow.iter, 1);
  EXPECT_EQ(toElements(shadow.x), (Elements{2, 0}));
}

// Iteration 2 is worse than iteration 1, and its recomputed residual is a NaN.
TEST(BiCGPass, ResidualThatIsNotFiniteGoesBackToTheBest) {
  const CGTuning tuning;
  cg_reset_resid = 2;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Pass pass({none, firstProduct, {0.5, 0.25}, {nan, 0}}, {{1, -1}});
  EXPECT_EQ(pass.run(4), CGI_SINGULAR);
  EXPECT_EQ(pass.iter, 2);
  EXPECT_EQ(toElements(pass.x), (Elements{2, 0}));
  EXPECT_EQ(pass.rsq, 1.0);
}

// The recurrence has 1 for the best iterate, but recomputed it is 4, so the 2.25 of the next step are better:
// q = (-1.5, -2), d = 4, alpha = 1 and r = (1.5, 0).
TEST(BiCGPass, BestIsJudgedByTheRecomputedSquare) {
  const CGTuning tuning;
  cg_reset_resid = 1;
  Pass pass({none, firstProduct, {2, 2}, {-1.5, -2}, {0.5, 0}}, {{9, 9}});
  EXPECT_EQ(pass.run(3), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(pass.rsq, 2.25);
  EXPECT_EQ(toElements(pass.best), (Elements{2, -2}));
}

// The second difference on n points: far too slow for fifty iterations to solve it.
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

TEST(BiCGPass, LongSolvesTellIterations1And51) {
  const CGTuning tuning;
  bicg_numZeroSteps = 1000;
  EXPECT_EQ(linesOfALongSolve(1001), 2);
  EXPECT_EQ(linesOfALongSolve(1000), 0) << "more than 1000 entries";
}

}  // namespace
