#include <gtest/gtest.h>

#include <string>

#include "limber/geometry/MatrixTransform.h"
#include "limber/linalg/SpVec.h"
#include "tests/support/CapturedOutput.h"
#include "tests/support/allocations/Allocations.h"

namespace {

// A matrix and the rows that it transforms.
class TransformMatrixMatrixAllocations : public ::testing::Test {
 protected:
  TransformMatrixMatrixAllocations() {
    for (int i = 0; i < 10; ++i) {
      a.ins(1.0 + i, i);
      b.ins(2.0 + i, 2 * i);
      c.ins(3.0 + i, 3 * i);
    }
    for (int i = 0; i < 16; ++i) m.m[i / 4][i % 4] = i + 1.0;
  }

  SpVec a{16}, b{16}, c{16};
  Matrix4x4 m;
};

TEST_F(TransformMatrixMatrixAllocations, NoneAfterTheFirstCall) {
  SpVec oa(64), ob(64), oc(64);
  transformMatrixMatrix(&m, &a, &b, &c, &oa, &ob, &oc);
  transformMatrixMatrix(&m, &a, &b, &oa, &ob);
  const long before = allocations::count();
  for (int i = 0; i < 10; ++i) {
    transformMatrixMatrix(&m, &a, &b, &c, &oa, &ob, &oc);
    transformMatrixMatrix(&m, &a, &b, &oa, &ob);
  }
  EXPECT_EQ(allocations::count(), before);
}

// The rows of the result have no room at first. Whichever allocation fails is reported, and the next call
// works.
TEST_F(TransformMatrixMatrixAllocations, EachFailureIsReportedAndLeavesUsableRows) {
  SpVec ea(64), eb(64), ec(64);
  transformMatrixMatrix(&m, &a, &b, &c, &ea, &eb, &ec);
  int failures = 0;
  for (long k = 0;; ++k) {
    ASSERT_LT(k, 200);
    SpVec oa(0), ob(0), oc(0);
    CapturedOutput output;
    bool happened;
    {
      const allocations::FailAt fail(k);
      transformMatrixMatrix(&m, &a, &b, &c, &oa, &ob, &oc);
      happened = fail.happened();
    }
    // the statistics of reallocations may fail silently
    const bool reported = output.err().find("NEW fails - memory problem") != std::string::npos;
    EXPECT_TRUE(happened || !reported);
    failures += reported;
    if (reported) transformMatrixMatrix(&m, &a, &b, &c, &oa, &ob, &oc);
    EXPECT_EQ(oa.numEntries, ea.numEntries) << k;
    EXPECT_EQ(ob.numEntries, eb.numEntries) << k;
    EXPECT_EQ(oc.numEntries, ec.numEntries) << k;
    for (int e = 0; e < ec.numEntries; ++e) EXPECT_EQ(oc.values[e], ec.values[e]) << k;
    if (!happened) break;
  }
  EXPECT_GT(failures, 2);
}

}  // namespace
