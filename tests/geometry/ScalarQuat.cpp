// Compiles the quaternion again, in another namespace, as on a machine without SSE2.
#include "tests/geometry/ScalarQuat.h"

#include <cmath>

#include "limber/geometry/Pnt3.h"

#undef __SSE2__
namespace scalar {
#include "limber/geometry/Quat.h"
}

void scalarProduct(const double* a, const double* b, double* out) {
  const scalar::Quat p(a[0], a[1], a[2], a[3]), q(b[0], b[1], b[2], b[3]);
  (p * q).Get(out);
}

void scalarNormalize(const double* a, double* out) {
  scalar::Quat q(a[0], a[1], a[2], a[3]);
  q.Normalize();
  q.Get(out);
}
