#include "limber/linalg/Qr.h"

#include <algorithm>
#include <climits>

#include "limber/foundation/Output.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/BlasMemory.h"
#include "limber/linalg/detail/LapackCalls.h"
#include "limber/linalg/detail/LapackLayout.h"

using namespace limber::detail;

namespace {

bool isEmpty(const LapackMatrix& a) { return a.m == 0 || a.n == 0; }

// Q^T C for the row-major `rows` x `columns` array: LAPACK sees C^T and computes C^T Q, so SIDE is R and
// TRANS is N.
int applyQTransposed(const FullMatrix* QR, const Vector* tau, double* c, int rows, int columns) {
  const LapackMatrix qr = asLapack(QR);
  if (isEmpty(qr) || columns == 0) return 0;
  const int height = qr.n;
  const int reflectors = std::min(qr.m, qr.n);
  if (!tau || tau->count < reflectors) return -8;
  if (!c || rows < height) return -9;
  // LWORK: the rest of the shared workspace after the copied reflectors, or DORMQR's optimal size if larger.
  const long long copied = static_cast<long long>(height) * reflectors;
  const int length = static_cast<int>(
      std::min<long long>(std::max(lapackWorkspaceLength - copied, 64LL * columns + 65 * 64), INT_MAX));
  double* const work = lapackWorkspace(copied + length);
  if (!work) return -11;
  // The reflectors are columns of the row-major matrix. LAPACK gets a transposed copy, so that QR does not
  // change.
  double* const vectors = work + length;
  for (int i = 0; i < height; ++i) {
    for (int j = 0; j < reflectors; ++j) {
      vectors[static_cast<long long>(j) * height + i] = qr.data[static_cast<long long>(i) * qr.ld + j];
    }
  }
  int info = 0;
  dormqr_("R", "N", &columns, &height, &reflectors, vectors, &height, tau->data, c, &columns, work, &length,
          &info, 1, 1);
  return info;
}

}  // namespace

int qrFactor(FullMatrix* A, Vector* tau) {
  const int height = A ? A->numRows : 0;
  const int width = A ? A->numColumns : 0;
  stdoutPrintf("Enter factor %d %d\n", height, width);
  if (!tau) return -5;
  tau->grow(std::max(0, std::min(height, width)));
  if (isEmpty(asLapack(A))) return 0;
  if (tau->count < std::min(height, width)) return -5;
  const int length = std::max(lapackWorkspaceLength, width);
  double* const work = lapackWorkspace(length);
  if (!work) return -6;
  A->transposeInPlace();
  const LapackMatrix a = asLapack(A);
  if (isEmpty(a)) return -3;
  int info = 0;
  dgeqrf_(&a.m, &a.n, a.data, &a.ld, tau->data, work, &length, &info);
  A->transposeInPlace();
  return info;
}

int qtransTimes(FullMatrix* QR, Vector* tau, Vector* b) {
  return applyQTransposed(QR, tau, b ? b->data : nullptr, b ? b->count : 0, 1);
}

int qtransTimes(FullMatrix* QR, Vector* tau, FullMatrix* B) {
  const LapackMatrix b = asLapack(B);
  return applyQTransposed(QR, tau, b.data, b.n, B ? B->numColumns : 1);
}

int qObtain(FullMatrix* QR, Vector* tau) {
  const int height = QR ? QR->numRows : 0;
  const int width = QR ? QR->numColumns : 0;
  stdoutPrintf("Enter qObtain %d %d\n", height, width);
  if (isEmpty(asLapack(QR))) return 0;
  const int columns = std::min(height, width);
  if (!tau || tau->count < columns) return -6;
  const int length = std::max(lapackWorkspaceLength, columns);
  double* const work = lapackWorkspace(length);
  if (!work) return -7;
  QR->transposeInPlace();
  const LapackMatrix q = asLapack(QR);
  if (isEmpty(q)) return -4;
  int info = 0;
  dorgqr_(&q.m, &columns, &columns, q.data, &q.ld, tau->data, work, &length, &info);
  QR->transposeInPlace();
  return info;
}

void solveUTri(FullMatrix* R, Vector* b) {
  if (!b) return;
  const LapackMatrix r = asLapack(R);
  const int order = std::min({r.m, r.n, b->count});
  if (order <= 0 || !ensureBlasMemory()) return;
  const int one = 1;
  const double alpha = 1.0;
  dtrsm_("L", "L", "T", "N", &order, &one, &alpha, r.data, &r.ld, b->data, &order, 1, 1, 1, 1);
}

void solveUTri(FullMatrix* R, FullMatrix* B, int order) {
  const LapackMatrix r = asLapack(R);
  const LapackMatrix b = asLapack(B);
  const int common = std::min({r.m, r.n, b.n});
  if (order <= 0 || order > common) order = common;
  if (order == 0 || b.m == 0 || !ensureBlasMemory()) return;
  const double alpha = 1.0;
  dtrsm_("R", "L", "N", "N", &b.m, &order, &alpha, r.data, &r.ld, b.data, &b.ld, 1, 1, 1, 1);
}
