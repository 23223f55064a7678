#include "limber/geometry/QuatTransform.h"

#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/geometry/detail/QuaternionMatrix.h"

using namespace limber::detail;

// Degenerate input:
//   invert       a rotation of another length  not the inverse: rotations scale by the squared norm
//   fromMatrix   a half turn                   not finite (95 % of random axes) or wrong
//                the third row                 not read
//   toMat        a zero rotation               a warning and the identity; this object does not change
//                a rotation of another length  the rotation of the unit quaternion

QuatTransform& QuatTransform::operator*(const QuatTransform& B) {
  const QuatTransform b(B);
  translation = b.rotation.Rotate(translation) + b.translation;
  rotation = rotation * b.rotation;
  return *this;
}

void QuatTransform::invert() {
  rotation.Invert();
  translation = rotation.Rotate(translation) * -1.0;
}

void QuatTransform::fromMatrix(const Matrix3x3* M) {
  translation.set(0.0, 0.0, 0.0);
  rowsToQuaternion(M->m, &rotation);
}

void QuatTransform::fromMatrix(const Matrix4x4* M) {
  Matrix3x3 r;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) r.m[i][j] = M->m[i][j];
  fromMatrix(&r);
  translation.fromArray(M->m[3]);
}

void QuatTransform::toMat(Matrix4x4* M) const {
  quaternionMatrix(rotation.w, rotation.x, rotation.y, rotation.z, M);
  translation.toArray(M->m[3]);
}
