#include <gtest/gtest.h>

#include "limber/geometry/MatrixTransform.h"
#include "limber/linalg/SpVec.h"
#include "tests/support/allocations/Allocations.h"

namespace {

TEST(TransformMatrixMatrixAllocations, NoneAfterTheFirstCall) {
  SpVec a(16), b(16), c(16), oa(64), ob(64), oc(64);
  for (int i = 0; i < 10; ++i) {
    a.ins(1.0 + i, i);
    b.ins(2.0 + i, 2 * i);
    c.ins(3.0 + i, 3 * i);
  }
  Matrix4x4 m;
  for (int i = 0; i < 16; ++i) m.m[i / 4][i % 4] = i + 1.0;
  transformMatrixMatrix(&m, &a, &b, &c, &oa, &ob, &oc);
  transformMatrixMatrix(&m, &a, &b, &oa, &ob);
  const long before = allocations::count();
  for (int i = 0; i < 10; ++i) {
    transformMatrixMatrix(&m, &a, &b, &c, &oa, &ob, &oc);
    transformMatrixMatrix(&m, &a, &b, &oa, &ob);
  }
  EXPECT_EQ(allocations::count(), before);
}

}  // namespace
