#include "limber/linalg/SlicedMatrix.h"

#include <algorithm>
#include <new>
#include <utility>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/ClassOf.h"
#include "limber/linalg/detail/CompressedRows.h"
#include "limber/linalg/detail/RowStorage.h"
#include "limber/linalg/detail/SlicedAccess.h"
#include "limber/linalg/detail/SlicedRows.h"

using namespace limber::detail;

struct SlicedMatrix::Layout {
  SlicedRows rows;
  // The rows of A^T without entries outside the width. Each sum of a product with A^T runs over one of them
  // in ascending row order of A, which is the order in which HSpMat adds its terms.
  SlicedRows columns;
  // No value is infinite or a NaN: a row times 0.0 adds nothing, so rows that must be left out need no test.
  bool finite = false;
};

// Makes the layout by fill(layout). The matrix is empty if that fails, which is reported.
template <class Fill>
void SlicedMatrix::make(int width, Fill fill) {
  layout_ = new (std::nothrow) Layout;
  if (layout_ && fill(*layout_)) {
    width_ = width;
    return;
  }
  ReportSite{"Vectors", __LINE__}.fatal(newFails);
  delete layout_;
  layout_ = nullptr;
}

// The rows' indices may reach beyond the width: SpVec::compact leaves a width that excludes the last one.
template <class Take>
void SlicedMatrix::layOut(int width, Take take) {
  width = std::max(width, 0);
  make(width, [&](Layout& layout) {
    CompressedRows rows, columns;
    if (!take(rows)) return false;
    if (rows.height() == 0) return true;
    if (!layout.rows.copy(rows, std::max(width, rows.reach())) || !columns.takeTransposed(rows, width)) {
      return false;
    }
    layout.finite = layout.rows.allFinite();
    return width == 0 || layout.columns.copy(columns, rows.height());
  });
}

SlicedMatrix::SlicedMatrix(const HSpMat& A) {
  layOut(A.width(), [&A](CompressedRows& rows) { return rows.takeRows(A); });
}

SlicedMatrix::SlicedMatrix(const SpMat& A) {
  if (const HSpMat* const rowSparse = exactly<HSpMat>(&A)) {
    layOut(rowSparse->width(), [rowSparse](CompressedRows& rows) { return rows.takeRows(*rowSparse); });
  } else {
    layOut(CompressedRows::widthOf(A), [&A](CompressedRows& rows) { return rows.takeElements(A); });
  }
}

SlicedMatrix::SlicedMatrix(const SlicedMatrix& other) : SpMat(other) {
  if (!other.layout_) return;
  make(other.width_, [&other](Layout& layout) {
    layout.finite = other.layout_->finite;
    return layout.rows.copy(other.layout_->rows) && layout.columns.copy(other.layout_->columns);
  });
}

SlicedMatrix& SlicedMatrix::operator=(const SlicedMatrix& other) {
  if (this == &other) return *this;
  SlicedMatrix copy(other);
  std::swap(width_, copy.width_);
  std::swap(layout_, copy.layout_);
  return *this;
}

SlicedMatrix::~SlicedMatrix() { delete layout_; }

const SlicedRows* SlicedAccess::rowsOf(const SlicedMatrix& A) {
  return A.layout_ ? &A.layout_->rows : nullptr;
}

int SlicedMatrix::height() const { return layout_ ? layout_->rows.height() : 0; }

int SlicedMatrix::width() const { return width_; }

void SlicedMatrix::mult(const Vector* x, Vector* y) const {
  const int h = height();
  y->grow(h);
  clearBehind(*y);
  if (y->count < h || h == 0) return;
  const SlicedRows& rows = layout_->rows;
  if (x->capacity >= rows.width()) {
    rows.multiply(x->data, y->data);
  } else {
    rows.multiplyInside(x->data, std::max(x->capacity, 0), false, y->data);
  }
}

void SlicedMatrix::multT(const Vector* x, Vector* y) const {
  y->grow(width_);
  clearBehind(*y);
  if (y->count < width_ || width_ == 0) return;
  const int values = std::max(x->capacity, 0);
  if (!layout_->finite) {
    layout_->rows.multiplyTransposedInside(x->data, values, width_, y->data);
  } else if (values >= height()) {
    layout_->columns.multiplyWithoutTiny(x->data, y->data);
  } else {
    layout_->columns.multiplyInside(x->data, values, true, y->data);
  }
}

double SlicedMatrix::acc(int i, int j) const { return layout_ ? layout_->rows.at(i, j) : 0.0; }

void SlicedMatrix::scalar(double s) {
  if (!layout_) return;
  layout_->rows.scale(s);
  layout_->columns.scale(s);
  layout_->finite = layout_->rows.allFinite();
}
