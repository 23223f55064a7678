#include "limber/solvers/JJtCholeskyPrecond.h"

#include "limber/foundation/detail/Sharing.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/detail/BandFactor.h"
#include "limber/solvers/detail/JJtDiagonal.h"

using limber::detail::copyShared;
using limber::detail::definizerShift;
using limber::detail::dropShared;
using limber::detail::factorOrDiagonal;

JJtCholeskyPrecond::JJtCholeskyPrecond(HSpMat* J, int bandwidth, Vector* weights, Vector* damp)
    : band(buildJJtBand(J, bandwidth, nullptr, weights, damp, definizerShift())),
      diagonal(factorOrDiagonal(band, *J, weights, damp)) {}

JJtCholeskyPrecond::JJtCholeskyPrecond(const JJtCholeskyPrecond& other)
    : Preconditioner(other), band(nullptr), diagonal(nullptr) {
  copyShared(band, other.band);
  copyShared(diagonal, other.diagonal);
}

JJtCholeskyPrecond& JJtCholeskyPrecond::operator=(const JJtCholeskyPrecond& other) {
  copyShared(band, other.band);
  copyShared(diagonal, other.diagonal);
  return *this;
}

JJtCholeskyPrecond::~JJtCholeskyPrecond() {
  dropShared(band);
  dropShared(diagonal);
}

void JJtCholeskyPrecond::solve(const Vector* r, Vector* z) {
  limber::detail::solveBandOrDiagonal(band, diagonal, r, z);
}
