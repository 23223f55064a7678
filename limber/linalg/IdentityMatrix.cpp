#include "limber/linalg/IdentityMatrix.h"

#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/RowStorage.h"

using namespace limber::detail;

IdentityMatrix::IdentityMatrix(int size) : n(size), s(1.0) {}

IdentityMatrix::IdentityMatrix(const IdentityMatrix& other) = default;

IdentityMatrix& IdentityMatrix::operator=(const IdentityMatrix& other) = default;

int IdentityMatrix::height() { return n; }

int IdentityMatrix::width() { return n; }

double IdentityMatrix::acc(int i, int j) { return i == j ? s : 0.0; }

void IdentityMatrix::mult(const Vector* x, Vector* y) const {
  y->grow(x->count);
  clearBehind(*y);
  for (int i = 0; i < y->count; ++i) y->data[i] = s * x->data[i];
}
