#include "limber/linalg/DiagonalMatrix.h"

#include <algorithm>
#include <new>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/foundation/detail/Sharing.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

namespace {

// Counts one more holder of an owned vector. False when there is no memory for the count.
bool hold(const DiagonalMatrix& m) { return !m.owns || share(m.diag); }

void release(const DiagonalMatrix& m) {
  if (m.owns && unshare(m.diag)) delete m.diag;
}

int sizeOf(const Vector* v) { return v ? v->count : 0; }

double slot(const Vector* v, int i) { return v && inStorage(*v, i) ? v->data[i] : 0.0; }

}  // namespace

DiagonalMatrix::DiagonalMatrix(Vector* diagonal) : diag(diagonal), owns(0) {}

DiagonalMatrix::DiagonalMatrix(int n) : diag(new (std::nothrow) Vector(n)), owns(1) {
  if (!diag) ReportSite{"WierdMatrices", __LINE__}.fatal(newFails);
}

DiagonalMatrix::DiagonalMatrix(const DiagonalMatrix& other)
    : SpMat(other), diag(other.diag), owns(other.owns) {
  if (!hold(other)) diag = nullptr;
}

DiagonalMatrix& DiagonalMatrix::operator=(const DiagonalMatrix& other) {
  if (this == &other) return *this;
  const bool held = hold(other);
  release(*this);
  diag = held ? other.diag : nullptr;
  owns = other.owns;
  return *this;
}

DiagonalMatrix::~DiagonalMatrix() { release(*this); }

int DiagonalMatrix::height() { return sizeOf(diag); }

int DiagonalMatrix::width() { return sizeOf(diag); }

double DiagonalMatrix::acc(int i, int j) {
  return i == j && i >= 0 && i < sizeOf(diag) ? diag->data[i] : 0.0;
}

void DiagonalMatrix::mult(const Vector* x, Vector* y) const {
  const int n = std::max(sizeOf(x), sizeOf(diag));
  for (int i = 0; i < n; ++i) y[i] = slot(diag, i) * slot(x, i);
}
