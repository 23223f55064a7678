#pragma once

/// @file
/// What all solves of the process share.

#include <new>

#include "limber/linalg/Vector.h"

class HSpMat;
class SpMat;

namespace limber::detail {

/// The work vectors of the newer family. Created by whoever needs them first, with the lengths that
/// cgradMAXX and cgradMAXB have then; they grow on demand and live as long as the process.
struct CGWork {
  CGWork();
  /// Residual, direction, M times direction.
  Vector r, p, q;
  /// The best solution of a pass, and deliberately the scratch vector of the trace as well.
  Vector best;
  /// The preconditioned residual.
  Vector z;
  /// The intermediate product of the multiply functions.
  Vector product;
};
CGWork& cgWork();

/// Iterations without a new best after which a pass gives up: -1.0 until the first solve sets it.
extern double cgStagnationLimit;
/// The iteration limit of a pass: max(height, width) cg_maxIters, or the largest int where that is larger.
int cgIterationLimit(const SpMat& A);
/// The constant that multFunAtA adds to each element of A v.
extern double cgNormalDamping;

/// An object of type T with static storage that is created by the first call and never destroyed. Nothing
/// but what T itself allocates can fail.
template <class T>
T& createdOnFirstUse() {
  alignas(T) static unsigned char storage[sizeof(T)];
  static T* const object = ::new (static_cast<void*>(storage)) T;
  return *object;
}

/// out = A v and out = A^T v with out first brought to its length: some matrices write elements only, and a
/// shared vector may be longer from an earlier solve.
void cgMult(SpMat* A, const Vector* v, Vector* out);
void cgMultT(SpMat* A, const Vector* v, Vector* out);
/// t = A v + shift, out = A^T t.
void cgNormalMult(SpMat* A, const Vector* v, double shift, Vector* t, Vector* out);

/// A as a row-sparse matrix, null for any other class (also one derived from it, which may multiply its own
/// way).
const HSpMat* plainRows(const SpMat* A);

/// out -= b, then out *= -1: the residual where out holds the product.
void cgNegativeDifference(Vector* out, Vector* b);

}  // namespace limber::detail
