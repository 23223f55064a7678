#include <gtest/gtest.h>

#include <climits>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "tests/solvers/OnePass.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

// The thresholds of a pass, the order of its checks, and the use of a preconditioner.

namespace {

using MCGrad = RestoredTuning;
using PureCGrad = RestoredTuning;

using Elements = std::vector<double>;

static_assert(sizeof(Preconditioner) == sizeof(void*), "nothing but the table");

// Divides by a diagonal.
class Scaling : public Preconditioner {
 public:
  explicit Scaling(const Elements& d) : d_(d) {}
  void solve(const Vector* r, Vector* z) override {
    ++calls;
    sawGrown = sawGrown && z->count == r->count;
    z->grow(r->count);
    for (int i = 0; i < r->count; ++i) z->data[i] = r->data[i] / d_[static_cast<std::size_t>(i)];
  }
  int calls = 0;
  bool sawGrown = true;

 private:
  Elements d_;
};

// Slot 0 of the table of the C++ ABI.
TEST(Preconditioner, SolveIsItsFirstVirtualOperation) {
  Scaling halves({2});
  using Solve = void (*)(Preconditioner*, const Vector*, Vector*);
  void** const table = *reinterpret_cast<void***>(static_cast<Preconditioner*>(&halves));
  const Vector r = toVector({6});
  Vector z(1);
  reinterpret_cast<Solve>(table[0])(&halves, &r, &z);
  EXPECT_EQ(z[0], 3.0);
  EXPECT_EQ(halves.calls, 1);
}

// M = diag(1, 4), b = (1, 2), x = 0. By M itself: z = (1, 0.5), rz = 2, q = (1, 2), pq = 2, alpha = 1 and x =
// (1, 0.5). If r replaced z anywhere, it would take two iterations.
TEST_F(PureCGrad, ExactPreconditionerSolvesInOneStep) {
  diagonal = {1, 4};
  Scaling exact({1, 4});
  OnePass run({0, 0}, {1, 2});
  run.solve(diagonalMult, 10, true, &exact);
  EXPECT_EQ(run.status, CGI_SOLVED);
  EXPECT_EQ(run.iter, 1);
  EXPECT_EQ(run.rsq, 0.0);
  EXPECT_EQ(toElements(run.x), (Elements{1, 0.5}));
  EXPECT_EQ(exact.calls, 1);
  EXPECT_TRUE(exact.sawGrown);
}

// P = diag(1, 2) for M = diag(1, 4), b = (2, 2): z = (2, 1), rz = 6, q = (2, 4), pq = 8, alpha = 0.75, r =
// (0.5, -1); then z = (0.5, -0.5), rz = 0.75, beta = 0.75 / 6 and p = (0.75, -0.375). The plain ratios, 1.25
// / 8 for beta and 8 / 8 for alpha, lead elsewhere.
TEST_F(PureCGrad, PreconditionedStepsTakeTheirRatiosFromZ) {
  cg_tol = -1.0;
  diagonal = {1, 4};
  Scaling halved({1, 2});
  OnePass run({0, 0}, {2, 2});
  run.solve(diagonalMult, 2, true, &halved);
  EXPECT_EQ(toElements(run.x), (Elements{1.5, 0.75}));
  EXPECT_EQ(toElements(run.r), (Elements{0.5, -1}));
  OnePass two({0, 0}, {2, 2});
  two.solve(diagonalMult, 3, true, &halved);
  EXPECT_EQ(toElements(two.p), (Elements{0.75, -0.375}));
  EXPECT_TRUE(tolerance::close(two.x[0], 2.0, 1e-15));
  EXPECT_TRUE(tolerance::close(two.x[1], 0.5, 1e-15));
}

TEST_F(PureCGrad, StartAtTheToleranceIsNotSolved) {
  diagonal = {2};
  cg_tol = 0.25;
  OnePass at({1}, {2.5});
  at.solve(diagonalMult, 1);
  EXPECT_EQ(at.status, CGI_TOO_MANY_ITERS);
  cg_tol = 0.26;
  OnePass below({1}, {2.5});
  below.solve(diagonalMult, 1);
  EXPECT_EQ(below.status, CGI_SOLVED);
  EXPECT_EQ(below.rsq, 0.25);
}

// p = 2 and q = 4: curvature 8.
TEST_F(PureCGrad, CurvatureAtEpsilonIsNotSingular) {
  diagonal = {2};
  cg_epsilon = 8.0;
  OnePass at({0}, {2});
  at.solve(diagonalMult, 2);
  EXPECT_EQ(at.status, CGI_SOLVED);
  cg_epsilon = 8.5;
  OnePass below({0}, {2});
  below.solve(diagonalMult, 2);
  EXPECT_EQ(below.status, CGI_SINGULAR);
  EXPECT_EQ(below.iter, 1);
}

// r = (4, 0), q = (2, 2): curvature 8, alpha 2, r = (0, -4), of the same square.
TEST_F(PureCGrad, EqualSquareIsNoImprovement) {
  setStagnation(1, 0.0);
  const CapturedOutput captured;
  cg_verbosity = 1;
  OnePass run({0, 0}, {4, 0});
  run.follow({{0, 0}, {2, 2}}, 10);
  EXPECT_EQ(run.status, CGI_NO_IMPROVEMENT);
  EXPECT_EQ(captured.out(),
            "backing up to better time (0:16->1:16)\n"
            "  no improvement from iter 0 to iter 1, giving up\n");
}

TEST_F(PureCGrad, EqualSquareAtTheLimitKeepsTheIterate) {
  setStagnation(1, 5.0);
  const CapturedOutput captured;
  cg_verbosity = 1;
  OnePass run({0, 0}, {4, 0});
  run.follow({{0, 0}, {2, 2}}, 2);
  EXPECT_EQ(run.status, CGI_TOO_MANY_ITERS);
  EXPECT_EQ(run.bestIter, 0);
  EXPECT_EQ(run.x[0], 8.0);
  EXPECT_EQ(captured.out(), "");
}

TEST_F(PureCGrad, SolutionIsAcceptedBeforeAReset) {
  cg_reset_resid = 1;
  diagonal = {2};
  OnePass run({0}, {4});
  const Trace trace;
  run.solve(diagonalMult, 10);
  EXPECT_EQ(run.status, CGI_SOLVED);
  EXPECT_EQ(trace.text().find("roundoff"), std::string::npos);
}

// By the recurrence r is 0, recomputed it is 2, and the reset that follows finds 3.
TEST_F(PureCGrad, FalseSolutionIsReportedBeforeTheReset) {
  setStagnation(1, 5.0);
  cg_reset_resid = 1;
  const CapturedOutput captured;
  cg_verbosity = 1;
  OnePass run({0}, {4});
  const Trace trace;
  run.follow({{0}, {0}, {4}, {0}, {2}, {1}}, 2);
  EXPECT_EQ(run.rsq, 9.0);
  EXPECT_EQ(run.bestIter, 1);
  const std::string text = trace.text();
  EXPECT_EQ(text.substr(text.find("    cg:false")),
            "    cg:false solution @ 1 (was:0 now:4). keep going....\n"
            "roundoff error (1), rmag 9, should be 9, 0% difference\n");
}

// The check for a solution precedes the reset. So if the reset finds that the residual is small, this is
// accepted only in the next iteration. Here q = (1, 1) makes r (0, -4), and recomputed it is (0, 0.25).
TEST_F(PureCGrad, ResetBelowTheToleranceIsNotAcceptedAtOnce) {
  setStagnation(1, 5.0);
  cg_reset_resid = 1;
  OnePass run({0, 0}, {4, 0});
  run.follow({{0, 0}, {1, 1}, {4, -0.25}}, 2);
  EXPECT_EQ(run.status, CGI_TOO_MANY_ITERS);
  EXPECT_EQ(run.rsq, 0.0625);
  EXPECT_EQ(run.bestIter, 1);
  EXPECT_EQ(toElements(run.r), (Elements{0, 0.25}));
}

// M = diag(1, 3), b = (3, 3), one step a pass: x = (1.5, 1.5), then (2.25, 0.75). Mixing b into x between the
// passes would change the result.
TEST_F(MCGrad, PassThatImprovedIsFollowedFromWhereItEnded) {
  const CapturedOutput captured;
  cg_maxIters = 1;
  cg_maxRestarts = 2;
  FullMatrix A = toDense(2, 2, {1, 0, 0, 3});
  Vector x(2), b = toVector({3, 3});
  double rsq, out;
  int total;
  CGIStatus status = CGI_SOLVED;
  const Trace trace;
  EXPECT_EQ(mcgradI(&A, &x, &b, rsq, out, total, status, multFunA, nullptr), CG_STOP);
  EXPECT_EQ(toElements(x), (Elements{2.25, 0.75}));
  EXPECT_EQ(total, 4);
  EXPECT_EQ(out, 1.125);
  EXPECT_NE(trace.text().find("\n  cg:FAILED  stop  (  4) because Too Many Iters\n"), std::string::npos);
  EXPECT_EQ(captured.out(), "") << "silent";
}

// Never improves: r = (1, 0) and q = (1, 2) make r (0, -2), and so on.
void neverBetter(SpMat*, const Vector* in, Vector* out) {
  *out = toVector({in->data[0] + 2.0 * in->data[1], 2.0 * in->data[0] + in->data[1]});
}

TEST_F(MCGrad, LimitsGoByTheLargerSide) {
  const CapturedOutput captured;
  cg_maxRestarts = 1;
  for (const bool wide : {false, true}) {
    FullMatrix shape(wide ? 1 : 6, wide ? 6 : 1);
    Vector x(2), b = toVector({1, 0});
    double rsq, out;
    int total;
    CGIStatus status = CGI_SOLVED;
    cg_tol = -1.0;
    cg_maxIters = 2;
    cg_goNoWhereSc = 1000.0;
    cg_epsilon = -1.0;
    mcgradI(&shape, &x, &b, rsq, out, total, status, neverBetter, nullptr);
    EXPECT_EQ(status, CGI_TOO_MANY_ITERS);
    EXPECT_EQ(total, 12);
    x = 0.0;
    cg_goNoWhereSc = 0.5;
    script = {{0, 0}, {1, 10}};
    scriptCall = 0;
    mcgradI(&shape, &x, &b, rsq, out, total, status, scripted, nullptr);
    EXPECT_EQ(status, CGI_NO_IMPROVEMENT);
    EXPECT_EQ(total, 4) << "more than 6 x 0.5 iterations";
  }
}

TEST_F(MCGrad, HugeMultiplierMeansNoLimit) {
  cg_maxIters = INT_MAX;
  FullMatrix A = toDense(2, 2, {2, 0, 0, 2});
  Vector x(2), b = toVector({2, 4});
  double rsq, out;
  int total;
  CGIStatus status = CGI_SINGULAR;
  EXPECT_EQ(mcgradI(&A, &x, &b, rsq, out, total, status, multFunA, nullptr), CG_ACCEPT);
  EXPECT_EQ(total, 1);
  x = 0.0;
  EXPECT_EQ(biCGrad(&A, &x, &b, rsq, total, 1), CGI_SOLVED);
  EXPECT_EQ(total, 1);
}

}  // namespace
