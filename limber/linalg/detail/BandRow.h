#pragma once

#include <algorithm>
#include <cstdint>

#include "limber/linalg/BandedMatrix.h"

namespace limber::detail {

/// The number of places of a row's band that are allocated. A half bandwidth may be any int, so places in a
/// row are computed in 64 bits.
inline int usableWidth(const BandedMatrix& m) {
  return static_cast<int>(std::clamp<std::int64_t>(2 * std::int64_t{m.bw}, 0, std::max(m.maxWidth, 0)));
}

/// f(j, value) for every stored place of row i inside the matrix, in ascending j. A row that was never
/// allocated has none.
template <class F>
void forBandRow(const BandedMatrix& m, int i, F f) {
  const double* const row = m.data && i < m.maxRows ? m.data[i] : nullptr;
  if (!row) return;
  const std::int64_t bw = m.bw;
  const std::int64_t end = std::min({i + bw, std::int64_t{m.rows}, i - bw + usableWidth(m)});
  for (std::int64_t j = std::max<std::int64_t>(0, i - bw); j < end; ++j)
    f(static_cast<int>(j), row[bw - i + j]);
}

}  // namespace limber::detail
