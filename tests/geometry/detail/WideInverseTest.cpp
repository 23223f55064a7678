#include "limber/geometry/detail/WideInverse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "limber/foundation/detail/WideVectors.h"
#include "limber/geometry/Matrix.h"
#include "limber/linalg/detail/GaussJordan.h"
#include "tests/geometry/RandomGeometry.h"

using namespace limber::detail;

namespace {

struct Quiet : GaussJordanWatcher {
  void zeroPivot() { singular = true; }
  void columnUsedTwice() { singular = true; }
  bool singular = false;
};

// Kinds of matrices that are hard for the search for pivots, and the most common kinds.
Matrix4x4 hardMatrix(int n, RandomGeometry& random) {
  Matrix4x4 a = random.matrix4();
  const int kind = n % 11;
  for (auto& row : a.m)
    for (double& x : row) {
      if (kind == 1) x = std::floor(3.0 * x);                       // ties
      if (kind == 2) x *= std::pow(10.0, 300.0 * random.number());  // overflow and underflow
      if (kind == 3 && random.number() > 0.9)
        x = random.number() > 0.0 ? std::numeric_limits<double>::quiet_NaN()
                                  : -std::numeric_limits<double>::infinity();
      if (kind == 4) x = std::copysign(x > 0.5 ? 1.0 : 0.0, random.number());  // signed zeros, permutations
      if (kind == 5 && random.number() > 0.0) x = std::nextafter(random.number() > 0.0 ? 0.75 : -0.75, x);
      if (kind == 6 && random.number() > -0.5) x = random.number() > 0.0 ? 0.75 : -0.75;
    }
  if (kind < 7) return a;
  Matrix4x4 rotation, common;
  rotMatrix(&rotation, "xyz"[n / 11 % 3], n / 11 % 7 == 0 ? 0.0 : 4.0 * random.number());
  if (kind == 7) common = rotation;
  if (kind == 8) transMatrix(&common, 3.0 * random.number(), random.number(), 2.0 * random.number());
  if (kind == 9) common.m[0][0] = common.m[1][1] = common.m[2][2] = random.number();
  if (kind == 10) {
    transMatrix(&a, random.number(), random.number(), random.number());
    multMatrix(&rotation, &a, &common);
  }
  return common;
}

TEST(InvertMatrix, HasTheBitsOfTheSharedKernel) {
  RandomGeometry random(24);
  for (int n = 0; n < 44000; ++n) {
    Matrix4x4 a = hardMatrix(n, random), b = a;
    Quiet watcher;
    gaussJordanFixed<4>(&b.m[0][0], 4, watcher);
    EXPECT_EQ(invertMatrix(&a, 0), watcher.singular ? 0 : 1) << n;
    ASSERT_TRUE(sameOrBothNan(a, b)) << n;
  }
}

TEST(InvertMatrix, HasTheBitsOfTheSharedKernelWithWideVectors) {
  if (!useWideVectors()) GTEST_SKIP() << "this machine has no 256-bit vectors";
  RandomGeometry random(25);
  int taken[11] = {};
  for (int n = 0; n < 44000; ++n) {
    const Matrix4x4 original = hardMatrix(n, random);
    Matrix4x4 wide = original, plain = original;
    Quiet watcher;
    gaussJordanFixed<4>(&plain.m[0][0], 4, watcher);
    if (invertWide(&wide.m[0][0])) {
      ++taken[n % 11];
      EXPECT_FALSE(watcher.singular) << n;
      ASSERT_TRUE(sameOrBothNan(wide, plain)) << n;
    } else {
      ASSERT_TRUE(sameOrBothNan(wide, original)) << n;
    }
  }
  // The common kinds never need the plain elimination.
  for (int kind : {0, 7, 8, 9, 10}) EXPECT_EQ(taken[kind], 4000) << kind;
}

}  // namespace
