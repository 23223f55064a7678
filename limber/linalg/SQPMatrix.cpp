#include "limber/linalg/SQPMatrix.h"

#include <algorithm>
#include <cmath>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/SpVec.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/ClassOf.h"
#include "limber/linalg/detail/CompactRows.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

namespace {

// The vector that each product with one block is written to, shared by all matrices.
struct BlockProduct {
  Vector v{2000};
};

// A view of a slice of another vector's elements, cut off where its storage ends.
class Slice {
 public:
  Slice(const Vector& whole, int start, int n) : header_(0) {
    const int room = std::max(0, whole.capacity - start);
    header_.data = whole.data + (room > 0 ? start : 0);
    header_.count = header_.capacity = std::max(0, std::min(n, room));
  }
  ~Slice() {
    header_.data = header_.localData;
    header_.count = 0;
    header_.capacity = 4;
  }
  Slice(const Slice&) = delete;
  Slice& operator=(const Slice&) = delete;

  const Vector* vector() const { return &header_; }

 private:
  Vector header_;
};

// result = n zeros, which a product then overwrites. Dense matrices do not set the size of their result, so
// the values of an earlier product must not remain in it.
void prepare(Vector& result, int n) {
  result.grow(n);
  result = 0.0;
}

// y[start + i] += result[i] over the first n.
void addTo(Vector& y, int start, int n, const Vector& result) {
  const int common = std::min({n, result.count, y.count - start});
  for (int i = 0; i < common; ++i) y.data[start + i] += result.data[i];
}

// y[start + i] += s x[start + i] over the n places of one diagonal block.
void addDiagonal(Vector& y, int start, int n, double s, const Vector& x) {
  const int end = std::min({start + n, y.count, x.capacity});
  for (int i = start; i < end && s != 0.0; ++i) y.data[i] += s * x.data[i];
}

}  // namespace

SQPMatrix::SQPMatrix(SpMat* hessian, SpMat* jacobian)
    : H(hessian), J(jacobian), hessianShift(0.0), lowerDiagonal(0.0) {}

SQPMatrix::SQPMatrix(const SQPMatrix& other) = default;

SQPMatrix& SQPMatrix::operator=(const SQPMatrix& other) = default;

int SQPMatrix::height() { return H->height() + J->height(); }

int SQPMatrix::width() { return height(); }

double SQPMatrix::acc(int i, int j) {
  const int n = H->height();
  if (i < n && j < n) return H->acc(i, j) + (i == j ? hessianShift : 0.0);
  if (i >= n && j >= n) return i == j ? lowerDiagonal : 0.0;
  return i >= n ? J->acc(i - n, j) : J->acc(j - n, i);
}

void SQPMatrix::mult(const Vector* x, Vector* y) const {
  const int n = H->height();
  const int m = J->height();
  y->grow(n + m);
  *y = 0.0;
  clearBehind(*y);
  Vector& result = createdOnFirstUse<BlockProduct>().v;
  const Slice top(*x, 0, n);
  const Slice bottom(*x, n, m);

  prepare(result, n);
  H->mult(top.vector(), &result);
  addTo(*y, 0, n, result);
  addDiagonal(*y, 0, n, hessianShift, *x);

  prepare(result, m);
  J->mult(top.vector(), &result);
  addTo(*y, n, m, result);

  prepare(result, n);
  J->multT(bottom.vector(), &result);
  addTo(*y, 0, n, result);
  addDiagonal(*y, n, m, lowerDiagonal, *x);
}

void SQPMatrix::multT(const Vector* x, Vector* y) const { mult(x, y); }

SpMat* SQPMatrix::compact(double diagAdd, int, int b) { return compactElements(*this, diagAdd, b); }

namespace {

// Contract: the ranges start so that they always include 0, and elements of magnitude 0 count.
struct HessianStats {
  int entries = 0;
  double largest = 0.0, smallest = 0.0;
  double largestMagnitude = 0.0, smallestMagnitude = 1e19;
  double largestRow = 0.0, smallestRow = 1e19;

  explicit HessianStats(const SpMat& h) {
    const int height = h.height();
    const int width = h.width();
    for (int i = 0; i < height; ++i) {
      double square = 0.0;
      for (int j = 0; j < width; ++j) {
        const double value = h.acc(i, j);
        if (value != 0.0) ++entries;
        largest = std::max(largest, value);
        smallest = std::min(smallest, value);
        largestMagnitude = std::max(largestMagnitude, std::fabs(value));
        smallestMagnitude = std::min(smallestMagnitude, std::fabs(value));
        square += value * value;
      }
      const double norm = std::sqrt(square);
      largestRow = std::max(largestRow, norm);
      smallestRow = std::min(smallestRow, norm);
    }
  }
};

struct JacobianStats {
  int entries = 0;
  double largestRow = 0.0;

  explicit JacobianStats(const SpMat* j) {
    const HSpMat* const sparse = j && classOf(j) ? dynamic_cast<const HSpMat*>(j) : nullptr;
    for (int i = 0; sparse && i < sparse->numRows; ++i) {
      const SpVec* const row = sparse->rows[i];
      if (!row) continue;
      entries += row->numEntries;
      largestRow = std::max(largestRow, row->mag());
    }
  }
};

}  // namespace

void qpMatStats(SQPMatrix* Q) {
  const HessianStats h(*Q->H);
  const JacobianStats j(Q->J);
  const int height = Q->height();
  const int width = Q->width();
  const int entries = h.entries + 2 * j.entries;
  const double percent = 100.0 * entries / (static_cast<double>(height) * width);
  stdoutPrintf("   // QP Matrix size %d x %d. %d entries (%g%%)\n", height, width, entries, percent);
  stdoutPrintf("  //  Hessian (%d %d), %d entries. Range (%g->%g). Abs range=(%g %g)\n", Q->H->height(),
               Q->H->width(), h.entries, h.smallest, h.largest, h.smallestMagnitude, h.largestMagnitude);
  stdoutPrintf("  ||      row mag=(%g->%g)\n", h.largestRow, h.smallestRow);
  stdoutPrintf("  \\\\  Constraint Jacobian %d entries\n", j.entries);
  stdoutPrintf("   \\\\    max row mag=%g\n", j.largestRow);
}
