// Passes whose vectors get different sizes, and starts whose numbers are not finite.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/Preconditioner.h"
#include "limber/solvers/PureCGrad.h"
#include "tests/solvers/Tuning.h"
#include "tests/support/CapturedOutput.h"

namespace {

constexpr int n = 10, few = 4;

// A vector of four elements, behind which there are others that do not belong to it.
struct FewElements {
  double array[n];
  Vector vector{few, array};
  FewElements() { std::fill_n(array, n, 77.0); }
  ~FewElements() { expectRest(); }
  void expectRest() const {
    for (int i = few; i < n; ++i) EXPECT_EQ(array[i], 77.0);
  }
};

const Vector* shortened = nullptr;

// out = 2 v, of which the shortened vector gets the first four elements. What v lacks counts as zero.
void twice(SpMat*, const Vector* v, Vector* out) {
  out->grow(out == shortened ? few : n);
  for (int i = 0; i < out->count; ++i) (*out)[i] = i < v->count ? 2.0 * v->data[i] : 0.0;
}

// z = ones, as many as it is made for, and later `then`.
class Ones : public Preconditioner {
 public:
  explicit Ones(int size, int then = 0) : size_(size), then_(then) {}
  void solve(const Vector*, Vector* z) override {
    z->grow(size_);
    *z = 1.0;
    if (then_ > 0) size_ = then_;
  }

 private:
  int size_;
  const int then_;
};

// One step, or a few, from x = 0 for b = ones.
struct OneStep {
  Vector x{n}, b{n}, r, ownP, ownQ, z;
  double rsq = 0.0;

  OneStep() { b = 1.0; }
  void run(Vector* p, Vector* q, Preconditioner* precond, int steps = 1) {
    const CGTuning tuning;
    CapturedOutput output;
    int iter = 0, bestIter = 0;
    // whether it ends at the limit or without progress depends on the solves before
    const CGIStatus status =
        pureCGrad(nullptr, &x, &b, twice, &r, p, q, steps + 1, iter, bestIter, rsq, nullptr, precond, &z);
    EXPECT_TRUE(status == CGI_TOO_MANY_ITERS || status == CGI_NO_IMPROVEMENT) << status;
    shortened = nullptr;
  }
  void expectElements(const Vector& v, double first, double rest) const {
    for (int i = 0; i < v.count; ++i) EXPECT_EQ(v.data[i], i < few ? first : rest) << i;
  }
};

// alpha = 10 / 8
TEST(PassSizes, AShorterProductChangesTheResidualWhereItHasElements) {
  OneStep step;
  FewElements q;
  shortened = &q.vector;
  step.run(&step.ownP, &q.vector, nullptr);
  EXPECT_EQ(step.rsq, 15.0);
  ASSERT_EQ(step.r.count, n);
  step.expectElements(step.r, -1.5, 1.0);
  step.expectElements(step.x, 1.25, 1.25);
}

// alpha = 4 / 20
TEST(PassSizes, AShorterResidualHasTheSquareOfItsElements) {
  OneStep step;
  step.r.grow(n);
  shortened = &step.r;
  Ones ones(n);
  step.run(&step.ownP, &step.ownQ, &ones);
  ASSERT_EQ(step.r.count, few);
  EXPECT_NEAR(step.rsq, 1.44, 1e-14);
  step.expectElements(step.x, 0.2, 0.2);
}

// alpha = 4 / 8
TEST(PassSizes, AShorterDirectionMovesTheElementsThatItHas) {
  OneStep step;
  FewElements p;
  Ones ones(few);
  step.run(&p.vector, &step.ownQ, &ones);
  EXPECT_EQ(step.rsq, 6.0);
  step.expectElements(step.r, 0.0, 1.0);
  step.expectElements(step.x, 0.5, 0.0);
}

// alpha = 20 / 20, beta = 6 / 20, then alpha = 6 / 14.6
TEST(PassSizes, ADirectionKeepsItsOldPartWhereTheNewOneIsShorter) {
  OneStep step;
  step.b[0] = 11.0;
  Ones ones(n, few);
  step.run(&step.ownP, &step.ownQ, &ones, 2);
  for (int i = 0; i < n; ++i) EXPECT_NEAR(step.x[i], 1.0 + (i < few ? 1.3 : 0.3) * 6.0 / 14.6, 1e-14) << i;
}

// Starts of bi-CG that end before the first iteration, with x as it was. Returns what is printed.
std::string noFirstIteration(FullMatrix& A, double b0) {
  const CGTuning tuning;
  cg_verbosity = 2;
  Vector x(2), b(2), r, rr, p, pp, q, scratch, best;
  b[0] = b0;
  double rsq = 0.0;
  int iter = -7;
  CapturedOutput output;
  EXPECT_EQ(biCGradI(&A, &x, &b, rsq, iter, &r, &rr, &p, &pp, &q, &scratch, &best, 9, 0), CGI_SINGULAR);
  EXPECT_EQ(output.out().find("bi-cg(0)"), std::string::npos) << output.out();
  EXPECT_EQ(iter, 0);
  EXPECT_EQ(x[0], 0.0);
  EXPECT_EQ(x[1], 0.0);
  EXPECT_EQ(rsq, b0 * b0);
  return output.out();
}

TEST(PassSizes, BiCGDoesNotBeginWithAProductOfResidualsThatIsNotFinite) {
  FullMatrix A(2, 2);
  A.e(0, 0) = 1e200;
  A.e(1, 1) = 1.0;
  noFirstIteration(A, 1e110);  // |r|^2 = 1e220, r . A r is too large
}

TEST(PassSizes, BiCGDoesNotLeaveAStartWhoseResidualIsNotFinite) {
  FullMatrix zero(2, 2);
  EXPECT_EQ(noFirstIteration(zero, 1e200), "");  // r . A r = 0 would be a point of breakdown
}

// The start is a point of breakdown. One residual further, |r|^2 is too large, and r . A r is -1 or 0.
TEST(PassSizes, BiCGDoesNotBeginWithAResidualThatIsNotFinite) {
  FullMatrix A(2, 2);
  A.e(1, 0) = 1e160;
  A.e(1, 1) = 1.0;
  for (const double corner : {1e-160, 0.0}) {
    A.e(0, 1) = corner;
    noFirstIteration(A, 1.0);
  }
}

}  // namespace
