#pragma once

#include "limber/foundation/detail/Sharing.h"

class HSpMat;
class ResizeMatrix;
class Vector;

namespace limber::detail {

// What the two band preconditioners share: a factored band, or the diagonal where it would not factor.

/// Factors the band in place and returns null. When that fails, reports it and returns the inverse diagonal,
/// to solve with instead; null when there is no memory for that either.
Vector* factorOrDiagonal(ResizeMatrix* band, const HSpMat& J, const Vector* weights, const Vector* damp);

/// `to` lets go of its band and diagonal and holds those of `from` beside it.
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

/// z = r, and then the leading part is solved for, with the diagonal where there is one.
void solveBandOrDiagonal(ResizeMatrix* band, const Vector* diagonal, const Vector* r, Vector* z);

}  // namespace limber::detail
