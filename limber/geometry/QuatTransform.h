#pragma once

#include "limber/Api.h"
#include "limber/geometry/Pnt3.h"
#include "limber/geometry/Quat.h"

class Matrix3x3;
class Matrix4x4;

/// A rigid transform: p -> rotation.Rotate(p) + translation. The default is the identity.
class LIMBER_API QuatTransform {
 public:
  Quat rotation;
  Pnt3 translation;

  LIMBER_INLINE QuatTransform() {}
  LIMBER_INLINE QuatTransform(const Quat& q, const Pnt3& t) : rotation(q), translation(t) {}
  LIMBER_INLINE QuatTransform(const QuatTransform& b) : rotation(b.rotation), translation(b.translation) {}
  LIMBER_INLINE QuatTransform& operator=(const QuatTransform& b) {
    rotation = b.rotation, translation = b.translation;
    return *this;
  }

  LIMBER_INLINE void identity() {
    rotation.Identity();
    translation.set(0.0, 0.0, 0.0);
  }

  LIMBER_INLINE Pnt3 transform(const Pnt3& p) const { return rotation.Rotate(p) + translation; }
  /// out may be p.
  LIMBER_INLINE void transform(const Pnt3& p, Pnt3& out) const { out = transform(p); }

  /// this = this, then B. Contract: modifies and returns the left operand, although it is spelled as a binary
  /// operator. B may be this.
  QuatTransform& operator*(const QuatTransform& B);
  /// this = its inverse, provided that the rotation is a unit quaternion.
  void invert();

  /// this = the rotation of M's first two rows by Quat::FromVectors, which fails for half turns and loses
  /// digits near them; no translation. rotation.FromRotation(M) is accurate for every rotation.
  void fromMatrix(const Matrix3x3* M);
  /// The same for the upper-left 3x3 block, with the translation of the last row.
  void fromMatrix(const Matrix4x4* M);
  /// M = this transform. A zero rotation prints a warning on the standard-output channel and counts as the
  /// identity.
  void toMat(Matrix4x4* M) const;
};
