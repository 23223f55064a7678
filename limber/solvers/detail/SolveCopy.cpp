#include "limber/solvers/detail/SolveCopy.h"

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/SlicedRows.h"
#include "limber/solvers/detail/CGWork.h"

namespace limber::detail {
namespace {

// The copy takes as long as three or four products, and about fourteen later ones save that again: a solve
// that is over by then goes without.
constexpr int productsBefore = 10;

SolveCopy* running = nullptr;

SlicedRows& storage() { return createdOnFirstUse<SlicedRows>(); }

// Brings the vector to n elements. False when there is no memory.
bool size(Vector* v, int n) {
  v->grow(n);
  return v->count == n;
}

}  // namespace

SolveCopy::SolveCopy(const SpMat* A) : A_(A ? plainRows(A) : nullptr) {
  if (!running && A_) running = this;
}

SolveCopy::SolveCopy(const SpMat* A, CGMultFun operation)
    : SolveCopy(operation == multFunA || operation == multFunJJt || operation == multFunAtA ? A : nullptr) {}

SolveCopy::~SolveCopy() {
  if (running == this) running = nullptr;
}

bool SolveCopy::ready(const SpMat* A, int products) {
  if (!running || A != running->A_) return false;
  if (running->products_ < productsBefore) {
    running->products_ += products;
    if (running->products_ < productsBefore) return false;
    running->width_ = running->A_->width();
    running->copied_ = storage().copy(running->A_->rows, running->A_->numRows, running->width_);
  }
  return running->copied_;
}

bool SolveCopy::mult(const SpMat* A, const Vector* v, Vector* out) {
  if (!ready(A, 1) || v->capacity < running->width_ || !size(out, running->A_->numRows)) return false;
  storage().multiply(v->data, out->data);
  return true;
}

bool SolveCopy::multT(const SpMat* A, const Vector* v, Vector* out) {
  if (!ready(A, 1) || v->capacity < running->A_->numRows || !size(out, running->width_)) return false;
  storage().multiplyTransposed(v->data, out->data);
  return true;
}

bool SolveCopy::normalMult(const SpMat* A, const Vector* v, double shift, Vector* t, Vector* out) {
  if (!ready(A, 2) || v->capacity < running->width_) return false;
  if (!size(t, running->A_->numRows) || !size(out, running->width_)) return false;
  storage().multiplyNormal(v->data, shift, t->data, out->data);
  return true;
}

}  // namespace limber::detail
