#include "limber/linalg/Svd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/linalg/RandomMatrices.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/Tolerance.h"

using namespace random_matrices;
using tolerance::small;

namespace {

// U diag(S) Vt, of the leading parts.
FullMatrix composed(const FullMatrix& u, const FullMatrix& s, const FullMatrix& vt, int m, int n) {
  FullMatrix a(m, n);
  for (int i = 0; i < m; ++i) {
    for (int k = 0; k < std::min(m, n); ++k) {
      for (int j = 0; j < n; ++j) a.e(i, j) += u.e(i, k) * s.e(0, k) * vt.e(k, j);
    }
  }
  return a;
}

std::string report(const char* text) { return std::string("ERR: ") + text + " @ (STMLapack:"; }

}  // namespace

TEST(Svd, ComposesBackWithOrthogonalFactorsInEveryShape) {
  for (int m = 1; m <= 60; m += 5) {
    for (int n : {1, 2, m, m + 1, 60}) {
      const int trial = m + n;
      Engine engine(static_cast<unsigned>(100 * m + n));
      FullMatrix a(m, n), u(m, m), s(1, n), vt(n, n);
      fillConditioned(engine, a, conditionOf(trial));
      for (int j = 0; j < n; ++j) s.e(0, j) = 77.0;
      FullMatrix destroyed(a);
      CapturedOutput output;
      ASSERT_EQ(svdDecomp(&destroyed, &u, &s, &vt), 0);
      EXPECT_EQ(output.err(), "");
      const double bound = residualBound(std::max(m, n));
      EXPECT_TRUE(small(distance(composed(u, s, vt, m, n), a), bound * norm(a))) << m << " x " << n;
      EXPECT_TRUE(small(distance(product(transposed(u), u), identity(m)), bound * m));
      EXPECT_TRUE(small(distance(product(vt, transposed(vt)), identity(n)), bound * n));
      for (int j = 0; j < n; ++j) {
        EXPECT_LE(s.e(0, j), s.e(0, std::max(j - 1, 0)));
        EXPECT_TRUE(j < m || s.e(0, j) == 0.0) << "beyond the number of rows";
      }
      if (std::min(m, n) > 1) {
        EXPECT_TRUE(tolerance::close(s.e(0, 0), 1.0, bound));
        EXPECT_TRUE(tolerance::close(s.e(0, std::min(m, n) - 1), 1.0 / conditionOf(trial), bound));
      }
    }
  }
}

TEST(Svd, TellsTheTwoFactorsApart) {
  // One entry: 3 at row 0, column 1. U has e0 and Vt e1.
  FullMatrix a(2, 3), u(2, 2), s(1, 3), vt(3, 3);
  a.e(0, 1) = 3.0;
  ASSERT_EQ(svdDecomp(&a, &u, &s, &vt), 0);
  EXPECT_DOUBLE_EQ(s.e(0, 0), 3.0);
  EXPECT_DOUBLE_EQ(std::fabs(u.e(0, 0)), 1.0);
  EXPECT_DOUBLE_EQ(std::fabs(vt.e(0, 1)), 1.0);
  EXPECT_DOUBLE_EQ(u.e(0, 0) * vt.e(0, 1), 1.0);
}

TEST(Svd, ReportsEachShapeInItsOrderAndFillsTheLeadingParts) {
  Engine engine(3);
  FullMatrix a(3, 2), u(5, 4), s(2, 3), vt(3, 4);
  fill(engine, a);
  const FullMatrix original(a);
  u.e(4, 3) = vt.e(2, 3) = 55.0;
  CapturedOutput output;
  EXPECT_EQ(svdDecomp(&a, &u, &s, &vt), 0);
  const char* const expected[] = {
      "ARows != URows for lapack svdDecomp",        "Arows != Ucolumns for lapack svdDecomp",
      "Scolumns != Acolumns for lapack svdDecomp",  "SRows != 1 for lapack svdDecomp",
      "Vtcolumns != Acolumns for lapack svdDecomp", "Vtrows != Acolumns for lapack svdDecomp"};
  ASSERT_EQ(output.errCalls().size(), 6u);
  for (std::size_t k = 0; k < 6; ++k) EXPECT_EQ(output.errCalls()[k].find(report(expected[k])), 0u) << k;
  EXPECT_TRUE(small(distance(composed(u, s, vt, 3, 2), original), 1e-14));
  EXPECT_EQ(u.e(4, 3), 55.0);
  EXPECT_EQ(vt.e(2, 3), 55.0);
}

TEST(Svd, ReportsOnlyWhatDiffers) {
  FullMatrix a(2, 2), u(2, 2), s(1, 2), vt(2, 2), column(2, 1);
  a.identity();
  CapturedOutput output;
  EXPECT_EQ(svdDecomp(&a, &u, &column, &vt), 0);
  ASSERT_EQ(output.errCalls().size(), 2u);
  EXPECT_EQ(output.errCalls()[0].find(report("Scolumns != Acolumns for lapack svdDecomp")), 0u);
  EXPECT_EQ(output.errCalls()[1].find(report("SRows != 1 for lapack svdDecomp")), 0u);
  EXPECT_DOUBLE_EQ(column.e(1, 0), 1.0) << "the storage of a column holds them as well";
}

TEST(Svd, SmallerResultsReturnTheirArgumentAndNothingIsWritten) {
  FullMatrix u(3, 3), s(1, 2), vt(2, 2), smallU(2, 3), smallS(1, 1), smallVt(1, 2), narrowU(3, 2),
      narrowVt(2, 1);
  const auto a = [] {
    FullMatrix m(3, 2);
    m.identity();
    return m;
  };
  CapturedOutput output;
  FullMatrix input(a());
  EXPECT_EQ(svdDecomp(&input, &u, &smallS, &vt), -7);
  EXPECT_EQ(svdDecomp(&input, &u, &s, &smallVt), -8);
  EXPECT_EQ(svdDecomp(&input, &smallU, &s, &vt), -10);
  EXPECT_EQ(svdDecomp(&input, &u, &s, &narrowVt), -8);
  EXPECT_EQ(svdDecomp(&input, &narrowU, &s, &vt), -10);
  EXPECT_EQ(svdDecomp(nullptr, &u, &s, &vt), -5);
  EXPECT_EQ(svdDecomp(&input, &u, nullptr, &vt), -7);
  EXPECT_EQ(svdDecomp(&input, &u, &s, nullptr), -8);
  EXPECT_EQ(svdDecomp(&input, nullptr, &s, &vt), -10);
  EXPECT_TRUE(tolerance::sameBits(input.data, a().data, 6));
  EXPECT_EQ(norm(u) + norm(s) + norm(vt), 0.0);
}

TEST(Svd, ValuesBehindTheRankGoOnlyIntoTheRoomThatThereIs) {
  FullMatrix a(2, 3), u(2, 2), s(1, 3), vt(3, 3);
  a.e(0, 0) = a.e(1, 1) = 1.0;
  s.data[2] = 7.0;
  FullMatrix again(a);
  EXPECT_EQ(svdDecomp(&again, &u, &s, &vt), 0);
  EXPECT_EQ(s.data[2], 0.0);
  s.numColumns = 2;
  s.data[2] = 7.0;
  CapturedOutput output;
  EXPECT_EQ(svdDecomp(&a, &u, &s, &vt), 0);
  EXPECT_EQ(s.data[2], 7.0);
}

TEST(Svd, OfNothingIsNoError) {
  FullMatrix none(0, 0), noRows(0, 2), s(1, 2), vt(2, 2);
  CapturedOutput output;
  EXPECT_EQ(svdDecomp(&none, &none, &none, &none), 0);
  EXPECT_EQ(svdDecomp(&noRows, &none, &s, &vt), 0);
}

TEST(Svd, ALargeProblemGrowsTheWorkspace) {
  const int m = 3200, n = 60;  // the optimal workspace of DGESVD is larger than the fixed one here
  Engine engine(1);
  FullMatrix a(n, m), u(n, n), s(1, m), vt(m, m);
  fill(engine, a);
  FullMatrix destroyed(a);
  ASSERT_EQ(svdDecomp(&destroyed, &u, &s, &vt), 0);
  EXPECT_TRUE(small(distance(composed(u, s, vt, n, m), a), residualBound(m) * norm(a)));
}
