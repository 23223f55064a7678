#pragma once

#include "limber/foundation/detail/Sharing.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/Vector.h"

class HSpMat;

namespace limber::detail {

// The two band preconditioners share a factored band, or the diagonal of a matrix that has no factor.

/// Factors the band in place and returns null. After a failure, which is reported, returns the inverse
/// diagonal to solve with instead, or null if there is no memory for it.
Vector* factorOrDiagonal(ResizeMatrix* band, const HSpMat& J, const Vector* weights, const Vector* damp);

/// `to` releases its band and diagonal and shares those of `from`.
template <class Precond>
void shareFactor(Precond& to, const Precond& from) {
  copyShared(to.band, from.band);
  copyShared(to.diagonal, from.diagonal);
}

template <class Precond>
void dropFactor(Precond& p) {
  dropShared(p.band);
  dropShared(p.diagonal);
}

/// z = r; then the leading part of z is replaced by the solution with the diagonal, if there is one, or else
/// with the band.
void solveBandOrDiagonal(ResizeMatrix* band, const Vector* diagonal, const Vector* r, Vector* z);

}  // namespace limber::detail
