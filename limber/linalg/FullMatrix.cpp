#include "limber/linalg/FullMatrix.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/CompactRows.h"
#include "limber/linalg/detail/DenseStorage.h"

using namespace limber::detail;

namespace {

double spare;

std::int64_t product(int r, int c) { return static_cast<std::int64_t>(r) * c; }

double* copyOf(const FullMatrix& m) {
  const std::int64_t n = denseCount(m);
  double* const data = newDense(n, false);
  if (data) std::memcpy(data, m.data, (static_cast<std::size_t>(n) + 1) * sizeof(double));
  return data;
}

}  // namespace

FullMatrix::FullMatrix(int r, int c) : FullMatrix(r, c, 0) {}

FullMatrix::FullMatrix(int r, int c, int temporary)
    : kind(product(r, c) < 1 ? 1 : temporary),
      numRows(r),
      numColumns(c),
      data(newDense(product(r, c), true)) {
  if (!data && kind != 1) makeEmpty(*this);
}

FullMatrix::FullMatrix(int n) : kind(n < 1 ? 1 : 0), numRows(0), numColumns(0), data(newDense(n, false)) {
  if (data) {
    std::memset(data, 0, static_cast<std::size_t>(n));  // Contract: n bytes, not n doubles.
  } else {
    kind = 1;
  }
}

FullMatrix::FullMatrix(const FullMatrix& other)
    : SpMat(other), kind(other.kind), numRows(other.numRows), numColumns(other.numColumns), data(nullptr) {
  if (other.kind == 2) {
    data = other.data;
    const_cast<FullMatrix&>(other).data = nullptr;
    kind = 0;
  } else if (denseCount(other) > 0) {
    data = copyOf(other);
    if (!data) makeEmpty(*this);
  }
}

FullMatrix& FullMatrix::operator=(const FullMatrix& other) {
  const std::int64_t n = denseCount(other);
  const int r = other.numRows;
  const int c = other.numColumns;
  const int otherKind = other.kind;
  double* const fresh = copyOf(other);
  keepAlive(data);
  if (n > 0 && !fresh) {
    makeEmpty(*this);
    return *this;
  }
  numRows = r;
  numColumns = c;
  kind = otherKind;
  setDenseStorage(*this, fresh, n);
  return *this;
}

FullMatrix::~FullMatrix() { delete[] data; }

int FullMatrix::height() const { return numRows; }

int FullMatrix::width() const { return numColumns; }

double FullMatrix::acc(int i, int j) const {
  const std::int64_t place = product(i, numColumns) + j;
  if (place < 0 || !data) return 0.0;
  return place <= denseCount(*this) || place <= denseRoom(*this) ? data[place] : 0.0;
}

double& FullMatrix::operator()(int i, int j) const {
  if (i >= 0 && i < numRows && j >= 0 && j <= numColumns && kind != 1 && data) return e(i, j);
  std::fprintf(stderr, " FullMatrix::operator() : out of bounds access (%d %d) (%d %d)\n", i, j, numRows,
               numColumns);
  spare = 0.0;
  return spare;
}

void FullMatrix::column(int c, Vector* v) const {
  if (c < 0 || c >= numColumns) {
    ReportSite{"Vectors", __LINE__}.error("Bad column to full matrix");
    return;
  }
  v->grow(std::max(numRows, 0));
  const int n = data ? std::min(numRows, v->count) : 0;
  for (int i = 0; i < n; ++i) v->data[i] = e(i, c);
}

void FullMatrix::putRow(int r, Vector* v) {
  if (r < 0 || r >= numRows) ReportSite{"Vectors", __LINE__}.error("Bad row to full matrix");
  // The row may lie outside the storage, or after the last row of a matrix that used to be larger.
  const std::int64_t start = product(r, numColumns);
  const std::int64_t end = denseRoom(*this);
  const int n = std::min(numColumns, v->count);
  for (int j = 0; j < n; ++j) {
    if (start + j >= 0 && start + j < end) data[start + j] = v->data[j];
  }
}

void FullMatrix::zero() { std::fill_n(data, denseCount(*this), 0.0); }

void FullMatrix::identity() {
  zero();
  const int n = data ? std::min(numRows, numColumns) : 0;
  for (int i = 0; i < n; ++i) e(i, i) = 1.0;
}

void FullMatrix::scale(double s) {
  const std::int64_t n = denseCount(*this);
  for (std::int64_t k = 0; k < n; ++k) data[k] *= s;
}

void FullMatrix::scalar(double s) { scale(s); }

void FullMatrix::fixDiags(double add, double minimum) {
  const int n = data ? std::min(numRows, numColumns) : 0;
  for (int i = 0; i < n; ++i) {
    if (e(i, i) >= minimum) {
      e(i, i) += add;
      continue;
    }
    std::fill_n(data + product(i, numColumns), numColumns, 0.0);
    for (int k = 0; k < numRows; ++k) e(k, i) = 0.0;
    e(i, i) = 1.0;
  }
}

double FullMatrix::trace() const {
  const int n = data ? std::min(numRows, numColumns) : 0;
  double sum = 0.0;
  for (int i = 0; i < n; ++i) sum += e(i, i);
  return sum;
}

void FullMatrix::traceRange(double& lo, double& hi) const {
  const int n = data ? std::min(numRows, numColumns) : 0;
  lo = hi = n > 0 ? e(0, 0) : 0.0;
  for (int i = 1; i < n; ++i) {
    const double value = e(i, i);
    if (value > hi) hi = value;
    if (value < lo) lo = value;
  }
}

SpMat* FullMatrix::compact(double diagAdd, int, int) {
  HSpMat* const image = new (std::nothrow) HSpMat(0);
  if (!image) {
    ReportSite{"Vectors", __LINE__}.fatal(newFails);
    return nullptr;
  }
  const int h = data ? numRows : 0;
  for (int i = 0; i < h; ++i) {
    SpVec* const row = new (std::nothrow) SpVec;
    if (!row) {
      ReportSite{"Vectors", __LINE__}.fatal(newFails);
      break;
    }
    for (int j = 0; j < numColumns; ++j) appendCompacted(*row, i, j, e(i, j), diagAdd);
    image->add(row);
    if (image->numRows != i + 1) {
      delete row;
      break;
    }
  }
  return image;
}
