#include "limber/linalg/MatrixMultiply.h"

#include <algorithm>

#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/FullMatrix.h"

using limber::detail::ReportSite;

void matrixMultiply(const FullMatrix* A, const FullMatrix* B, FullMatrix* C) {
  if (A->columns() != B->rows()) ReportSite{"STMLapack", __LINE__}.error("ACols != BRows for lapack mult");
  if (A->rows() != C->rows()) ReportSite{"STMLapack", __LINE__}.error("ARows != CRows for lapack mult");
  if (B->columns() != C->columns()) ReportSite{"STMLapack", __LINE__}.error("BCols != CCols for lapack mult");
  if (!A->data || !B->data || !C->data) return;
  const int h = std::min(A->rows(), C->rows());
  const int w = std::min(B->columns(), C->columns());
  const int n = std::min(A->columns(), B->rows());
  FullMatrix result(h, w);
  if (!result.data) return;
  for (int i = 0; i < h; ++i) {
    for (int k = 0; k < n; ++k) {
      for (int j = 0; j < w; ++j) result.e(i, j) += A->e(i, k) * B->e(k, j);
    }
  }
  for (int i = 0; i < h; ++i) std::copy_n(result[i], w, (*C)[i]);
}
