// Angles from a matrix, by the images of the y and x axes. With X, Y, Z the rows:
//
//     input                               outcome
//     a row with a length outside         counted, reported when verbose, used nevertheless
//       [0.9, 1.1], or with a NaN
//     |Y| <= 0.1                          Y taken as (0, 1, 0): z = x = 0
//     |X| <= 0.1                          y = 0
//     Y.x = Y.y = 0 (gimbal lock)         x = +-pi/2, z = 0 (a half turn where Y.y is -0.0), y takes the rest
//     NewX . X off by rounding            clamped to [-1, 1]; beyond +-1.1, which the product of two unit
//                                         vectors never is, it would also be reported, but not counted
//     |z| or |x| < 1e-5                   exactly 0
//     NaN in Y                            NaN for every angle
//     NaN in X                            NaN for y
//     Z                                   only its length is checked: a mirrored matrix is not noticed

#include "limber/geometry/EulerZXY.h"

#include <cmath>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/geometry/Matrix4x4.h"
#include "limber/geometry/Pnt3.h"

namespace {

using namespace limber::detail;

double dot(const Pnt3& a, const Pnt3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// 1, with a report when verbose, if the rows of a rotation cannot have this length. A NaN counts.
int countRow(double length, int verbose, const ReportSite& site, const char* message) {
  if (length >= 0.9 && length <= 1.1) return 0;
  if (verbose) site.error(message);
  return 1;
}

// The image of (1, 0, 0) under rotMatrix('x', -x) rotMatrix('z', -z): row 0 of the second matrix, because
// the first leaves the x axis fixed. The angle x is used only so that a NaN in it propagates. The zeros are
// positive, because the trace prints their sign.
Pnt3 turnedXAxis(double z, double x) {
  const double spread = 0.0 * std::fabs(x);
  return Pnt3(std::cos(z) + spread, std::sin(z) + spread, spread);
}

// The angles about Z and X whose rotation has Y as the image of the y axis; none below 1e-5.
void tiltOf(const Pnt3& Y, int snapX, int zeroX, double& z, double& x, int verbose) {
  if (snapX && std::fabs(Y.x) < 0.02) {
    z = 0.0;
    x = std::atan2(Y.z, Y.y);
  } else {
    z = -std::atan2(Y.x, Y.y);
    x = zeroX ? 0.0 : std::asin(Y.z);
  }
  if (verbose) stdoutPrintf("z,x = %g %g\n", z, x);
  if (std::fabs(x) < 1e-5) x = 0.0;
  if (std::fabs(z) < 1e-5) z = 0.0;
}

// The angle between two directions with this dot product, which may exceed 1 because of rounding.
double angleOf(double cosine) {
  if (cosine > 1.1) ReportSite{"Rotation", 125}.error("bad value (too big) in factorZXY");
  if (cosine < -1.1) ReportSite{"Rotation", 129}.error("bad value (too small) in factorZXY");
  return std::acos(cosine > 1.0 ? 1.0 : cosine < -1.0 ? -1.0 : cosine);
}

}  // namespace

void makeRot(double x, double y, double z, Matrix4x4* out) {
  Matrix4x4 Rx, Ry, Rz, RyRx;
  rotMatrix(&Rx, 'x', x);
  rotMatrix(&Ry, 'y', y);
  rotMatrix(&Rz, 'z', z);
  // rotMatrix turns row vectors about X and Z in the opposite direction than about Y.
  Rx.m[1][2] = -Rx.m[1][2], Rx.m[2][1] = -Rx.m[2][1];
  Rz.m[0][1] = -Rz.m[0][1], Rz.m[1][0] = -Rz.m[1][0];
  multMatrix(&Ry, &Rx, &RyRx);
  multMatrix(&RyRx, &Rz, out);
}

int factorZXY(Matrix4x4* M, int snapX, int zeroX, double& z, double& x, double& y, int verbose) {
  Pnt3 X(M->m[0]), Y(M->m[1]);
  const Pnt3 Z(M->m[2]);
  const double lengthX = X.length(), lengthY = Y.length();
  int problems = countRow(lengthX, verbose, {"Rotation", 69}, "non-rotation for factorZXY (x-axis)");
  problems += countRow(lengthY, verbose, {"Rotation", 73}, "non-rotation for factorZXY (y-axis)");
  problems += countRow(Z.length(), verbose, {"Rotation", 77}, "non-rotation for factorZXY (z-axis)");

  if (lengthY <= 0.1)
    Y.set(0.0, 1.0, 0.0);
  else
    Y /= lengthY;
  if (verbose) {
    stdoutPrintf("================================\n");
    printMatrix(M);
    stdoutPrintf("Yax : %g %g %g\n", Y.x, Y.y, Y.z);
    stdoutPrintf("Xax : %g %g %g\n", X.x, X.y, X.z);
  }

  tiltOf(Y, snapX, zeroX, z, x, verbose);
  const Pnt3 newX = turnedXAxis(z, x);
  if (verbose) stdoutPrintf("NewX: %g %g %g\n", newX.x, newX.y, newX.z);
  if (lengthX <= 0.1) {
    y = 0.0;
    return problems;
  }
  X /= lengthX;
  y = angleOf(dot(newX, X));
  const Pnt3 newY = newX * X;
  if (verbose) stdoutPrintf("NewY: %g %g %g\n", newY.x, newY.y, newY.z);
  if (dot(newY, Y) < 0.0) y = -y;
  return problems;
}

namespace {

Matrix4x4 rotationOf(const Pnt3& angles) {
  Matrix4x4 rotation;
  makeRot(angles.x, angles.y, angles.z, &rotation);
  return rotation;
}

// out = angles of A B.
void factorProduct(const Matrix4x4& A, const Matrix4x4& B, Pnt3& out) {
  Matrix4x4 C;
  multMatrix(&A, &B, &C);
  factorZXY(&C, 0, 0, out.z, out.x, out.y, 0);
}

}  // namespace

void composeEulerAngles(Pnt3 a, Pnt3 b, Pnt3& out) { factorProduct(rotationOf(a), rotationOf(b), out); }

void computeEulerOffset(Pnt3 a, Pnt3 b, Pnt3& out) {
  Matrix4x4 B = rotationOf(b);
  invertMatrix(&B, 1);
  factorProduct(B, rotationOf(a), out);
}
