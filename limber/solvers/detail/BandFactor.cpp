#include "limber/solvers/detail/BandFactor.h"

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/BandedCholesky.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/detail/JJtDiagonal.h"

namespace limber::detail {

Vector* factorOrDiagonal(ResizeMatrix* band, const HSpMat& J, const Vector* weights, const Vector* damp) {
  const bool built = band && (band->data || J.numRows == 0);
  if (built && cholFactorBanded(band) == 0) return nullptr;
  ReportSite{"NewCGrad", __LINE__}.error(
      built ? "Banded preconditioner not positive definite, using the diagonal"
            : "Banded preconditioner not built, using the diagonal");
  return jjtInverseDiagonal(J, weights, damp);
}

void solveBandOrDiagonal(ResizeMatrix* band, const Vector* diagonal, const Vector* r, Vector* z) {
  z->grow(r->count);
  if (z->count != r->count) return;
  if (z != r) *z = *r;
  if (diagonal) {
    scaleByDiagonal(*diagonal, *r, *z);
  } else if (band) {
    cholSolveBanded(band, z);
  }
}

}  // namespace limber::detail
