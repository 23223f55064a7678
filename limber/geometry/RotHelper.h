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
/// so the last letter's rotation is applied to a point first: the rotation is that of Quat(name, params).
/// Names are matched exactly, case included. Every problem is a warning on the standard-output channel;
/// nothing is fatal.
///
/// Some conversions exist twice: by the documented formula, whose results callers rely on, and in a form that
/// is accurate for every input, which new programs should use:
///
///     quaternion of a matrix
///       formula:  qRot->fromMatrix, QuatTransform::fromMatrix; wrong at half turns, inaccurate near them
///       accurate: Quat::FromRotation
///     shortest turn of one direction to another
///       formula:  Quat::FromVectors, wrong for opposite directions and inaccurate near them
///       accurate: Quat::FromDirections
///     quaternion of an angle and an axis
///       formula:  Quat::FromAxisAngle, which takes angles below 2e-8 as 0; small ones are inaccurate
///       accurate: Quat::FromRotationVector
///     angle and axis of a quaternion
///       formula:  Quat::Log and Quat::Angle, which take angles below 2e-8 as 0; small ones are inaccurate
///       accurate: Quat::RotationVector

#include "limber/Api.h"

class Matrix3x3;

LIMBER_FIXED_TABLE_BEGIN

/// One rotation format. It has no state; a RotHelper that is not of a derived class is the null format. The
/// order of the virtual operations is part of the interface.
class LIMBER_API RotHelper {
 public:
  LIMBER_INLINE constexpr RotHelper() {}
  LIMBER_INLINE constexpr RotHelper(const RotHelper&) {}
  LIMBER_INLINE RotHelper& operator=(const RotHelper&) { return *this; }

  /// out = matrix of params. A quaternion of four zeros is reported and repaired in params: w becomes 1.
  virtual void toMatrix(double* params, Matrix3x3* out) const;
  /// Parameters whose matrix is `in`, a rotation. Formats of two axes have no inverse: they warn and give
  /// zeros.
  virtual void fromMatrix(const Matrix3x3* in, double* params) const;
  /// out[9 k + 3 row + column] = d M[row][column] / d params[k]: 9 doubles for each parameter, overwritten.
  /// A quaternion whose x, y and z are all zero is first set to (1, 0, 0, 0) in params.
  virtual void matrixDeriv(double* params, double* out) const;
  /// Set the rotation about one axis, in radians. For an axis that the format does not have they warn and do
  /// not change params. For "QRST" and "XYZ" they set the angle in the Z-X-Y angles of the same rotation.
  virtual void setX(double* params, double angle) const;
  virtual void setY(double* params, double angle) const;
  virtual void setZ(double* params, double angle) const;
  /// Rewrites params as the same rotation in another format; params must have room for the larger of the two.
  /// Whether a conversion exists depends only on the two formats; if it does not, the call warns and does not
  /// change params.
  virtual void convertTo(double* params, const char* toFormat) const;
  /// The name in the table above. It has one character per parameter, except for the null format.
  virtual const char* name() const;
  /// params = the identity: (1, 0, 0, 0) for "QRST", zero angles, nothing for the null format.
  virtual void zero(double* params) const;

  /// setX, setY or setZ by the letter 'X', 'Y' or 'Z' (upper case); any other letter is a warning, also for
  /// the null format.
  void Set(char axis, double* params, double angle) const;
  /// Copies the parameters of format `fromFormat` from in to out (they may be the same array or overlap) and
  /// converts them there. An unknown `fromFormat`, including the null format's, is a warning and does not
  /// change `out`.
  static void Convert(const char* fromFormat, const char* toFormat, double* in, double* out);
};

LIMBER_FIXED_TABLE_END

/// The single object of each format. The pointers are set before any code runs, so static initialisers may
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
