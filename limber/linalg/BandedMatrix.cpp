#include "limber/linalg/BandedMatrix.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <functional>
#include <new>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/foundation/detail/Sharing.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/BandRow.h"
#include "limber/linalg/detail/CompactRows.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

namespace {

double** newRowPointers(int n) {
  return new (std::nothrow) double*[static_cast<std::size_t>(std::max(n, 0))]();
}

// One row of zeros.
double* newRow(int width) {
  return new (std::nothrow) double[static_cast<std::size_t>(std::max(width, 0))]();
}

void releaseRow(double* row) {
  if (unshare(row)) delete[] row;
}

// All copies share the pointer array, and a row may be in several pointer arrays. The last holder of an array
// or a row releases it.
void release(const BandedMatrix& m) {
  if (!unshare(m.data)) return;
  for (int i = 0; m.data && i < m.maxRows; ++i) releaseRow(m.data[i]);
  delete[] m.data;
}

void makeEmpty(BandedMatrix& m) {
  m.maxRows = m.rows = m.maxWidth = m.bw = 0;
  m.data = nullptr;
}

// The number of rows in use that are allocated.
int usableRows(const BandedMatrix& m) { return m.data ? std::min(m.rows, m.maxRows) : 0; }

std::int64_t placeInRow(const BandedMatrix& m, int i, int j) { return std::int64_t{m.bw} - i + j; }

// The address of element (i, j), null outside the band or the storage.
double* place(const BandedMatrix& m, int i, int j) {
  const std::int64_t k = placeInRow(m, i, j);
  if (i < 0 || !m.data || i >= m.maxRows || k < 0 || k >= usableWidth(m)) return nullptr;
  return m.data[i] ? m.data[i] + k : nullptr;
}

double scratch;
std::int64_t farthestReported = 0;

}  // namespace

BandedMatrix::BandedMatrix(int rowCount, int width)
    : maxRows(std::max(rowCount, 0)),
      rows(rowCount),
      maxWidth(width),
      bw(width / 2),
      data(newRowPointers(rowCount)) {
  if (!data) {
    ReportSite{"WierdMatrices", 270}.error("Can't allocated banded matrix!");
    makeEmpty(*this);
    return;
  }
  for (int i = 0; i < maxRows; ++i) {
    data[i] = newRow(width);
    if (data[i]) continue;
    ReportSite{"WierdMatrices", 274}.error("Can't allocated banded matrix!");
    release(*this);
    makeEmpty(*this);
    return;
  }
}

BandedMatrix::BandedMatrix(const BandedMatrix& other) : SpMat(other) {
  makeEmpty(*this);
  *this = other;
}

BandedMatrix& BandedMatrix::operator=(const BandedMatrix& other) {
  if (data != other.data) {
    const bool shared = share(other.data);
    release(*this);
    if (!shared) {
      makeEmpty(*this);
      return *this;
    }
  }
  maxRows = other.maxRows;
  rows = other.rows;
  maxWidth = other.maxWidth;
  bw = other.bw;
  data = other.data;
  return *this;
}

BandedMatrix::~BandedMatrix() { release(*this); }

int BandedMatrix::height() { return rows; }

int BandedMatrix::width() { return rows; }

double BandedMatrix::acc(int i, int j) {
  const double* const stored = place(*this, i, j);
  return stored ? *stored : 0.0;
}

void BandedMatrix::mult(const Vector* x, Vector* y) const {
  y->grow(std::max(rows, 0));
  *y = 0.0;
  clearBehind(*y);
  const int h = std::min(usableRows(*this), y->count);
  for (int i = 0; i < h; ++i) {
    double sum = 0.0;
    forBandRow(*this, i, [&](int j, double value) {
      if (inStorage(*x, j)) sum += value * x->data[j];
    });
    y->data[i] = sum;
  }
}

void BandedMatrix::multT(const Vector* x, Vector* y) const {
  y->grow(std::max(rows, 0));
  *y = 0.0;
  clearBehind(*y);
  const int h = std::min({usableRows(*this), y->count, x->capacity});
  for (int i = 0; i < h; ++i) {
    const double xi = x->data[i];
    forBandRow(*this, i, [&](int j, double value) { y->data[j] += value * xi; });
  }
}

SpMat* BandedMatrix::compact(double diagAdd, int, int b) {
  const auto appendRow = [this, diagAdd](int i, SpVec& row) {
    // The diagonal is included even if the band does not contain it, because diagAdd is added there.
    const std::int64_t band = bw;
    const int start = static_cast<int>(std::clamp<std::int64_t>(i - band, 0, i));
    const int end = static_cast<int>(std::max<std::int64_t>(i + 1, std::min<std::int64_t>(i + band, rows)));
    for (int j = start; j < end; ++j) appendCompacted(row, i, j, BandedMatrix::acc(i, j), diagAdd);
  };
  return compactRows(rows, std::cref(appendRow), b);
}

void BandedMatrix::scalar(double s) {
  for (int i = 0; i < usableRows(*this); ++i) {
    for (int k = 0; data[i] && k < usableWidth(*this); ++k) data[i][k] *= s;
  }
}

void BandedMatrix::zero() {
  if (rows > maxRows) ReportSite{"WierdMatrices", 288}.error("Too many rows for Banded Matrix!");
  if (2 * std::int64_t{bw} > maxWidth)
    ReportSite{"WierdMatrices", 290}.error("Too wide a bandwidth for Banded Matrix!");
  for (int i = 0; i < usableRows(*this); ++i) {
    if (data[i]) std::fill_n(data[i], usableWidth(*this), 0.0);
  }
}

void BandedMatrix::printVals() {
  for (int i = 0; i < usableRows(*this); ++i) {
    for (int k = 0; data[i] && k < usableWidth(*this); ++k) stdoutPrintf("%g ", data[i][k]);
    stdoutPrintf("\n");
  }
}

double& BandedMatrix::e(int i, int j) {
  if (double* const stored = place(*this, i, j)) return *stored;
  const std::int64_t k = placeInRow(*this, i, j);
  const std::int64_t width = 2 * std::int64_t{bw};
  // Contract: nothing is reported for a place inside the declared band, even if it is not allocated.
  if (k >= width && k > farthestReported) {
    stdoutPrintf("(%lld of %lld max [%d %d in bw=%d]) ", static_cast<long long>(k),
                 static_cast<long long>(width), i, j, bw);
    farthestReported = k;
    ReportSite{"WierdMatrices", 314}.error("Out of bounds banded access (further problems not reported)");
  }
  return scratch;
}

void BandedMatrix::growbw(int newRows, int newBw) {
  if (newRows > maxRows) {
    const int more = newRows <= INT_MAX - 10 ? newRows + 10 : INT_MAX;
    stdoutPrintf("Expanding Banded Matrix from %d to %d rows!\n", maxRows, more);
    double** const longer = newRowPointers(more);
    bool made = longer != nullptr;
    // The new rows are allocated first, so that nothing has been moved if one fails.
    for (int i = maxRows; made && i < more; ++i) made = (longer[i] = newRow(maxWidth)) != nullptr;
    // Copies keep the old pointer array, and with it the rows; the last holder releases it.
    const bool copied = holders(data) > 1;
    for (int i = 0; made && i < maxRows; ++i) {
      made = !copied || share(data[i]);
      longer[i] = made ? data[i] : nullptr;
    }
    if (!made) {
      ReportSite{"WierdMatrices", longer ? 274 : 270}.error("Can't allocated banded matrix!");
      for (int i = 0; longer && i < more; ++i) releaseRow(longer[i]);
      delete[] longer;
      release(*this);
      makeEmpty(*this);
      return;
    }
    if (unshare(data)) delete[] data;
    data = longer;
    maxRows = more;
  }
  if (2 * std::int64_t{newBw} > maxWidth) {
    ReportSite{"WierdMatrices", 341}.error("Bad max bandwidth for banded matrix, can't expand!");
  }
  bw = newBw;
  rows = newRows;
}
