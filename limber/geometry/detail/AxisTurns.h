#pragma once

#include <cmath>

#include "limber/geometry/Matrix3x3.h"

namespace limber::detail {

/// The number of an axis, and those of the two axes that follow it in the cycle X, Y, Z. These span the plane
/// of rotation.
template <int axis>
inline constexpr int nextAxis = (axis + 1) % 3;
template <int axis>
inline constexpr int lastAxis = (axis + 2) % 3;

/// Cosine and sine of one angle.
struct Turn {
  double c, s;
  explicit Turn(double angle) : c(std::cos(angle)), s(std::sin(angle)) {}
};

/// With i and j the next axes of the cycle, the single-axis matrix A has A_ii = A_jj = c, A_ij = s, A_ji =
/// -s. Its derivative is A turned by a right angle within the plane, A' = K A = A K with K_ij = 1, K_ji = -1.
/// So the derivative of a product of such matrices by the angle of its first or last factor needs no new
/// product: it exchanges two rows (or columns) of the product and negates one of them.
///
/// The sign is changed by 0 - v, not -v, so that a zero entry stays +0.

/// out = K M, the derivative of M = A(angle) ... by the angle of its first factor, A about `axis`.
template <int axis>
inline void differentiateFirst(const double (*m)[3], double* out) {
  constexpr int i = nextAxis<axis>, j = lastAxis<axis>;
  for (int k = 0; k < 3; ++k) {
    out[3 * axis + k] = 0.0;
    out[3 * i + k] = m[j][k];
    out[3 * j + k] = 0.0 - m[i][k];
  }
}

/// out = M K, the derivative of M = ... A(angle) by the angle of its last factor, A about `axis`.
template <int axis>
inline void differentiateLast(const double (*m)[3], double* out) {
  constexpr int i = nextAxis<axis>, j = lastAxis<axis>;
  for (int k = 0; k < 3; ++k) {
    out[3 * k + axis] = 0.0;
    out[3 * k + i] = 0.0 - m[k][j];
    out[3 * k + j] = m[k][i];
  }
}

/// m = the nine entries, rows in order.
inline void setRows(double (*m)[3], double a, double b, double c, double d, double e, double f, double g,
                    double h, double i) {
  m[0][0] = a, m[0][1] = b, m[0][2] = c;
  m[1][0] = d, m[1][1] = e, m[1][2] = f;
  m[2][0] = g, m[2][1] = h, m[2][2] = i;
}

}  // namespace limber::detail
