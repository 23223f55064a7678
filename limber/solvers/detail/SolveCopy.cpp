#include "limber/solvers/detail/SolveCopy.h"

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/SlicedRows.h"
#include "limber/solvers/detail/CGWork.h"

namespace limber::detail {
namespace {

// The copy takes as long as three or four products, and about fourteen later ones save that again: a solve
// that is over by then goes without. Made for the product with this number.
constexpr int firstCopied = 10;
// Fewer rows are in the nearest cache anyway.
constexpr int fewestRows = 32;

SlicedRows& storage() { return createdOnFirstUse<SlicedRows>(); }

}  // namespace

SolveCopy::Solve SolveCopy::running_;

SolveCopy::SolveCopy(const SpMat* A) : around_(running_) { begin(A); }

SolveCopy::SolveCopy(const SpMat* A, CGMultFun operation) : around_(running_) {
  if (operation == multFunA || operation == multFunJJt || operation == multFunAtA) {
    begin(A);
  } else {
    running_ = {};
    running_.taken = around_.A || around_.taken;
    active_ = true;
  }
}

SolveCopy::~SolveCopy() {
  if (active_) running_ = around_;
}

// The storage is there from the start, so that a later solve of the size, which may be a longer one,
// allocates nothing. It takes no memory before it is filled.
void SolveCopy::begin(const SpMat* A) {
  const HSpMat* const matrix = plainRows(A);
  if (running_.A || running_.taken || !matrix || matrix->numRows < fewestRows) return;
  if (!storage().reserve(matrix->rows, matrix->numRows)) return;
  running_.A = matrix;
  active_ = true;
}

bool SolveCopy::copied(const SpMat* A, int products) {
  if (!A || A != running_.A) return false;
  const HSpMat& matrix = *running_.A;
  if (running_.products < firstCopied) {
    running_.products += products;
    if (running_.products < firstCopied) return false;
    running_.copied = storage().copy(matrix.rows, matrix.numRows, matrix.width());
  }
  return running_.copied && matrix.numRows == storage().height();
}

bool SolveCopy::mult(const SpMat* A, const Vector* v, Vector* out) {
  if (!copied(A, 1)) return false;
  const SlicedRows& rows = storage();
  if (v->capacity < rows.width() || out->capacity < rows.height()) return false;
  out->count = rows.height();
  rows.multiply(v->data, out->data);
  return true;
}

bool SolveCopy::multT(const SpMat* A, const Vector* v, Vector* out) {
  if (!copied(A, 1)) return false;
  const SlicedRows& rows = storage();
  if (v->capacity < rows.height() || out->capacity < rows.width()) return false;
  out->count = rows.width();
  rows.multiplyTransposed(v->data, out->data);
  return true;
}

bool SolveCopy::normalMult(const SpMat* A, const Vector* v, double shift, Vector* t, Vector* out) {
  if (!copied(A, 2)) return false;
  const SlicedRows& rows = storage();
  if (v->capacity < rows.width() || t->capacity < rows.height() || out->capacity < rows.width()) return false;
  t->count = rows.height();
  out->count = rows.width();
  rows.multiplyNormal(v->data, shift, t->data, out->data);
  return true;
}

}  // namespace limber::detail
