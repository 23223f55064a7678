#include "limber/solvers/JJtBandedPrecond.h"

#include "limber/foundation/Clock.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/BuildJJt.h"
#include "limber/solvers/detail/BandFactor.h"
#include "limber/solvers/detail/JJtDiagonal.h"

using namespace limber::detail;

JJtBandedPrecond::JJtBandedPrecond(HSpMat* J, int bandwidth, Vector* weights, Vector* damp)
    : band(nullptr), diagonal(nullptr) {
  Clock build("build-jjt");
  build.start();
  band = buildJJtBanded(J, bandwidth, nullptr, weights, damp, definizerShift());
  build.stop();
  Clock factor("factor-jjt");
  factor.start();
  diagonal = factorOrDiagonal(band, *J, weights, damp);
  factor.stop();
}

JJtBandedPrecond::JJtBandedPrecond(const JJtBandedPrecond& other)
    : Preconditioner(other), band(nullptr), diagonal(nullptr) {
  shareFactor(*this, other);
}

JJtBandedPrecond& JJtBandedPrecond::operator=(const JJtBandedPrecond& other) {
  shareFactor(*this, other);
  return *this;
}

JJtBandedPrecond::~JJtBandedPrecond() { dropFactor(*this); }

void JJtBandedPrecond::solve(const Vector* r, Vector* z) { solveBandOrDiagonal(band, diagonal, r, z); }
