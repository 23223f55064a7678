#pragma once

#include <algorithm>
#include <cmath>

#include "limber/foundation/Output.h"
#include "limber/geometry/Quat.h"

namespace limber::detail {

/// Every conversion that finds the zero quaternion prints this warning.
inline void warnZeroQuaternion() { stdoutPrintf("WARNING: 0,0,0,0 quaternion!!!\n"); }

/// Copies p to q and returns the scale. The scale is a power of two if the squared norm of p, or its square,
/// could over- or underflow. Otherwise, and if p is not finite, the scale is 1 and no bit changes.
inline double unscale(const double* p, double* q) {
  for (int k = 0; k < 4; ++k) q[k] = p[k];
  const double n = q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3];
  if (n > 1e-100 && n < 1e100) return 1.0;
  const double largest = std::fmax(std::fmax(std::fabs(p[0]), std::fabs(p[1])),  //
                                   std::fmax(std::fabs(p[2]), std::fabs(p[3])));
  if (!(largest > 0.0) || std::isinf(largest)) return 1.0;
  const int exponent = std::min(-std::ilogb(largest), 1023);  // the factor itself must be finite
  for (int k = 0; k < 4; ++k) q[k] = std::ldexp(p[k], exponent);
  return std::ldexp(1.0, exponent);
}

/// q = (w, x, y, z): out = the rotation of q in the row-vector layout. q may have any norm: the formula
/// divides by the squared norm. The zero quaternion prints a warning, and its w is set to 1 in place.
inline void quaternionToRows(double* q, double out[3][3]) {
  if (q[0] == 0.0 && q[1] == 0.0 && q[2] == 0.0 && q[3] == 0.0) {
    warnZeroQuaternion();
    q[0] = 1.0;
  }
  double u[4];
  unscale(q, u);
  const double w = u[0], x = u[1], y = u[2], z = u[3];
  const double s = 1.0 / (w * w + z * z + y * y + x * x);
  const double s2 = 2.0 * s;
  out[0][0] = 1.0 - s2 * (y * y + z * z), out[0][1] = s2 * (x * y + w * z), out[0][2] = s2 * (x * z - w * y);
  out[1][0] = s2 * (x * y - w * z), out[1][1] = 1.0 - s2 * (x * x + z * z), out[1][2] = s2 * (y * z + w * x);
  out[2][0] = s2 * (x * z + w * y), out[2][1] = s2 * (y * z - w * x), out[2][2] = 1.0 - s2 * (x * x + y * y);
}

/// q = the rotation of the rows, by Quat::FromVectors of the first two basis vectors and the first two rows.
/// Contract: the third row is not read, and the results for half turns are wrong or not finite.
/// Quat::FromRotation is accurate.
inline void rowsToQuaternion(const double rows[3][3], Quat* q) {
  const Pnt3 x(1.0, 0.0, 0.0), y(0.0, 1.0, 0.0), toX(rows[0]), toY(rows[1]);
  q->FromVectors(&x, &y, &toX, &toY);
}

}  // namespace limber::detail
