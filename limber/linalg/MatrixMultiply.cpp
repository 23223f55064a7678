#include "limber/linalg/MatrixMultiply.h"

#include <algorithm>
#include <cstddef>
#include <functional>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"
#include "limber/linalg/detail/BlasMemory.h"
#include "limber/linalg/detail/LapackCalls.h"
#include "limber/linalg/detail/LapackLayout.h"

using namespace limber::detail;

namespace {

// True if the storage of the two overlaps.
bool overlap(const LapackMatrix& a, const LapackMatrix& b) {
  const std::less<const double*> before;
  const auto end = [](const LapackMatrix& x) { return x.data + static_cast<std::ptrdiff_t>(x.m) * x.n; };
  return before(a.data, end(b)) && before(b.data, end(a));
}

}  // namespace

void matrixMultiply(const FullMatrix* A, const FullMatrix* B, FullMatrix* C) {
  if (!A || !B || !C) return;
  if (A->numColumns != B->numRows) ReportSite{"STMLapack", __LINE__}.error("ACols != BRows for lapack mult");
  if (A->numRows != C->numRows) ReportSite{"STMLapack", __LINE__}.error("ARows != CRows for lapack mult");
  if (B->numColumns != C->numColumns)
    ReportSite{"STMLapack", __LINE__}.error("BCols != CCols for lapack mult");
  // Computes C^T = B^T A^T, because LAPACK sees the transpose of each matrix.
  const LapackMatrix a = asLapack(A);
  const LapackMatrix b = asLapack(B);
  const LapackMatrix c = asLapack(C);
  const int m = std::min(B->numColumns, c.m);
  const int n = std::min(A->numRows, c.n);
  const int k = std::min(b.n, a.m);
  if (m <= 0 || n <= 0) return;
  if (k == 0) {  // empty sums; operands without storage have no leading dimension to pass
    for (int j = 0; j < n; ++j) std::fill_n(c.data + static_cast<std::ptrdiff_t>(j) * c.ld, m, 0.0);
    return;
  }
  if (!ensureBlasMemory()) return;
  const bool apart = !overlap(a, c) && !overlap(b, c);
  double* const product = apart ? c.data : lapackWorkspace(static_cast<long long>(m) * n);
  if (!product) return;
  const int ld = apart ? c.ld : m;
  const double one = 1.0;
  const double zero = 0.0;
  dgemm_("N", "N", &m, &n, &k, &one, b.data, &b.ld, a.data, &a.ld, &zero, product, &ld, 1, 1);
  if (apart) return;
  for (int j = 0; j < n; ++j) {
    const double* const from = product + static_cast<std::ptrdiff_t>(j) * ld;
    std::copy(from, from + m, c.data + static_cast<std::ptrdiff_t>(j) * c.ld);
  }
}
