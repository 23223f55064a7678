#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/solvers/ScriptedPass.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"

// Passes that recompute their residual, and those that meet a number that is not finite.

namespace {

using BiCGPass = RestoredTuning;

// The recurrence has 1; recomputed, r = (2, 0) - (2, 2) = (0, -2). Then p = r, and A p is compared with the
// product of the previous direction: |(2, 1)|^2 = 5, |(3, 4)|^2 = 25.
TEST_F(BiCGPass, RoundoffErrorsAreTold) {
  cg_reset_resid = 1;
  const std::vector<Elements> products = {none, firstProduct, {2, 2}, {3, 4}};
  const CapturedOutput captured;
  cg_verbosity = 2;
  ScriptedPass pass(products, {{9, 9}});
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

TEST_F(BiCGPass, RoundoffErrorsAreOnlyToldWhenVerbose) {
  const CapturedOutput captured;
  cg_reset_resid = 1;
  cg_verbosity = 1;
  ScriptedPass pass({none, firstProduct, {2, 2}, {3, 4}}, {{9, 9}});
  EXPECT_EQ(pass.run(), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(captured.out(), "");
  EXPECT_EQ(pass.A.made, 3u) << "A p is not multiplied for nothing";
}

// 1.002^2 = 1.004004 is 0.4 % off, 1.003^2 = 1.006009 is 0.6 %; likewise |A p|^2 = 5 against 5.02 and 5.03.
TEST_F(BiCGPass, RoundoffErrorsAreToldFromHalfAPercent) {
  cg_reset_resid = 1;
  cg_verbosity = 2;
  for (const bool more : {false, true}) {
    const CapturedOutput captured;
    ScriptedPass pass({none, firstProduct, {2, more ? 1.003 : 1.002}, {2, more ? 1.0149 : 1.0099}}, {{9, 9}});
    pass.run();
    EXPECT_EQ(captured.out().find("RSQ") != std::string::npos, more);
    EXPECT_EQ(captured.out().find("PP") != std::string::npos, more);
  }
}

// q = (2, 0) gives r = 0; recomputed it is (2, 0) - (1, 3) = (1, -3).
TEST_F(BiCGPass, SmallResidualIsBelievedOnlyWhenRecomputed) {
  cg_reset_resid = 0;
  ScriptedPass pass({none, {2, 0}, {1, 3}}, {{9, 9}});
  EXPECT_EQ(pass.run(), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(pass.rsq, 10.0);
  EXPECT_EQ(toElements(pass.r), (Elements{1, -3}));
  EXPECT_EQ(toElements(pass.pp), (Elements{1, -3}));
  ScriptedPass solved({none, {2, 0}, {2, 0.25}}, {{9, 9}});
  EXPECT_EQ(solved.run(), CGI_SOLVED);
  EXPECT_EQ(solved.rsq, 0.0625) << "the recomputed value";
}

// With the shadow A r: (1, 1) at the start, and after the recomputation (5, 6).
TEST_F(BiCGPass, RebuiltShadowIsOfTheKindOfTheFirst) {
  cg_reset_resid = 1;
  // rho = 2, d = 2 + 1 = 3, alpha = 2 / 3, r = (2 / 3, -2 / 3)
  ScriptedPass pass({none, {1, 1}, {2, 1}, {1, 1}, {5, 6}}, {{9, 9}});
  EXPECT_EQ(pass.run(2, 0), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(toElements(pass.r), (Elements{1, -1}));
  EXPECT_EQ(toElements(pass.rr), (Elements{5, 6}));
  EXPECT_EQ(toElements(pass.p), (Elements{1, -1}));
  EXPECT_EQ(toElements(pass.pp), (Elements{5, 6}));
}

// r = (2, 2) and A r = (2, -2) are orthogonal. From x = r: r = (0, 4), and one step solves the system.

TEST_F(BiCGPass, NumbersThatAreNotFiniteAnywhere) {
  cg_reset_resid = 1;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Elements bad = {nan, 1};
  const std::vector<Elements> good = {none, firstProduct, {2, 2}, {3, 4}};
  for (std::size_t k = 0; k < good.size(); ++k) {
    std::vector<Elements> products = good;
    products[k] = bad;
    ScriptedPass pass(products, {{9, 9}});
    EXPECT_EQ(pass.run(4), CGI_SINGULAR) << k;
    for (int i = 0; i < 2; ++i) EXPECT_EQ(pass.x[i], pass.x[i]) << k;
    if (k == 0) {
      EXPECT_EQ(pass.A.made, 1u) << "ends before the first step";
    }
    if (k == 1) {
      EXPECT_EQ(pass.rsq, 4.0) << "of x, which stays";
    }
  }
  cg_reset_resid = 0;
  ScriptedPass shadow({none, firstProduct, {1, 1}}, {bad});
  EXPECT_EQ(shadow.run(4), CGI_SINGULAR);
  EXPECT_EQ(shadow.iter, 1);
  EXPECT_EQ(toElements(shadow.x), (Elements{2, 0}));
}

// Iteration 2 is worse than iteration 1, and its recomputed residual is a NaN.
TEST_F(BiCGPass, ResidualThatIsNotFiniteGoesBackToTheBest) {
  cg_reset_resid = 2;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  ScriptedPass pass({none, firstProduct, {0.5, 0.25}, {nan, 0}}, {{1, -1}});
  EXPECT_EQ(pass.run(4), CGI_SINGULAR);
  EXPECT_EQ(pass.iter, 2);
  EXPECT_EQ(toElements(pass.x), (Elements{2, 0}));
  EXPECT_EQ(pass.rsq, 1.0);
}

// The recurrence has 1 for the best iterate, but recomputed it is 4. So the 2.25 of the next step are better:
// q = (-1.5, -2), d = 4, alpha = 1 and r = (1.5, 0).
TEST_F(BiCGPass, BestIsJudgedByTheRecomputedSquare) {
  cg_reset_resid = 1;
  ScriptedPass pass({none, firstProduct, {2, 2}, {-1.5, -2}, {0.5, 0}}, {{9, 9}});
  EXPECT_EQ(pass.run(3), CGI_TOO_MANY_ITERS);
  EXPECT_EQ(pass.rsq, 2.25);
  EXPECT_EQ(toElements(pass.best), (Elements{2, -2}));
}

// The second difference on n points: far too slow for fifty iterations to solve it.

}  // namespace
