#include "limber/solvers/JJtPrecond.h"

#include "limber/foundation/detail/Sharing.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/detail/JJtDiagonal.h"

using namespace limber::detail;

JJtPrecond::JJtPrecond(HSpMat* J, Vector* weights, Vector* damp)
    : inverse(jjtInverseDiagonal(*J, weights, damp)) {}

JJtPrecond::JJtPrecond(const JJtPrecond& other) : Preconditioner(other), inverse(nullptr) {
  copyShared(inverse, other.inverse);
}

JJtPrecond& JJtPrecond::operator=(const JJtPrecond& other) {
  copyShared(inverse, other.inverse);
  return *this;
}

JJtPrecond::~JJtPrecond() { dropShared(inverse); }

void JJtPrecond::solve(const Vector* r, Vector* z) {
  if (inverse) {
    scaleByDiagonal(*inverse, *r, *z);
  } else {
    Preconditioner::solve(r, z);
  }
}
