#include "limber/solvers/detail/JJtDiagonal.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/RowStorage.h"
#include "limber/solvers/CGTuning.h"

namespace limber::detail {

double jjtDiagonal(const HSpMat& J, int i, const Vector* weights, const Vector* damp, double shift,
                   double ownDot) {
  // The weighted norm rounds w v^2 as w (v v), the weighted dot as (w v) v. So only the plain norm is the
  // dot.
  double d = weights && J.rows[i] ? J.rows[i]->weightedL2(weights) : ownDot;
  if (damp && inStorage(*damp, i)) d += damp->data[i];
  return d + shift;
}

double definizerShift() { return std::max(0.0, cgradDefinizer); }

Vector* jjtInverseDiagonal(const HSpMat& J, const Vector* weights, const Vector* damp) {
  const int n = J.numRows;
  Vector* const inverse = new (std::nothrow) Vector(n);
  if (!inverse) {
    FATAL_ERROR(newFails);
    return nullptr;
  }
  const double shift = definizerShift();
  for (int i = 0; i < std::min(n, inverse->count); ++i) {
    const double square = J.rows[i] && !weights ? J.rows[i]->magSq() : 0.0;
    const double d = jjtDiagonal(J, i, weights, damp, shift, square);
    // Contract: a diagonal near zero is not inverted or clamped.
    inverse->data[i] = std::fabs(d) >= cg_epsilon ? 1.0 / d : d;
  }
  return inverse;
}

void scaleByDiagonal(const Vector& inverse, const Vector& r, Vector& z) {
  const int n = std::min({inverse.count, r.count, z.capacity});
  for (int i = 0; i < n; ++i) z.data[i] = inverse.data[i] * r.data[i];
}

}  // namespace limber::detail
