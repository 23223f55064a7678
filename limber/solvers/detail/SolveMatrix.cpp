#include "limber/solvers/detail/SolveMatrix.h"

#include <algorithm>
#include <typeinfo>

#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/WierdMatrices.h"
#include "limber/linalg/detail/ClassOf.h"
#include "limber/linalg/detail/RowProducts.h"
#include "limber/linalg/detail/SlicedRows.h"
#include "limber/solvers/detail/LentCopy.h"
#include "limber/solvers/detail/WorkVectors.h"

namespace limber::detail {
namespace {

// Making the copy takes as long as two to four products. If the rows fit into the caches, about ten later
// products save that time again. If they do not, products are so much slower that three to five later ones
// are enough. These constants are the numbers of the first product that uses the copy. (Measured with 32 to
// 200000 rows of 3 to 81 entries. With many entries, the early copy saves 15 to 25 % of the time of solves of
// 3 to 300 iterations, and shorter ones take no longer. With few entries it would make solves of 4 to 9
// iterations 10 to 20 % slower and gain less than 10 % later.)
constexpr int firstCopied = 10;
constexpr int firstCopiedOfMany = 4;
constexpr long long manyEntries = 1 << 17;
// A matrix of fewer rows is in the nearest cache anyway.
constexpr int fewestRows = 32;

long long entriesOf(const HSpMat& A) {
  long long entries = 0;
  for (int i = 0; i < A.numRows; ++i) {
    if (A.rows[i]) entries += A.rows[i]->numEntries;
  }
  return entries;
}

// height and width of the structured matrices do not change the object, but they are not const.
template <class T>
T& concrete(const SpMat* A) {
  return *static_cast<T*>(const_cast<SpMat*>(A));
}

}  // namespace

SolveMatrix::Kind SolveMatrix::kindOf(const SpMat* A) {
  const std::type_info* const type = A ? classOf(A) : nullptr;
  if (!type) return Kind::other;
  if (*type == typeid(HSpMat)) return Kind::rows;
  if (*type == typeid(DiagonalMatrix)) return Kind::diagonal;
  if (*type == typeid(IdentityMatrix)) return Kind::identity;
  if (*type == typeid(BandedMatrix)) return Kind::banded;
  if (*type == typeid(SQPMatrix)) return Kind::quadratic;
  return Kind::other;
}

// The storage of the copy is made now, so that a later solve of the same size, which may be longer, allocates
// nothing.
SolveMatrix::SolveMatrix(const SpMat* A, Products products)
    : A_(A), kind_(kindOf(A)), products_(firstCopied) {
  if (products == Products::few || kind_ != Kind::rows || rows().numRows < fewestRows) return;
  const long long entries = entriesOf(rows());
  if (!LentCopy::reserve(rows(), entries)) return;
  products_ = entries < manyEntries ? 0 : firstCopied - firstCopiedOfMany;
}

SolveMatrix::~SolveMatrix() {
  if (ticket_ != 0) LentCopy::giveBack(ticket_);
}

const HSpMat& SolveMatrix::rows() const { return *static_cast<const HSpMat*>(A_); }

int SolveMatrix::height() const {
  if (kind_ == Kind::rows) return rows().numRows;
  if (kind_ == Kind::diagonal) return concrete<DiagonalMatrix>(A_).height();
  if (kind_ == Kind::identity) return concrete<IdentityMatrix>(A_).height();
  if (kind_ == Kind::banded) return concrete<BandedMatrix>(A_).height();
  if (kind_ == Kind::other) return A_->height();
  const SQPMatrix& Q = concrete<SQPMatrix>(A_);
  return SolveMatrix(Q.H, Products::few).height() + SolveMatrix(Q.J, Products::few).height();
}

int SolveMatrix::width() const {
  const bool square = kind_ != Kind::rows && kind_ != Kind::other;
  return square ? height() : A_->width();
}

void SolveMatrix::countProducts(int products) const {
  if (products_ >= firstCopied) return;
  products_ += products;
  if (products_ >= firstCopied) ticket_ = LentCopy::make(rows());
}

// out[i] = d[i] v[i].
void SolveMatrix::multiplyDiagonal(const Vector* v, Vector* out) const {
  setLength(out, height());
  const int n = std::max(0, std::min(out->count, v->count));
  if (kind_ == Kind::identity) {
    const double s = concrete<IdentityMatrix>(A_).s;
    for (int i = 0; i < n; ++i) out->data[i] = s * v->data[i];
  } else {
    const double* const d = n > 0 ? concrete<DiagonalMatrix>(A_).diag->data : nullptr;
    for (int i = 0; i < n; ++i) out->data[i] = d[i] * v->data[i];
  }
  for (int i = n; i < out->count; ++i) out->data[i] = 0.0;
}

// The blocks may be structured matrices as well, so each of them is wrapped in a SolveMatrix.
void SolveMatrix::multiplyBlocks(const Vector* v, Vector* out) const {
  const SQPMatrix& Q = concrete<SQPMatrix>(A_);
  SolveMatrix H(Q.H, Products::few), J(Q.J, Products::few);
  SQPMatrix blocks(&H, &J);
  blocks.hessianShift = Q.hessianShift;
  blocks.lowerDiagonal = Q.lowerDiagonal;
  setLength(out, height());
  blocks.mult(v, out);
}

bool SolveMatrix::multiplySymmetric(const Vector* v, Vector* out) const {
  if (kind_ == Kind::diagonal || kind_ == Kind::identity) {
    multiplyDiagonal(v, out);
  } else if (kind_ == Kind::quadratic) {
    multiplyBlocks(v, out);
  } else {
    return false;
  }
  return true;
}

void SolveMatrix::mult(const Vector* v, Vector* out) const {
  if (multiplySymmetric(v, out)) return;
  // some matrices write elements only, so the size of the result is set here
  setLength(out, height());
  if (kind_ == Kind::rows) {
    countProducts(1);
    const LentCopy copy(ticket_);
    if (copy.fits(rows()) && v->capacity >= copy.rows().width() && out->capacity >= copy.rows().height()) {
      copy.rows().multiply(v->data, out->data);
      return;
    }
  }
  A_->mult(v, out);
}

void SolveMatrix::multT(const Vector* v, Vector* out) const {
  if (multiplySymmetric(v, out)) return;
  if (kind_ != Kind::rows) {
    setLength(out, width());
    A_->multT(v, out);
    return;
  }
  countProducts(1);
  const LentCopy copy(ticket_);
  if (copy.fits(rows()) && v->count >= copy.rows().height() && out->capacity >= copy.rows().width()) {
    setLength(out, copy.rows().width());
    copy.rows().multiplyTransposed(v->data, out->data);
    return;
  }
  // this also finds the width; elements after the count of v are not part of the right-hand side
  const int before = out->count;
  transposedRowsTimesVector(rows().rows, rows().numRows, v->data, std::min(v->count, v->capacity), *out);
  clearBehind(out, before);
}

void SolveMatrix::normalMult(const Vector* v, double shift, Vector* t, Vector* out) const {
  // This includes SlicedMatrix: with its layout of A^T, two products are 10 to 40 % faster than one pass over
  // its rows for both.
  if (kind_ != Kind::rows) {
    mult(v, t);
    if (shift != 0.0) *t += shift;
    multT(t, out);
    return;
  }
  countProducts(2);
  const LentCopy copy(ticket_);
  if (copy.fits(rows()) && v->capacity >= copy.rows().width() && t->capacity >= copy.rows().height() &&
      out->capacity >= copy.rows().width()) {
    setLength(t, copy.rows().height());
    setLength(out, copy.rows().width());
    copy.rows().multiplyNormal(v->data, shift, t->data, out->data);
    return;
  }
  const int tBefore = t->count, outBefore = out->count;
  normalRowsTimesVector(rows().rows, rows().numRows, *v, shift, *t, *out);
  clearBehind(t, tBefore);
  clearBehind(out, outBefore);
}

}  // namespace limber::detail
