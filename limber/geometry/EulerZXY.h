#pragma once

/// @file
/// Z-X-Y Euler angles and 4x4 rotation matrices (row vectors, p' = p M), in radians.

#include "limber/Api.h"

class Matrix4x4;
class Pnt3;

/// out = Y(y) X(x) Z(z) in row-vector order: z about Z, x about X and y about Y. The rotation about Y is
/// applied to a point first. The matrix of the "ZXY" rotation format with parameters (z, x, y).
LIMBER_API void makeRot(double x, double y, double z, Matrix4x4* out);

/// Angles with makeRot(x, y, z) = M; x in [-pi/2, pi/2], or all of [-pi, pi] when snapped. Returns how many
/// of the three rows have a length outside [0.9, 1.1]; such rows are used nevertheless, and no other problem
/// is counted. z and x below 1e-5 in magnitude are returned as 0. y is an arc cosine, so near 0 and +-pi its
/// error is about 1e-8. snapX non-zero: if the image of the y axis has |x| < 0.02, z is 0 and x takes the
/// whole tilt. zeroX non-zero: x is 0 unless it was snapped. verbose non-zero: reports the counted rows, and
/// traces the steps on the standard-output channel.
LIMBER_API int factorZXY(Matrix4x4* M, int snapX, int zeroX, double& z, double& x, double& y, int verbose);

/// out = angles of A B, the rotation a followed by b; each point holds the angles about (X, Y, Z).
LIMBER_API void composeEulerAngles(Pnt3 a, Pnt3 b, Pnt3& out);

/// out = angles of B^-1 A, the rotation that undoes b and then does a.
LIMBER_API void computeEulerOffset(Pnt3 a, Pnt3 b, Pnt3& out);
