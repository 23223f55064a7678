#include "limber/solvers/detail/RowWalk.h"

#include <cstddef>
#include <cstring>

#include "limber/foundation/detail/WideVectors.h"

namespace limber::detail {

namespace {

constexpr int lanes = RowWalk::lanes;

// Four places side by side, at any address that a double may have.
typedef double Four __attribute__((vector_size(32), aligned(8)));

// The eight sums of each of R rows, side by side.
template <int R>
__attribute__((always_inline)) inline void walkSome(const RowWalk& walk, double (*sums)[lanes]) {
  Four low[R] = {};
  Four high[R] = {};
  for (int e = walk.begin; e < walk.end; ++e) {
    const int index = walk.indices[e];
    const double* const place = walk.panel + static_cast<std::ptrdiff_t>(index - walk.lowest) * lanes;
    double x[R];
    for (int r = 0; r < R; ++r) x[r] = walk.values[r][e];
    if (walk.weights) {
      const double w = static_cast<unsigned>(index) < walk.known ? walk.weights[index] : 0.0;
      for (int r = 0; r < R; ++r) x[r] = w * x[r];
    }
    Four placeLow, placeHigh;
    std::memcpy(&placeLow, place, sizeof placeLow);
    std::memcpy(&placeHigh, place + 4, sizeof placeHigh);
    for (int r = 0; r < R; ++r) {
      low[r] += x[r] * placeLow;
      high[r] += x[r] * placeHigh;
    }
  }
  for (int r = 0; r < R; ++r) {
    std::memcpy(sums[r], &low[r], sizeof low[r]);
    std::memcpy(sums[r] + 4, &high[r], sizeof high[r]);
  }
}
static_assert(lanes == 8);

template <int R>
void plain(const RowWalk& walk, double (*sums)[lanes]) {
  walkSome<R>(walk, sums);
}

template <int R>
LIMBER_WIDE void wide(const RowWalk& walk, double (*sums)[lanes]) {
  walkSome<R>(walk, sums);
}

using Form = void (*)(const RowWalk&, double (*)[lanes]);
constexpr Form plainForms[RowWalk::maxRows] = {plain<1>, plain<2>, plain<3>, plain<4>};
constexpr Form wideForms[RowWalk::maxRows] = {wide<1>, wide<2>, wide<3>, wide<4>};

}  // namespace

void walkRows(const RowWalk& walk, int count, double (*sums)[lanes]) {
  (useWideVectors() ? wideForms : plainForms)[count - 1](walk, sums);
}

}  // namespace limber::detail
