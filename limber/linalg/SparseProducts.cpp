#include "limber/linalg/SparseProducts.h"

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/SparseDot.h"

namespace {

SpVec* rowOrNull(const HSpMat& m, int i) { return i < m.numRows ? m.rows[i] : nullptr; }

// out(i, j) = product(i, row j of b), 0.0 if that row is null.
template <class Product>
void fillByRows(HSpMat& b, FullMatrix& out, Product product) {
  const int h = out.height();
  const int w = out.width();
  if (!out.data) return;
  for (int i = 0; i < h; ++i) {
    for (int j = 0; j < w; ++j) {
      SpVec* const row = rowOrNull(b, j);
      out(i, j) = row ? product(i, *row) : 0.0;
    }
  }
}

}  // namespace

void convertMat(HSpMat& src, ResizeMatrix& dst) {
  const int h = src.height();
  const int w = src.width();
  dst.grow(h, w);
  dst.zero();
  if (!dst.data) return;
  for (int i = 0; i < h; ++i) {
    const SpVec* const row = src.rows[i];
    for (int k = 0; row && k < row->numEntries; ++k) {
      // after SpVec::compact the width of a row excludes its last index
      if (row->indices[k] >= 0 && row->indices[k] < w) dst.e(i, row->indices[k]) = row->values[k];
    }
  }
}

void multT(HSpMat& a, HSpMat& b, FullMatrix& out) {
  fillByRows(b, out, [&a](int i, SpVec& row) {
    SpVec* const left = rowOrNull(a, i);
    return left ? dot(*left, row) : 0.0;
  });
}

void multT(FullMatrix& a, HSpMat& b, FullMatrix& out) {
  fillByRows(b, out, [&a](int i, const SpVec& row) {
    double sum = 0.0;
    if (i >= a.numRows || !a.data) return sum;
    for (int k = 0; k < row.numEntries; ++k) {
      const int j = row.indices[k];
      if (j >= 0 && j < a.numColumns) sum += a.e(i, j) * row.values[k];
    }
    return sum;
  });
}
