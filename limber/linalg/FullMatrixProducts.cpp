#include <algorithm>
#include <cstdint>

#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/MatrixMultiply.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/DenseStorage.h"

using namespace limber::detail;

namespace {

bool sameSize(const FullMatrix& a, const FullMatrix& b) {
  return a.numRows == b.numRows && a.numColumns == b.numColumns;
}

// Calls f(k, a, b) for each pair of elements of two matrices of the same size, which have place k in the
// storage. f may change a.
template <class F>
void elementwise(const FullMatrix& a, const FullMatrix& b, F f) {
  if (runsOnStorage(a) && runsOnStorage(b)) {
    const std::int64_t n = denseCount(a);
    for (std::int64_t k = 0; k < n; ++k) f(k, a.data[k], b.data[k]);
    return;
  }
  std::int64_t k = 0;
  for (int i = 0; i < a.numRows; ++i) {
    for (int j = 0; j < a.numColumns; ++j) {
      const double value = b(i, j);  // read first: both may be the shared spare element
      f(k++, a(i, j), value);
    }
  }
}

constexpr auto plus = [](double a, double b) { return a + b; };
constexpr auto minus = [](double a, double b) { return a - b; };

// An operator fills a temporary (kind 2) and returns a copy of it, which takes over the storage and has kind
// 0. A temporary that failed (kind 1) is copied, and its elements are zeros.
FullMatrix handedOver(const FullMatrix& temporary) { return FullMatrix(temporary); }

// out(i, j) = f(a(i, j), b(i, j)); matrices of different sizes give `out` the kind 1.
template <class F>
FullMatrix combined(const FullMatrix& a, const FullMatrix& b, FullMatrix& out, F f) {
  if (!sameSize(a, b)) {
    out.kind = 1;
  } else if (double* const results = out.data) {
    elementwise(a, b, [=](std::int64_t k, double x, double y) { results[k] = f(x, y); });
  }
  return handedOver(out);
}

// a(i, j) = f(a(i, j), b(i, j)); matrices of different sizes give a the kind 1.
template <class F>
void combineInPlace(FullMatrix& a, const FullMatrix& b, F f) {
  if (sameSize(a, b)) {
    elementwise(a, b, [f](std::int64_t, double& x, double y) { x = f(x, y); });
  } else {
    a.kind = 1;
  }
}

// How many of the first n elements lie in v's storage. The size of v does not matter.
int within(const Vector& v, int n) { return std::max(0, std::min(n, v.capacity)); }

}  // namespace

FullMatrix FullMatrix::transpose() const {
  FullMatrix result(numColumns, numRows, 2);
  const int h = result.data && data ? numRows : 0;
  for (int i = 0; i < h; ++i) {
    for (int j = 0; j < numColumns; ++j) result.e(j, i) = e(i, j);
  }
  return handedOver(result);
}

void FullMatrix::transposeInPlace() {
  const std::int64_t n = denseCount(*this);
  double* const fresh = newDense(n, true);
  if (n > 0 && !fresh) {
    delete[] data;
    makeEmpty(*this);
    return;
  }
  if (fresh) {
    for (int i = 0; i < numRows; ++i) {
      for (int j = 0; j < numColumns; ++j) fresh[static_cast<std::int64_t>(j) * numRows + i] = e(i, j);
    }
    delete[] data;
    setDenseStorage(*this, fresh, n);
  }
  std::swap(numRows, numColumns);
}

FullMatrix FullMatrix::inverse() const {
  // Not by copy construction: that would take over the storage of a temporary.
  FullMatrix result(numRows, numColumns, 2);
  if (result.data && data) std::copy_n(data, denseCount(*this), result.data);
  result.invert();
  return handedOver(result);
}

FullMatrix FullMatrix::operator*(const FullMatrix& other) const {
  FullMatrix result(numRows, other.numColumns, 2);
  if (other.numRows == numColumns) {
    if (result.data) matrixMultiply(this, &other, &result);
  } else {
    result.kind = 1;
  }
  return handedOver(result);
}

FullMatrix FullMatrix::operator+(const FullMatrix& other) const {
  FullMatrix result(numRows, other.numColumns, 2);
  return combined(*this, other, result, plus);
}

FullMatrix FullMatrix::operator-(const FullMatrix& other) const {
  FullMatrix result(numRows, other.numColumns, 2);
  return combined(*this, other, result, minus);
}

void FullMatrix::operator*=(const FullMatrix& other) {
  if (other.numRows != numColumns) {
    kind = 1;
    return;
  }
  FullMatrix result(numRows, other.numColumns, 0);
  if (result.data) matrixMultiply(this, &other, &result);
  delete[] data;
  kind = result.kind;
  numRows = result.numRows;
  numColumns = result.numColumns;
  setDenseStorage(*this, result.data, denseCount(result));
  result.data = nullptr;
}

void FullMatrix::operator+=(const FullMatrix& other) { combineInPlace(*this, other, plus); }

void FullMatrix::operator-=(const FullMatrix& other) { combineInPlace(*this, other, minus); }

// Contract: compared with < and >, so that a NaN equals anything.
int FullMatrix::operator==(const FullMatrix& other) const {
  if (!sameSize(*this, other)) return 0;
  int equal = 1;
  elementwise(*this, other, [&equal](std::int64_t, double a, double b) {
    if (a < b || a > b) equal = 0;
  });
  return equal;
}

void FullMatrix::mult(const Vector* x, Vector* y) const {
  const int h = within(*y, numRows);
  const int w = within(*x, numColumns);
  if (!runsOnStorage(*this)) {
    for (int i = 0; i < h; ++i) {
      double sum = 0.0;
      for (int j = 0; j < w; ++j) sum += (*this)(i, j) * x->data[j];
      y->data[i] = sum;
    }
    return;
  }
  // Eight rows side by side: their eight sums do not wait for each other.
  constexpr int side = 8;
  int i = 0;
  for (; i + side <= h; i += side) {
    const double* row[side];
    double sum[side] = {};
    for (int k = 0; k < side; ++k) row[k] = (*this)[i + k];
    for (int j = 0; j < w; ++j) {
      const double xj = x->data[j];
      for (int k = 0; k < side; ++k) sum[k] += row[k][j] * xj;
    }
    for (int k = 0; k < side; ++k) y->data[i + k] = sum[k];
  }
  for (; i < h; ++i) {
    const double* const row = (*this)[i];
    double sum = 0.0;
    for (int j = 0; j < w; ++j) sum += row[j] * x->data[j];
    y->data[i] = sum;
  }
}

void FullMatrix::multT(const Vector* x, Vector* y) const {
  const int h = within(*x, numRows);
  const int w = within(*y, numColumns);
  if (!runsOnStorage(*this)) {
    for (int j = 0; j < w; ++j) {
      double sum = 0.0;
      for (int i = 0; i < h; ++i) sum += (*this)(i, j) * x->data[i];
      y->data[j] = sum;
    }
    return;
  }
  // Reads the rows in memory order. Each y_j still gets its terms in ascending i.
  std::fill_n(y->data, w, 0.0);
  double* __restrict out = y->data;
  for (int i = 0; i < h; ++i) {
    const double* __restrict row = (*this)[i];
    const double xi = x->data[i];
    for (int j = 0; j < w; ++j) out[j] += row[j] * xi;
  }
}
