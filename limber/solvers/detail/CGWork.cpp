#include "limber/solvers/detail/CGWork.h"

#include <algorithm>
#include <climits>
#include <typeinfo>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpMat.h"
#include "limber/linalg/detail/RowProducts.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/detail/SolveCopy.h"

namespace limber::detail {

double cgStagnationLimit = -1.0;
double cgNormalDamping = 0.0;

namespace {
int roomX() { return std::max(cgradMAXX, 0); }
int roomB() { return std::max(cgradMAXB, 0); }
}  // namespace

CGWork::CGWork() : r(roomX()), p(roomX()), q(roomX()), best(roomX()), z(roomX()), product(roomB()) {}

int cgIterationLimit(const SpMat& A) {
  const long long limit = static_cast<long long>(std::max(A.height(), A.width())) * cg_maxIters;
  return static_cast<int>(std::clamp<long long>(limit, INT_MIN, INT_MAX));
}

CGWork& cgWork() { return createdOnFirstUse<CGWork>(); }

const HSpMat* plainRows(const SpMat* A) {
  return A && typeid(*A) == typeid(HSpMat) ? static_cast<const HSpMat*>(A) : nullptr;
}

void cgMult(SpMat* A, const Vector* v, Vector* out) {
  out->grow(A->height());
  if (!SolveCopy::mult(A, v, out)) A->mult(v, out);
}

void cgMultT(SpMat* A, const Vector* v, Vector* out) {
  if (SolveCopy::multT(A, v, out)) return;
  // a row-sparse matrix grows it itself, and finds its width on the way
  if (!plainRows(A)) out->grow(A->width());
  A->multT(v, out);
}

void cgNormalMult(SpMat* A, const Vector* v, double shift, Vector* t, Vector* out) {
  if (SolveCopy::normalMult(A, v, shift, t, out)) return;
  if (const HSpMat* const matrix = plainRows(A)) {
    normalRowsTimesVector(matrix->rows, matrix->numRows, *v, shift, *t, *out);
    return;
  }
  cgMult(A, v, t);
  if (shift != 0.0) *t += shift;
  cgMultT(A, t, out);
}

void cgNegativeDifference(Vector* out, Vector* b) {
  const int n = std::min(out->count, b->count);
  for (int i = 0; i < n; ++i) out->data[i] = (out->data[i] - b->data[i]) * -1.0;
  for (int i = n; i < out->count; ++i) out->data[i] *= -1.0;
}

}  // namespace limber::detail
