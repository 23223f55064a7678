#pragma once

/// @file
/// The vectors that the solvers size themselves, and the limits of a pass.
///
/// A row of a compacted matrix has an index equal to its width, so a product may read one element after the
/// last one of its operand. That element must not depend on earlier solves: in a vector that the solvers
/// size, every element after the last one is 0.0. The functions below maintain this.

#include <algorithm>

#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"

namespace limber::detail {

/// A vector with the initial length cgradMAXX, another one, or 0 if that is negative.
struct WorkVector : Vector {
  explicit WorkVector(int length = cgradMAXX) : Vector(std::max(length, 0)) {}
};

/// The work vectors of the newer family, which all its solves share. They grow on demand and are kept until
/// the process ends.
struct CGWork {
  /// Residual, direction, M times direction.
  WorkVector r, p, q;
  /// The best solution of a pass. Contract: it is also the scratch vector of the trace.
  WorkVector best;
  /// The preconditioned residual.
  WorkVector z;
  /// The intermediate product of the multiply functions.
  WorkVector product{cgradMAXB};
};
CGWork& cgWork();

/// The number of iterations without a new best after which a pass gives up; -1.0 until the first solve sets
/// it.
extern double cgStagnationLimit;
/// The constant that multFunAtA adds to each element of A v.
extern double cgNormalDamping;
/// The iteration limit of a pass over n unknowns: n cg_maxIters, or the nearest int.
int cgIterationLimit(int n);

/// Clears the elements after the last one, up to `before`, the previous count of v.
inline void clearBehind(Vector* v, int before) {
  const int end = std::min(before, v->capacity);
  if (v->count >= 0 && v->count < end) std::fill(v->data + v->count, v->data + end, 0.0);
}

/// Clears all elements after the last one, for a vector that comes from the caller.
inline void clearSpare(Vector* v) { clearBehind(v, v->capacity); }

/// Sets the length of v.
inline void setLength(Vector* v, int n) {
  const int before = v->count;
  v->grow(n);
  clearBehind(v, before);
}

/// to = from.
inline void assign(Vector* to, const Vector& from) {
  const int before = to->count;
  *to = from;
  clearBehind(to, before);
}

/// out = b - out. Contract: computed as out -= b, then out *= -1.
void cgNegativeDifference(Vector* out, const Vector* b);

}  // namespace limber::detail
