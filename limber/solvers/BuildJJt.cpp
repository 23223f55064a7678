#include "limber/solvers/BuildJJt.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/solvers/detail/JJtDiagonal.h"
#include "limber/solvers/detail/RowDots.h"

namespace {

/// `out` or a new matrix, of the given shape and all zeros. Without storage when that could not be had.
ResizeMatrix* shaped(ResizeMatrix* out, int rows, int columns) {
  if (out) {
    out->grow(rows, columns);
    if (out->data) out->zero();
    return out;
  }
  out = new (std::nothrow) ResizeMatrix(rows, columns);
  if (!out) FATAL_ERROR(limber::detail::newFails);
  return out;
}

/// A band of the stated width with its diagonal; rowOf(i, j) says in which row the dot of rows i < j goes.
template <class RowOf>
ResizeMatrix* buildBand(const HSpMat* J, int bandwidth, ResizeMatrix* out, const Vector* weights,
                        const Vector* damp, double shift, RowOf rowOf) {
  const int n = J->numRows;
  bandwidth = std::clamp(bandwidth, -1, INT_MAX - 1);
  out = shaped(out, n, bandwidth + 1);
  if (!out || !out->data || bandwidth < 0) return out;
  double* const band = out->data;
  const std::ptrdiff_t stride = bandwidth + 1;
  limber::detail::forEachRowDot(*J, bandwidth, weights, [=](int i, int j, double dot) {
    if (i == j) {
      band[i * stride + bandwidth] = limber::detail::jjtDiagonal(*J, i, weights, damp, shift, dot);
    } else {
      band[rowOf(i, j) * stride + (bandwidth - (j - i))] = dot;
    }
  });
  return out;
}

}  // namespace

ResizeMatrix* buildJJt(const HSpMat* J, ResizeMatrix* out, Vector* mass, Vector* damp, double shift) {
  const int n = J->numRows;
  out = shaped(out, n, n);
  if (!out || !out->data) return out;
  double* const full = out->data;
  limber::detail::forEachRowDot(*J, n - 1, mass, [=](std::ptrdiff_t i, std::ptrdiff_t j, double dot) {
    const double value =
        i == j ? limber::detail::jjtDiagonal(*J, static_cast<int>(i), mass, damp, shift, dot) : dot;
    full[i * n + j] = value;
    full[j * n + i] = value;
  });
  return out;
}

ResizeMatrix* buildJJtBanded(const HSpMat* J, int bandwidth, ResizeMatrix* out, Vector* mass, Vector* damp,
                             double shift) {
  // Row i + 1 whatever the distance: deliberate.
  return buildBand(J, bandwidth, out, mass, damp, shift, [](int i, int) { return i + 1; });
}

ResizeMatrix* buildJJtBand(const HSpMat* J, int bandwidth, ResizeMatrix* out, Vector* weights, Vector* damp,
                           double shift) {
  return buildBand(J, bandwidth, out, weights, damp, shift, [](int, int j) { return j; });
}
