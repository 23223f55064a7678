#include "limber/solvers/CGrad.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "limber/solvers/CGradI.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"

namespace {

using CGrad = RestoredTuning;
using CGradI = RestoredTuning;

using Elements = std::vector<double>;

std::vector<Elements> residuals, directions;
std::size_t residualCall;
double scriptedCurvature;

// Writes the next residual of the script and returns its square. The last one repeats.
double scriptedResidual(SpMat*, Vector*, Vector*, Vector* r) {
  *r = toVector(residuals[std::min(residualCall++, residuals.size() - 1)]);
  return r->magSq();
}

double recordDirection(SpMat*, Vector* d) {
  directions.push_back(toElements(*d));
  return scriptedCurvature;
}

struct Core {
  FullMatrix shape{2, 3};
  Vector x{2}, b{4};
  double rsq = -7.0;

  int run(const std::vector<Elements>& lines, double curved, int earlyExit = 1) {
    residuals = lines;
    directions.clear();
    residualCall = 0;
    scriptedCurvature = curved;
    return cgradI(&shape, &x, &b, &rsq, scriptedResidual, recordDirection, earlyExit);
  }
};

TEST_F(CGradI, TracesEntryStartAndIterations) {
  const Trace trace;
  Core core;
  // 25, 4, 4: the third does not change
  EXPECT_EQ(core.run({{3, 4}, {2, 0}, {0, 2}}, 50.0), 2);
  EXPECT_EQ(core.rsq, 4.0);
  EXPECT_EQ(trace.text(),
            "\nEnter cgradI - b:4 x:2 mat:(rows:2 cols:3)\n"
            " IRST:1  rp:25\n"
            "   1: rsq = 4 (-525.0%)\n"
            "   2: rsq = 4 ( 0.0%)\n");
}

TEST_F(CGradI, EmptySystemsAreSolvedAndTraced) {
  const Trace trace;
  FullMatrix shape(1, 1);
  Vector none(0), one(1);
  double rsq = -7.0;
  EXPECT_EQ(cgradI(&shape, &none, &one, &rsq, scriptedResidual, recordDirection, 1), 0);
  EXPECT_EQ(rsq, 0.0);
  rsq = -7.0;
  EXPECT_EQ(cgradI(&shape, &one, &none, &rsq, scriptedResidual, recordDirection, 1), 0);
  EXPECT_EQ(rsq, 0.0);
  EXPECT_EQ(trace.text(),
            "\nEnter cgradI - b:1 x:0 mat:(rows:1 cols:1)\n"
            "\nEnter cgradI - b:0 x:1 mat:(rows:1 cols:1)\n");
}

TEST_F(CGradI, EarlyExitBelowTheSquareOfEps) {
  const CapturedOutput captured;
  cgradEps = 0.5;
  Core core;
  EXPECT_EQ(core.run({{0.25, 0}}, 1.0), 0);
  EXPECT_EQ(core.rsq, 0.0625);
  EXPECT_TRUE(directions.empty());
  EXPECT_NE(core.run({{0.25, 0}}, 1.0, 0), 0);
  EXPECT_FALSE(directions.empty());
  EXPECT_NE(core.run({{0.5, 0}}, 1.0), 0) << "must be below, not at";
}

TEST_F(CGradI, SingularByCurvatureOrStep) {
  const CapturedOutput captured;
  Core core;
  EXPECT_EQ(core.run({{3, 4}}, 0.99e-10), -1);
  EXPECT_EQ(core.rsq, 25.0);
  ASSERT_EQ(captured.errCalls().size(), 1u);
  EXPECT_EQ(captured.err().rfind("ERR: Equations too singular for cgrad @ (OldCGrad:", 0), 0u);
  EXPECT_EQ(core.run({{3, 4}}, -0.99e-10), -1);
  EXPECT_EQ(core.run({{3, 4}}, 1.01e-10), 1);
  EXPECT_EQ(core.run({{3, 4}}, -1.01e-10), 1);
  cgradNeptune = 24.0;
  EXPECT_EQ(core.run({{3, 4}}, 1.0), -1);
  cgradNeptune = 25.0;
  EXPECT_EQ(core.run({{3, 4}}, 1.0), 1);
}

TEST_F(CGradI, SingularIsSilentWithoutReporting) {
  const CapturedOutput captured;
  Core core;
  EXPECT_EQ(core.run({{3, 4}}, 0.0, 0), -1);
  EXPECT_EQ(captured.err(), "");
}

TEST_F(CGradI, StepIsTheSquaredResidualOverTheCurvature) {
  Core core;
  EXPECT_EQ(core.run({{3, 4}}, 50.0), 1);
  EXPECT_EQ(toElements(core.x), (Elements{1.5, 2}));
}

// r = (3, 4), then (2, 0): numerator 2 (2 - 3) + 0 = -2, over 25.
TEST_F(CGradI, DirectionFollowsPolakAndRibiere) {
  Core core;
  core.run({{3, 4}, {2, 0}, {0, 1}, {0, 1}}, 50.0);
  ASSERT_EQ(directions.size(), 3u);
  EXPECT_EQ(directions[0], (Elements{3, 4}));
  const double beta = -2.0 / 25.0;
  EXPECT_EQ(directions[1], (Elements{3 * beta + 2, 4 * beta}));
  // r = (0, 1) from (2, 0): numerator 0 (0 - 2) + 1 (1 - 0) = 1, over 4
  EXPECT_EQ(directions[2], (Elements{0.25 * directions[1][0], 0.25 * directions[1][1] + 1}));
}

TEST_F(CGradI, DirectionRestartsWhenTheResidualGrew) {
  Core core;
  core.run({{3, 4}, {6, 8}, {6, 8}}, 50.0);
  ASSERT_EQ(directions.size(), 2u);
  EXPECT_EQ(directions[1], (Elements{6, 8}));
}

// r = (3, 4), then (4, 3) of the same square: numerator 4 (4 - 3) + 3 (3 - 4) = 1, over 25.
TEST_F(CGradI, DirectionGoesOnWhenTheResidualStaysAsItIs) {
  const CapturedOutput captured;
  cgradEps = cgradTol = 0.0;
  maxCGradPasses = 1;
  Core core;
  core.run({{3, 4}, {4, 3}, {1, 0}}, 50.0);
  ASSERT_EQ(directions.size(), 2u);
  EXPECT_EQ(directions[1], (Elements{3 * 0.04 + 4, 4 * 0.04 + 3}));
}

TEST_F(CGradI, ConvergesByRelativeChange) {
  cgradEps = 1e-30;
  cgradTol = 0.25;
  Core core;
  // |16 - 9| = 7 < 25 / 4 no; |9 - 7.84| < 16.84 / 4 yes
  EXPECT_EQ(core.run({{4, 0}, {3, 0}, {2.8, 0}}, 50.0), 2);
}

TEST_F(CGradI, RelativeChangeIsOfTheSumOfBothSquares) {
  cgradEps = 1e-30;
  cgradTol = 0.25;
  Core core;
  // |16 - 12.25| = 3.75: less than 28.25 / 4, more than 12.25 / 4
  EXPECT_EQ(core.run({{4, 0}, {3.5, 0}, {3, 0}}, 50.0), 1);
}

TEST_F(CGradI, ConvergesByAbsoluteChange) {
  cgradTol = 0.0;
  Core core;
  // 1, 0.25, 0.0625
  for (const double eps : {0.76, 0.75}) {
    cgradEps = eps;
    EXPECT_EQ(core.run({{1, 0}, {0.5, 0}, {0.25, 0}}, 50.0), eps > 0.75 ? 1 : 2) << "below, not at";
  }
}

TEST_F(CGradI, LimitIsReported) {
  const CapturedOutput captured;
  maxCGradPasses = 3;
  cgradTol = cgradEps = 0.0;
  Core core;
  EXPECT_EQ(core.run({{3, 4}}, 50.0, 0), -9);
  EXPECT_EQ(directions.size(), 6u);
  EXPECT_EQ(core.rsq, 25.0);
  EXPECT_EQ(captured.err().rfind("ERR: Too many iterations @ (OldCGrad:", 0), 0u);
}

TEST_F(CGradI, LongerVectorsRaiseTheLimitsTwofoldOrToTheirLength) {
  const CapturedOutput captured;
  cgradMAXX = 10;
  cgradMAXB = 10;
  FullMatrix shape(1, 1);
  Vector x(11), b(25);
  double rsq;
  residuals = {Elements(11, 0.0)};
  residualCall = 0;
  EXPECT_EQ(cgradI(&shape, &x, &b, &rsq, scriptedResidual, recordDirection, 1), 0);
  EXPECT_EQ(cgradMAXX, 20);
  EXPECT_EQ(cgradMAXB, 25);
  ASSERT_EQ(captured.errCalls().size(), 2u);
  EXPECT_EQ(captured.errCalls()[0].rfind(
                "ERR: Matrix X too big in cgrad solver - attempting to grow! @ (OldCGrad:", 0),
            0u);
  EXPECT_EQ(captured.errCalls()[1].rfind(
                "ERR: Matrix B too big in cgrad solver - attempting to grow! @ (OldCGrad:", 0),
            0u);
}

TEST_F(CGrad, ExactSolutionIsCalledSingularInTheNextIteration) {
  const CapturedOutput captured;
  FullMatrix A = toDense(2, 2, {2, 0, 0, 2});
  Vector x(2), b = toVector({2, 4});
  double rsq = -1.0;
  EXPECT_EQ(cgradA(&A, &x, &b, &rsq), -1);
  EXPECT_EQ(rsq, 0.0);
  EXPECT_EQ(toElements(x), (Elements{1, 2}));
}

// Two steps solve a system of two unknowns up to rounding. The result looks like that of a singular system;
// only the squared residual distinguishes them.
TEST_F(CGrad, ExactSolutionAndSingularSystemDifferInTheResidual) {
  const CapturedOutput captured;
  cgradTol = 0.0;
  FullMatrix A = toDense(2, 2, {3, 1, 1, 2}), half = toDense(2, 2, {1, 0, 0, 0});
  for (const auto entry : {cgrad, cgradA, cgradAAt}) {
    Vector x(2), b = toVector({5, 5});
    double rsq = -1.0;
    EXPECT_EQ(entry(&A, &x, &b, &rsq), -1);
    EXPECT_TRUE(rsq >= 0.0 && rsq <= 1e-20) << rsq;
    if (entry != cgradAAt) {
      EXPECT_NEAR(x[0], 1.0, 1e-12);
      EXPECT_NEAR(x[1], 2.0, 1e-12);
    }
  }
  Vector x(2), b = toVector({0, 5});
  double rsq = -1.0;
  EXPECT_EQ(cgradA(&half, &x, &b, &rsq), -1);
  EXPECT_EQ(rsq, 25.0);
}

// A A^T = [2 1; 1 2]: with b = (3, 3), y = (1, 1), and damped by 1, (0.75, 0.75).
TEST_F(CGrad, NormalFormsOfTwoConstraints) {
  const CapturedOutput captured;
  FullMatrix A = toDense(2, 3, {1, 1, 0, 0, 1, 1});
  Vector ones = toVector({1, 1}), b = toVector({3, 3});
  Vector plain(2), damped(2);
  double rsq;
  cgradAAt(&A, &plain, &b, &rsq);
  EXPECT_EQ(toElements(plain), (Elements{1, 1}));
  cgradJJt(&A, &damped, &b, &rsq, &ones);
  EXPECT_EQ(toElements(damped), (Elements{0.75, 0.75}));
}

// A V^-1 A^T + D = [0.75 0.25; 0.25 1.25] + [1 0; 0 0]: columns without a weight have the weight 1, and rows
// without damping are not damped.
TEST_F(CGrad, ShorterWeightsAndDampingEndWhereTheyEnd) {
  const CapturedOutput captured;
  cgradTol = 0.0;
  FullMatrix A = toDense(2, 3, {1, 1, 0, 0, 1, 1});
  Vector mass = toVector({2, 4}), damp = toVector({1}), b = toVector({2, 1.5}), y(2);
  double rsq;
  cgradJVJt(&A, &y, &b, &rsq, &mass, &damp);
  EXPECT_NEAR(y[0], 1.0, 1e-12);
  EXPECT_NEAR(y[1], 1.0, 1e-12);
}

TEST_F(CGrad, TakesNoOperatorVariablesOfTheNewerFamily) {
  const CapturedOutput captured;
  Vector ones = toVector({1, 1});
  cgradDampV = &ones;
  cgradMassVec = &ones;
  cgradDefinizer = 3.0;
  FullMatrix A = toDense(2, 2, {2, 0, 0, 2});
  Vector x(2), b = toVector({2, 4});
  double rsq;
  cgradA(&A, &x, &b, &rsq);
  EXPECT_EQ(toElements(x), (Elements{1, 2}));
}

}  // namespace
