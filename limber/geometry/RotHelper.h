#pragma once

/// @file
/// The rotation formats of a skeleton's joints: how a joint's few parameters become a rotation matrix, how
/// that matrix changes with them, and how they become another format's parameters.
///
/// Matrices are row-major and act on row vectors, p' = p M; row i is the image of basis vector i. All angles
/// are in radians. With X(a), Y(a), Z(a) the single-axis matrices in that layout (c = cos a, s = sin a)
///
///     X(a) = (1 0 0 / 0 c s / 0 -s c)   Y(a) = (c 0 -s / 0 1 0 / s 0 c)   Z(a) = (c s 0 / -s c 0 / 0 0 1)
///
/// the formats are
///
///     pointer  name    parameters              matrix
///     nullRot  "..."   none                    untouched: every operation does nothing
///     qRot     "QRST"  w, x, y, z (any norm)   that of the quaternion divided by its norm
///     xRot     "X"     about X                 X(p0)
///     yRot     "Y"     about Y                 Y(p0)
///     zRot     "Z"     about Z                 Z(p0)
///     zxRot    "ZX"    about Z, X              X(p1) Z(p0)
///     zyRot    "ZY"    about Z, Y              Y(p1) Z(p0)
///     xyRot    "XY"    about X, Y              Y(p1) X(p0)
///     xyzRot   "XYZ"   about X, Y, Z           Z(p2) Y(p1) X(p0)
///     zxyRot   "ZXY"   about Z, X, Y           Y(p2) X(p1) Z(p0)
///
/// so the last letter's rotation reaches a point first: the rotation of Quat(name, params). Names are matched
/// exactly, case included. Every problem is a warning on the standard-output channel; nothing is fatal.
///
/// Some conversions exist twice: by the stated formula, whose results callers rely on, and in a form that is
/// right for every input, which new programs want:
///
///     quaternion of a matrix
///       stated: qRot->fromMatrix and QuatTransform::fromMatrix, wrong at half turns and inaccurate near them
///       right:  Quat::FromRotation
///     shortest turn of one direction to another
///       stated: Quat::FromVectors, wrong for opposite directions and inaccurate near them
///       right:  Quat::FromDirections
///     quaternion of an angle and an axis
///       stated: Quat::FromAxisAngle, which takes angles below 2e-8 as 0
///       right:  Quat::FromRotationVector
///     angle and axis of a quaternion
///       stated: Quat::Log and Quat::Angle, which take angles below 2e-8 as 0
///       right:  Quat::RotationVector

#include "limber/Api.h"

class Matrix3x3;

LIMBER_FIXED_TABLE_BEGIN

/// One rotation format. It has no state; a RotHelper that is none of its subclasses is the null format. The
/// order of the virtual operations is part of the interface.
class LIMBER_API RotHelper {
 public:
  LIMBER_INLINE constexpr RotHelper() {}
  LIMBER_INLINE constexpr RotHelper(const RotHelper&) {}
  LIMBER_INLINE RotHelper& operator=(const RotHelper&) { return *this; }

  /// out = matrix of params. A quaternion of four zeros is reported and repaired in params: w becomes 1.
  virtual void toMatrix(double* params, Matrix3x3* out) const;
  /// Parameters whose matrix is `in`, a rotation. Formats of two axes cannot: they warn and give zeros.
  virtual void fromMatrix(const Matrix3x3* in, double* params) const;
  /// out[9 k + 3 row + column] = d M[row][column] / d params[k]: 9 doubles for each parameter, overwritten.
  /// A quaternion whose x, y and z are all zero is first set to (1, 0, 0, 0) in params.
  virtual void matrixDeriv(double* params, double* out) const;
  /// Set the rotation about one axis, in radians. An axis that the format does not have is a warning and
  /// leaves params. For "QRST" and "XYZ" the angle set is the one of the same rotation in Z-X-Y angles.
  virtual void setX(double* params, double angle) const;
  virtual void setY(double* params, double angle) const;
  virtual void setZ(double* params, double angle) const;
  /// Rewrites params, room for the larger of the two formats, as the same rotation in another format. Whether
  /// a conversion exists depends on the two formats only; one that does not is a warning and leaves params.
  virtual void convertTo(double* params, const char* toFormat) const;
  /// The name in the table above; one character a parameter, but for the null format.
  virtual const char* name() const;
  /// params = the identity: (1, 0, 0, 0) for "QRST", zero angles, nothing for the null format.
  virtual void zero(double* params) const;

  /// setX, setY or setZ by the letter 'X', 'Y' or 'Z' (upper case); any other is a warning, also for the null
  /// format.
  void Set(char axis, double* params, double angle) const;
  /// Copies the parameters of format `fromFormat` from in to out (they may be the same array or overlap) and
  /// has them converted there. An unknown `fromFormat`, the null format's among them, is a warning and leaves
  /// out.
  static void Convert(const char* fromFormat, const char* toFormat, double* in, double* out);
};

LIMBER_FIXED_TABLE_END

/// The one object of each format. The pointers are set before any code runs, so that static initialisers may
/// use them.
extern LIMBER_API RotHelper* nullRot;
extern LIMBER_API RotHelper* qRot;
extern LIMBER_API RotHelper* xRot;
extern LIMBER_API RotHelper* yRot;
extern LIMBER_API RotHelper* zRot;
extern LIMBER_API RotHelper* zxRot;
extern LIMBER_API RotHelper* zyRot;
extern LIMBER_API RotHelper* xyRot;
extern LIMBER_API RotHelper* xyzRot;
extern LIMBER_API RotHelper* zxyRot;
