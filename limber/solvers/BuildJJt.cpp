#include "limber/solvers/BuildJJt.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/linalg/HSpMat.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/SpVec.h"
#include "limber/solvers/detail/JJtDiagonal.h"
#include "limber/solvers/detail/RowDots.h"

using namespace limber::detail;

namespace {

// `out` or a new matrix, with the given shape and all zeros. It has no storage if there was no memory.
ResizeMatrix* shaped(ResizeMatrix* out, int rows, int columns) {
  if (out) {
    out->grow(rows, columns);
    if (out->data) out->zero();
    return out;
  }
  out = new (std::nothrow) ResizeMatrix(rows, columns);
  if (!out) FATAL_ERROR(newFails);
  return out;
}

// A band with this many off-diagonals and the diagonal. rowOf(i, j) is the row where the dot product of rows
// i < j is stored.
template <class RowOf>
ResizeMatrix* buildBand(const HSpMat* J, int bandwidth, ResizeMatrix* out, const Vector* weights,
                        const Vector* damp, double shift, RowOf rowOf) {
  const int n = J->numRows;
  bandwidth = std::clamp(bandwidth, -1, INT_MAX - 1);
  out = shaped(out, n, bandwidth + 1);
  if (!out || !out->data || bandwidth < 0) return out;
  double* const band = out->data;
  const std::ptrdiff_t stride = bandwidth + 1;
  forEachRowDot(*J, bandwidth, weights, [=](int i, int j, double dot) {
    if (i == j) {
      band[i * stride + bandwidth] = jjtDiagonal(*J, i, weights, damp, shift, dot);
    } else {
      band[rowOf(i, j) * stride + (bandwidth - (j - i))] = dot;
    }
  });
  return out;
}

}  // namespace

ResizeMatrix* buildJJt(const HSpMat* J, ResizeMatrix* out, Vector* weights, Vector* damp, double shift) {
  const int n = J->numRows;
  out = shaped(out, n, n);
  if (!out || !out->data) return out;
  double* const full = out->data;
  forEachRowDot(*J, n - 1, weights, [=](std::ptrdiff_t i, std::ptrdiff_t j, double dot) {
    const double value = i == j ? jjtDiagonal(*J, static_cast<int>(i), weights, damp, shift, dot) : dot;
    full[i * n + j] = value;
    full[j * n + i] = value;
  });
  return out;
}

ResizeMatrix* buildJJtBanded(const HSpMat* J, int bandwidth, ResizeMatrix* out, Vector* weights, Vector* damp,
                             double shift) {
  // Contract: it is row i + 1 at every distance.
  return buildBand(J, bandwidth, out, weights, damp, shift, [](int i, int) { return i + 1; });
}

ResizeMatrix* buildJJtBand(const HSpMat* J, int bandwidth, ResizeMatrix* out, Vector* weights, Vector* damp,
                           double shift) {
  return buildBand(J, bandwidth, out, weights, damp, shift, [](int, int j) { return j; });
}

int halfBandwidth(const HSpMat* J) {
  if (!J) return 0;
  std::size_t entries = 0;
  for (int i = 0; i < J->numRows; ++i)
    entries += J->rows[i] ? static_cast<std::size_t>(J->rows[i]->numEntries) : 0;
  // One key for each entry: the index in the upper bits, the row in the lower ones.
  const std::unique_ptr<std::uint64_t[]> keys(new (std::nothrow) std::uint64_t[entries]);
  if (!keys) {
    FATAL_ERROR(newFails);
    return std::max(J->numRows - 1, 0);
  }
  std::uint64_t* next = keys.get();
  for (int i = 0; i < J->numRows; ++i) {
    if (!J->rows[i]) continue;
    for (const auto [index, value] : J->rows[i]->entries())
      *next++ = std::uint64_t{static_cast<std::uint32_t>(index)} << 32 | static_cast<std::uint32_t>(i);
  }
  std::sort(keys.get(), next);
  std::uint64_t widest = 0, first = 0;
  for (const std::uint64_t* key = keys.get(); key != next; ++key) {
    if (key == keys.get() || *key >> 32 != first >> 32) first = *key;
    widest = std::max(widest, *key - first);
  }
  return static_cast<int>(widest);
}
