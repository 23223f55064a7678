#include "limber/linalg/ResizeMatrix.h"

#include <cstdint>

#include "limber/linalg/detail/DenseStorage.h"

using namespace limber::detail;

// The constructors of the base cannot set `allocated`, so each constructor here does.

ResizeMatrix::ResizeMatrix(int n) : FullMatrix(n), allocated(data ? n : 0) {}

ResizeMatrix::ResizeMatrix(int r, int c) : FullMatrix(r, c), allocated(0) {
  setDenseStorage(*this, data, denseCount(*this));
}

ResizeMatrix::ResizeMatrix(const ResizeMatrix& other) : FullMatrix(other), allocated(0) {
  // If the base took over the storage of a temporary, it may be larger than the shape.
  const bool tookOver = other.kind == 2;
  setDenseStorage(*this, data, tookOver ? other.allocated : denseCount(*this));
  if (tookOver) const_cast<ResizeMatrix&>(other).allocated = 0;
}

ResizeMatrix::ResizeMatrix(const FullMatrix& other) : FullMatrix(other), allocated(0) {
  setDenseStorage(*this, data, denseCount(*this));
}

ResizeMatrix& ResizeMatrix::operator=(const ResizeMatrix& other) {
  FullMatrix::operator=(other);
  return *this;
}

ResizeMatrix& ResizeMatrix::operator=(const FullMatrix& other) {
  FullMatrix::operator=(other);
  return *this;
}

ResizeMatrix::~ResizeMatrix() = default;

void ResizeMatrix::grow(int r, int c) {
  const std::int64_t n = static_cast<std::int64_t>(r) * c;
  if (n > allocated || (n > 0 && !data)) {
    delete[] data;
    setDenseStorage(*this, newDense(n, false), n);
    if (!data) {
      makeEmpty(*this);
      return;
    }
  }
  numRows = r;
  numColumns = c;
  kind = n < 1 ? 1 : 0;
}
