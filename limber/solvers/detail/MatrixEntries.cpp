#include "limber/solvers/detail/MatrixEntries.h"

#include <algorithm>
#include <climits>
#include <new>

#include "limber/linalg/BandedMatrix.h"
#include "limber/linalg/DiagonalMatrix.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/IdentityMatrix.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SQPMatrix.h"
#include "limber/linalg/SlicedMatrix.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/BandRow.h"
#include "limber/linalg/detail/ClassOf.h"
#include "limber/linalg/detail/SlicedAccess.h"
#include "limber/linalg/detail/SlicedRows.h"
#include "limber/solvers/detail/SparseRows.h"

namespace limber::detail {
namespace {

const FullMatrix* dense(const SpMat& A) {
  if (const auto* resized = exactly<ResizeMatrix>(&A)) return resized;
  return exactly<FullMatrix>(&A);
}

int entriesOf(const SpVec* row) { return row ? std::max(row->numEntries, 0) : 0; }

void appendNonZero(SparseRows* out, int j, double value) {
  if (value != 0.0) out->append(j, value);
}

// Makes the rows of a matrix: appendRow(i) appends the entries of row i.
template <class AppendRow>
Extent makeRows(int height, int width, SparseRows* out, AppendRow appendRow) {
  Extent extent;
  extent.height = std::max(height, 0);
  extent.width = std::max(width, 0);
  *out = SparseRows(extent.height, extent.width);
  for (int i = 0; i < extent.height; ++i) {
    appendRow(i);
    out->endRow();
  }
  return extent;
}

// The same for rows with any indices, of which row i has lengthOf(i). The indices are examined in the copy,
// because the rows may be anywhere in memory.
template <class LengthOf, class AppendRow>
Extent copyRows(int height, int width, SparseRows* out, LengthOf lengthOf, AppendRow appendRow) {
  Extent extent;
  long long entries = 0;
  for (int i = 0; i < height; ++i) entries += lengthOf(i);
  extent.damaged = entries >= INT_MAX;
  if (extent.damaged) return extent;
  extent = makeRows(height, width, out, [&](int i) {
    if (i == 0) out->reserve(static_cast<int>(entries));
    appendRow(i);
  });
  extent.open = true;
  int last = -1, signs = 0;
  for (const int j : out->index) {
    last = std::max(last, j);
    signs |= j;
  }
  extent.damaged = signs < 0 || last == INT_MAX;
  if (!extent.damaged) extent.width = std::max(extent.width, last + 1);
  return extent;
}

Extent copySparse(const HSpMat& A, SparseRows* out) {
  int width = 0;
  const auto lengthOf = [&](int i) {
    if (A.rows[i]) width = std::max(width, A.rows[i]->width);
    return entriesOf(A.rows[i]);
  };
  Extent extent = copyRows(A.numRows, 0, out, lengthOf, [&](int i) {
    const int n = entriesOf(A.rows[i]);
    if (n > 0) out->append(A.rows[i]->indices.data, A.rows[i]->values.data, n);
  });
  extent.width = std::max(extent.width, width);
  return extent;
}

Extent copySliced(const SlicedMatrix& A, SparseRows* out) {
  const SlicedRows* const rows = SlicedAccess::rowsOf(A);
  const auto lengthOf = [=](int i) { return rows->length(i); };
  return copyRows(A.height(), A.width(), out, lengthOf, [=](int i) {
    const int from = out->entries(), to = from + rows->length(i);
    out->index.resize(to);
    out->value.resize(to);
    rows->copyRow(i, out->index.data() + from, out->value.data() + from);
  });
}

// | H + shift I, J^T; J, lower I |
Extent copyBlocks(const SQPMatrix& A, SparseRows* out) {
  Extent extent;
  extent.damaged = true;
  if (!A.H || !A.J) return extent;
  SparseRows H, J;
  const Extent h = extentOf(*A.H, 0, &H), j = extentOf(*A.J, 0, &J);
  if (h.damaged || j.damaged || (h.width != h.height && !(h.open && h.width < h.height)) ||
      j.width > h.height || (!j.open && j.width != h.height)) {
    return extent;
  }
  copyEntries(*A.H, h, &H);
  copyEntries(*A.J, j, &J);
  const int n = h.height;
  J.width = std::max(J.width, n);
  const SparseRows Jt = J.transposed();
  return makeRows(n + j.height, n + j.height, out, [&](int i) {
    if (i < n) {
      out->appendRow(H, i);
      appendNonZero(out, i, A.hessianShift);
      out->appendRow(Jt, i, n);
    } else {
      out->appendRow(J, i - n);
      appendNonZero(out, i, A.lowerDiagonal);
    }
  });
}

void copyByProducts(const SpMat& A, const Extent& extent, SparseRows* out) {
  constexpr int maxEntries = 50000000;  // a matrix with more entries is not sparse
  SparseRows columns(extent.width, extent.height);
  Vector unit(extent.width), column(extent.height);
  if (unit.count != extent.width || column.count != extent.height) throw std::bad_alloc();
  for (int j = 0; j < extent.width; ++j) {
    unit[j] = 1.0;
    column.grow(extent.height);
    if (column.count != extent.height) throw std::bad_alloc();
    column = 0.0;
    A.mult(&unit, &column);
    unit[j] = 0.0;
    const int n = std::min(column.count, extent.height);
    for (int i = 0; i < n; ++i) appendNonZero(&columns, i, column[i]);
    columns.endRow();
    if (columns.entries() > maxEntries) throw std::bad_alloc();
  }
  *out = columns.transposed();
}

}  // namespace

Extent extentOf(const SpMat& A, int rows, SparseRows* copied) {
  if (const auto* sparse = exactly<HSpMat>(&A)) return copySparse(*sparse, copied);
  if (const auto* sliced = exactly<SlicedMatrix>(&A)) return copySliced(*sliced, copied);
  if (const auto* blocks = exactly<SQPMatrix>(&A)) return copyBlocks(*blocks, copied);
  if (const FullMatrix* const full = dense(A)) {
    const bool stored = full->data != nullptr;
    return makeRows(stored ? full->numRows : 0, stored ? full->numColumns : 0, copied, [=](int i) {
      for (int j = 0; j < copied->width; ++j) appendNonZero(copied, j, full->e(i, j));
    });
  }
  if (const auto* identity = exactly<IdentityMatrix>(&A)) {
    return makeRows(identity->n, identity->n, copied, [=](int i) { appendNonZero(copied, i, identity->s); });
  }
  if (const auto* diagonal = exactly<DiagonalMatrix>(&A)) {
    const int n = diagonal->diag ? diagonal->diag->count : 0;
    return makeRows(n, n, copied, [=](int i) { appendNonZero(copied, i, diagonal->diag->data[i]); });
  }
  if (const auto* band = exactly<BandedMatrix>(&A)) {
    return makeRows(band->rows, band->rows, copied, [=](int i) {
      forBandRow(*band, i, [copied](int j, double value) { appendNonZero(copied, j, value); });
    });
  }
  Extent extent;
  extent.foreign = true;
  extent.height = std::max(A.height(), 0);
  extent.width = std::max(A.width(), 0);
  if (extent.height == 0) extent.height = rows;
  return extent;
}

void copyEntries(const SpMat& A, const Extent& extent, SparseRows* out) {
  if (extent.foreign) copyByProducts(A, extent, out);
  out->width = extent.width;
  out->tidy();
}

}  // namespace limber::detail
