// Callers use pointers of exactly these types to these functions, and also call them with const objects.
#include <gtest/gtest.h>

#include "limber/geometry/Matrix.h"
#include "limber/geometry/QuatTransform.h"
#include "tests/geometry/RandomGeometry.h"

namespace {

TEST(Signature, MatrixFunctionsArePointedTo) {
  void (*post)(Matrix4x4*, double*, double*) = postMultiply;
  void (*pre)(double*, Matrix4x4*, double*) = preMultiply;
  Pnt3 (*transform4)(Matrix4x4*, Pnt3) = transformMatrix;
  Pnt3 (*transform3)(const Matrix3x3*, const Pnt3&) = transformMatrix;
  void (*transformInto)(const Matrix4x4*, const Pnt3&, Pnt3&) = trans;
  Matrix4x4 m = counting4();
  const Matrix4x4 same = m;
  const Matrix3x3 m3 = counting3();
  double v[4] = {1.0, -1.0, 2.0, 10.0}, out[4], expected[4];
  const double in[4] = {1.0, -1.0, 2.0, 10.0};

  post(&m, v, out);
  postMultiply(&same, in, expected);
  EXPECT_TRUE(tolerance::sameBits(out, expected, 4));
  EXPECT_EQ(out[3], 189.0);
  pre(v, &m, out);
  preMultiply(in, &same, expected);
  EXPECT_TRUE(tolerance::sameBits(out, expected, 4));
  EXPECT_EQ(out[3], 180.0);
  // One of the two arguments is const.
  postMultiply(&m, in, out);
  EXPECT_EQ(out[3], 189.0);
  preMultiply(v, &same, out);
  EXPECT_EQ(out[3], 180.0);

  const Pnt3 p(2.0, 3.0, -1.0), moved(21.0, 26.0, 31.0);
  Pnt3 into;
  EXPECT_EQ(transform4(&m, p), moved);
  EXPECT_EQ(transformMatrix(&same, p), moved);
  EXPECT_EQ(transform3(&m3, p), Pnt3(7.0, 11.0, 15.0));
  transformInto(&same, p, into);
  EXPECT_EQ(into, moved);
}

TEST(Signature, QuaternionMembersArePointedTo) {
  void (Quat::*euler)(const char*, double*) = &Quat::Euler;
  void (Quat::*fromArray)(double*) = &Quat::fromArray;
  void (QuatTransform::*from3)(const Matrix3x3*) = &QuatTransform::fromMatrix;
  void (QuatTransform::*from4)(const Matrix4x4*) = &QuatTransform::fromMatrix;
  double angles[3] = {0.3, 0.2, -0.4}, values[4] = {2.0, 3.0, 4.0, 5.0};
  const double sameAngles[3] = {0.3, 0.2, -0.4}, sameValues[4] = {2.0, 3.0, 4.0, 5.0};
  Quat a, b;
  (a.*euler)("ZXY", angles);
  b.Euler("ZXY", sameAngles);
  EXPECT_TRUE(sameQuats(a, b));
  EXPECT_FALSE(sameQuats(a, Quat()));
  (a.*fromArray)(values);
  b.fromArray(sameValues);
  EXPECT_TRUE(sameQuats(a, b));
  EXPECT_TRUE(sameQuats(a, Quat(2.0, 3.0, 4.0, 5.0)));

  Matrix4x4 m;
  transMatrix(&m, 1.0, 2.0, 3.0);
  QuatTransform t;
  (t.*from4)(&m);
  EXPECT_EQ(t.translation, Pnt3(1.0, 2.0, 3.0));
  const Matrix3x3 identity;
  (t.*from3)(&identity);
  EXPECT_EQ(t.translation, Pnt3());
}

}  // namespace
