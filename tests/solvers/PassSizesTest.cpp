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

// z = ones, as many as it is made for.
class Ones : public Preconditioner {
 public:
  explicit Ones(int size) : size_(size) {}
  void solve(const Vector*, Vector* z) override {
    z->grow(size_);
    *z = 1.0;
  }

 private:
  const int size_;
};

// One step from x = 0 for b = ones.
struct OneStep {
  Vector x{n}, b{n}, r, ownP, ownQ, z;
  double rsq = 0.0;

  void run(Vector* p, Vector* q, Preconditioner* precond) {
    const CGTuning tuning;
    CapturedOutput output;
    b = 1.0;
    int iter = 0, bestIter = 0;
    // whether it ends at the limit or without progress depends on the solves before
    const CGIStatus status =
        pureCGrad(nullptr, &x, &b, twice, &r, p, q, 2, iter, bestIter, rsq, nullptr, precond, &z);
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

// Starts of bi-CG that end before the first iteration, with x as it was.
void expectNoFirstIteration(FullMatrix& A, double b0) {
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
}

TEST(PassSizes, BiCGDoesNotBeginWithAProductOfResidualsThatIsNotFinite) {
  FullMatrix A(2, 2);
  A.e(0, 0) = 1e200;
  A.e(1, 1) = 1.0;
  expectNoFirstIteration(A, 1e110);  // |r|^2 = 1e220, r . A r is too large
}

// The start is a point of breakdown. One residual further, |r|^2 is too large, and r . A r is -1.
TEST(PassSizes, BiCGDoesNotBeginWithAResidualThatIsNotFinite) {
  FullMatrix A(2, 2);
  A.e(0, 1) = 1e-160;
  A.e(1, 0) = 1e160;
  A.e(1, 1) = 1.0;
  expectNoFirstIteration(A, 1.0);
}

}  // namespace
