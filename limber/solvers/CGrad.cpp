#include "limber/solvers/CGrad.h"

#include <algorithm>

#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/linalg/Vector.h"
#include "limber/solvers/CGTuning.h"
#include "limber/solvers/CGradI.h"
#include "limber/solvers/detail/SizeWarning.h"
#include "limber/solvers/detail/SolveMatrix.h"
#include "limber/solvers/detail/WorkVectors.h"

using namespace limber::detail;

namespace {

// This family shares no work vectors and no operator variables with the newer one. The functions below get
// the SolveMatrix of the solve as A.

struct Product : WorkVector {
  Product() : WorkVector(std::max(cgradMAXX, cgradMAXB)) {}
};

Vector& product() { return createdOnFirstUse<Product>(); }

const Vector* damping = nullptr;
const Vector* weights = nullptr;

// Least squares: r = A^T (b - A x), d^T M d = |A d|^2.

double residualAtA(SpMat* A, Vector* x, Vector* b, Vector* r) {
  Vector& t = product();
  A->mult(x, &t);
  cgNegativeDifference(&t, b);
  A->multT(&t, r);
  return r->magSq();
}

double curvatureAtA(SpMat* A, Vector* d) {
  Vector& t = product();
  A->mult(d, &t);
  return t.magSq();
}

// r = b - A x, d^T M d = d . A d.

double residualA(SpMat* A, Vector* x, Vector* b, Vector* r) {
  A->mult(x, r);
  cgNegativeDifference(r, b);
  return r->magSq();
}

double curvatureA(SpMat* A, Vector* d) {
  Vector& t = product();
  A->mult(d, &t);
  return dot(d, &t);
}

// r = b - (A V^-1 A^T + D) x, d^T M d = d^T A V^-1 A^T d + d^T D d. V and D are left out if there are no
// weights or no damping.

double residualJJt(SpMat* A, Vector* x, Vector* b, Vector* r) {
  Vector& t = product();
  A->multT(x, &t);
  if (weights) t /= *weights;
  A->mult(&t, r);
  if (damping) {
    const int n = std::min({r->count, x->count, damping->count});
    for (int i = 0; i < n; ++i) r->data[i] += damping->data[i] * x->data[i];
  }
  cgNegativeDifference(r, b);
  return r->magSq();
}

double curvatureJJt(SpMat* A, Vector* d) {
  Vector& t = product();
  A->multT(d, &t);
  double sum = 0.0;
  for (int i = 0; i < t.count; ++i) {
    const bool weighted = weights && i < weights->count;
    sum += weighted ? t[i] * t[i] / weights->data[i] : t[i] * t[i];
  }
  if (damping) {
    const int n = std::min(d->count, damping->count);
    for (int i = 0; i < n; ++i) sum += damping->data[i] * d->data[i] * d->data[i];
  }
  return sum;
}

// Contract: an empty x or b gives 0 without a message and without a call of the matrix.
void warnIfShort(const char* solver, const SolveMatrix& A, const Vector* x,
                 int (SolveMatrix::*unknowns)() const, const Vector* b) {
  if (x->count <= 0 || b->count <= 0) return;
  warnOfShortVectors("OldCGrad", solver, x->count, (A.*unknowns)(), b->count, A.height());
}

// Solves with the current weights and damping, and resets them afterwards.
int solveJJt(const char* solver, SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  SolveMatrix matrix(A);
  warnIfShort(solver, matrix, x, &SolveMatrix::height, b);
  const int iterations = cgradI(&matrix, x, b, rsqOut, residualJJt, curvatureJJt, 1);
  weights = nullptr;
  damping = nullptr;
  return iterations;
}

}  // namespace

int cgrad(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  SolveMatrix matrix(A);
  warnIfShort("cgrad", matrix, x, &SolveMatrix::width, b);
  return cgradI(&matrix, x, b, rsqOut, residualAtA, curvatureAtA, 1);
}

int cgradA(SpMat* A, Vector* x, Vector* b, double* rsqOut) {
  SolveMatrix matrix(A);
  warnIfShort("cgradA", matrix, x, &SolveMatrix::width, b);
  return cgradI(&matrix, x, b, rsqOut, residualA, curvatureA, 1);
}

int cgradAAt(SpMat* A, Vector* x, Vector* b, double* rsqOut) { return solveJJt("cgradAAt", A, x, b, rsqOut); }

int cgradJJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* dampV) {
  damping = dampV;
  return solveJJt("cgradJJt", A, x, b, rsqOut);
}

int cgradJVJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* mass, Vector* dampV) {
  weights = mass;
  damping = dampV;
  return solveJJt("cgradJVJt", A, x, b, rsqOut);
}
