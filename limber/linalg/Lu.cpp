#include "limber/linalg/Lu.h"

#include <algorithm>
#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/LapackCalls.h"
#include "limber/linalg/detail/LapackLayout.h"

using namespace limber::detail;

namespace {

// DGETRS on columns of length `ldb`, of which the first order(A) elements are used.
int solveColumns(const FullMatrix* A, const long* ipiv, double* columns, int count, int ldb) {
  const LapackMatrix a = asLapack(A);
  const int order = a.n;
  if (a.m < order) return -4;
  if (order == 0) return 0;
  if (!columns || ldb < order) return -7;
  const int* const pivots = pivotsToLapack(ipiv, order, order);
  if (!pivots) return -6;
  int info = 0;
  dgetrs_("T", &order, &count, a.data, &order, pivots, columns, &ldb, &info, 1);
  return info;
}

}  // namespace

int luFactor(FullMatrix* A, long* ipiv) {
  const LapackMatrix a = asLapack(A);
  const int count = std::min(a.m, a.n);
  if (count == 0) return 0;
  int* const pivots = ipiv ? lapackIntegers(count) : nullptr;
  if (!pivots) return -5;
  int info = 0;
  dgetrf_(&a.m, &a.n, a.data, &a.ld, pivots, &info);
  std::copy(pivots, pivots + count, ipiv);
  return info;
}

int luInvert(FullMatrix* A, long* ipiv) {
  const LapackMatrix a = asLapack(A);
  const int order = std::min(a.m, a.n);
  if (order == 0) return 0;
  const int* const pivots = pivotsToLapack(ipiv, order, order);
  if (!pivots) return -4;
  const int length = std::max(lapackWorkspaceLength, order);
  double* const work = lapackWorkspace(length);
  if (!work) return -5;
  int info = 0;
  dgetri_(&order, a.data, &order, pivots, work, &length, &info);
  return info;
}

int luInvert(FullMatrix* A) {
  const int width = A ? std::max(A->numColumns, 0) : 0;
  long* const ipiv = new (std::nothrow) long[static_cast<std::size_t>(width)];
  if (!ipiv) {
    FATAL_ERROR(newFails);
    return -4;
  }
  luFactor(A, ipiv);
  const int info = luInvert(A, ipiv);
  delete[] ipiv;
  return info;
}

int luSolve(FullMatrix* A, long* ipiv, Vector* b) {
  return solveColumns(A, ipiv, b ? b->data : nullptr, 1, b ? b->count : 0);
}

int luSolve(FullMatrix* A, long* ipiv, FullMatrix* B) {
  const int rows = B ? B->numRows : 0;
  const int columns = B ? B->numColumns : 0;
  if (asLapack(A).n > rows) return asLapack(A).m < asLapack(A).n ? -4 : -7;
  if (rows == 0 || columns == 0) return 0;
  B->transposeInPlace();
  if (!B->data) return -7;
  const int info = solveColumns(A, ipiv, B->data, columns, rows);
  B->transposeInPlace();
  return info;
}
