#pragma once

#include "limber/foundation/detail/Sharing.h"

class HSpMat;
class ResizeMatrix;
class Vector;

namespace limber::detail {

// What the two band preconditioners share: a factored band, or the diagonal of a matrix that has no factor.

/// Factors the band in place and returns null. A failure is reported, and the inverse diagonal is returned,
/// to solve with instead; null when there is no memory for that either.
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

/// z = r, then its leading part is replaced by the solution with the diagonal, if there is one, or the band.
void solveBandOrDiagonal(ResizeMatrix* band, const Vector* diagonal, const Vector* r, Vector* z);

}  // namespace limber::detail
