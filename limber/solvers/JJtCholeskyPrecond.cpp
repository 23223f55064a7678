#include "limber/solvers/JJtCholeskyPrecond.h"

#include "limber/linalg/Vector.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/detail/BandFactor.h"
#include "limber/solvers/detail/JJtDiagonal.h"

using namespace limber::detail;

JJtCholeskyPrecond::JJtCholeskyPrecond(HSpMat* J, int bandwidth, Vector* weights, Vector* damp)
    : band(buildJJtBand(J, bandwidth, nullptr, weights, damp, definizerShift())),
      diagonal(factorOrDiagonal(band, *J, weights, damp)) {}

JJtCholeskyPrecond::JJtCholeskyPrecond(const JJtCholeskyPrecond& other)
    : Preconditioner(other), band(nullptr), diagonal(nullptr) {
  shareFactor(*this, other);
}

JJtCholeskyPrecond& JJtCholeskyPrecond::operator=(const JJtCholeskyPrecond& other) {
  shareFactor(*this, other);
  return *this;
}

JJtCholeskyPrecond::~JJtCholeskyPrecond() { dropFactor(*this); }

void JJtCholeskyPrecond::solve(const Vector* r, Vector* z) { solveBandOrDiagonal(band, diagonal, r, z); }
