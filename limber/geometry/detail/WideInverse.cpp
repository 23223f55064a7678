#include "limber/geometry/detail/WideInverse.h"

// Not on Windows, where g++ does not align the stack for wide vectors.
#if defined(__x86_64__) && !defined(_WIN32)

#include <immintrin.h>

#include <cmath>
#include <cstdint>

#include "limber/foundation/detail/WideVectors.h"

// The pattern of pivots is what no processor predicts, so nothing here branches on it, and as little as
// possible waits for it: the reciprocal of the pivot is under way while its place is still sought, rows stay
// in registers for the search and are picked from memory by computed addresses.
//
// Unlike the plain elimination, which moves the pivot row to the row of its column, step s moves it to slot
// s: the open rows are then slots s ... 3, known at compile time. Rows are only carried about, so the numbers
// are the same; where several magnitudes are the largest, the plain order of the rows is replayed to find the
// last.

namespace limber::detail {

namespace {

/// Which original row each slot holds, and the pivot column of each slot that has been a pivot.
struct Slots {
  int row[4];
  int column[4];
};

struct alignas(32) LaneMasks {
  std::int64_t lane[4][4];
};
const LaneMasks masks = {{{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}, {0, 0, 0, -1}}};

/// slotAfterSwap[s][r][i]: where slot i is found before slots s and r change places, for i > s.
const unsigned char slotAfterSwap[3][4][4] = {{{0, 1, 2, 3}, {0, 0, 2, 3}, {0, 1, 0, 3}, {0, 1, 2, 0}},
                                              {{0, 1, 2, 3}, {0, 1, 2, 3}, {0, 1, 1, 3}, {0, 1, 2, 1}},
                                              {{0, 1, 2, 3}, {0, 1, 2, 3}, {0, 1, 2, 3}, {0, 1, 2, 2}}};

/// `places` has bit 4 slot + column set for each of several equal candidates: the last of them in the order
/// of the plain elimination, by row and then by column.
__attribute__((noinline, cold)) int lastPlace(int places, int step, const Slots& slots) {
  int rowAt[4] = {0, 1, 2, 3};
  for (int s = 0; s < step; s++) {
    int from = 0;
    while (rowAt[from] != slots.row[s]) from++;
    rowAt[from] = rowAt[slots.column[s]];
    rowAt[slots.column[s]] = slots.row[s];
  }
  for (int i = 3; i >= 0; i--) {
    for (int slot = step; slot < 4; slot++) {
      const int inRow = places >> (4 * slot) & 15;
      if (slots.row[slot] == rowAt[i] && inRow)
        return 4 * slot + 31 - __builtin_clz(static_cast<unsigned>(inRow));
    }
  }
  return 4 * step;
}

#define LIMBER_WIDE_PART __attribute__((target("avx2"), always_inline)) inline

/// The caller's matrix may just have been written in halves, which one wide load would have to wait for.
template <int Step>
LIMBER_WIDE_PART __m256d load(const double* row) {
  if constexpr (Step > 0) return _mm256_load_pd(row);
  return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(row)), _mm_loadu_pd(row + 2), 1);
}

/// Step `Step` of the elimination: reads the rows (in memory, and in r0 ... r3), writes them to `to` and r0
/// ... r3. `open` has all but the sign set in the lanes of the columns not used.
template <int Step>
LIMBER_WIDE_PART bool eliminate(const double* from, double* to, __m256d& r0, __m256d& r1, __m256d& r2,
                                __m256d& r3, __m256d& open, Slots& slots) {
  int slot = 3, column = 0;
  double reciprocal = 0.0;  // of the pivot's magnitude
  if constexpr (Step < 3) {
    const __m256d g0 = _mm256_and_pd(r0, open), g1 = _mm256_and_pd(r1, open);
    const __m256d g2 = _mm256_and_pd(r2, open), g3 = _mm256_and_pd(r3, open);
    __m256d best = _mm256_max_pd(g2, g3);
    if constexpr (Step < 2) best = _mm256_max_pd(best, Step == 0 ? _mm256_max_pd(g0, g1) : g1);
    best = _mm256_max_pd(best, _mm256_permute2f128_pd(best, best, 1));
    best = _mm256_max_pd(best, _mm256_permute_pd(best, 5));
    if (!(_mm256_cvtsd_f64(best) > 0.0)) return false;
    // A NaN would leave the lanes unequal, and closed columns hold zeros: one value, above 0, for all.
    best = _mm256_broadcastsd_pd(_mm256_castpd256_pd128(best));
    reciprocal = 1.0 / _mm256_cvtsd_f64(best);
    int places = _mm256_movemask_pd(_mm256_cmp_pd(g2, best, _CMP_EQ_OQ)) << 8 |
                 _mm256_movemask_pd(_mm256_cmp_pd(g3, best, _CMP_EQ_OQ)) << 12;
    if constexpr (Step < 2) places |= _mm256_movemask_pd(_mm256_cmp_pd(g1, best, _CMP_EQ_OQ)) << 4;
    if constexpr (Step < 1) places |= _mm256_movemask_pd(_mm256_cmp_pd(g0, best, _CMP_EQ_OQ));
    int place = __builtin_ctz(static_cast<unsigned>(places));
    if (__builtin_expect(places & (places - 1), 0)) place = lastPlace(places, Step, slots);
    slot = place >> 2, column = place & 3;
    const int row = slots.row[slot];
    slots.row[slot] = slots.row[Step];
    slots.row[Step] = row;
  } else {
    column = 6 - slots.column[0] - slots.column[1] - slots.column[2];
    const double magnitude = std::fabs(from[12 + column]);
    if (!(magnitude > 0.0)) return false;
    reciprocal = 1.0 / magnitude;
  }
  slots.column[Step] = column;

  const double* const pivotRow = from + 4 * slot;
  const __m256d lane = _mm256_load_pd(reinterpret_cast<const double*>(masks.lane[column]));
  const __m256d sign = _mm256_and_pd(_mm256_set1_pd(-0.0), _mm256_broadcast_sd(pivotRow + column));
  const __m256d factor = _mm256_or_pd(_mm256_set1_pd(reciprocal), sign);
  const __m256d pivot =
      _mm256_mul_pd(_mm256_blendv_pd(load<Step>(pivotRow), _mm256_set1_pd(1.0), lane), factor);
  const auto reduced = [&](int i) __attribute__((target("avx2"), always_inline)) {
    if constexpr (Step < 3) i = i > Step ? slotAfterSwap[Step][slot][i] : i;
    const double* const row = from + 4 * i;
    return _mm256_sub_pd(_mm256_andnot_pd(lane, load<Step>(row)),
                         _mm256_mul_pd(pivot, _mm256_broadcast_sd(row + column)));
  };
  const __m256d n0 = Step == 0 ? pivot : reduced(0), n1 = Step == 1 ? pivot : reduced(1);
  const __m256d n2 = Step == 2 ? pivot : reduced(2), n3 = Step == 3 ? pivot : reduced(3);
  r0 = n0, r1 = n1, r2 = n2, r3 = n3;
  if constexpr (Step < 3) {
    _mm256_store_pd(to, n0);
    _mm256_store_pd(to + 4, n1);
    _mm256_store_pd(to + 8, n2);
    _mm256_store_pd(to + 12, n3);
    open = _mm256_andnot_pd(lane, open);
  }
  return true;
}

}  // namespace

LIMBER_WIDE bool invertAvx2(double* m) {
  alignas(32) double rows[16];
  __m256d r0 = load<0>(m), r1 = load<0>(m + 4), r2 = load<0>(m + 8), r3 = load<0>(m + 12);
  __m256d open = _mm256_castsi256_pd(_mm256_set1_epi64x(0x7fffffffffffffff));
  Slots slots = {{0, 1, 2, 3}, {0, 0, 0, 0}};
  if (!eliminate<0>(m, rows, r0, r1, r2, r3, open, slots) ||
      !eliminate<1>(rows, rows, r0, r1, r2, r3, open, slots) ||
      !eliminate<2>(rows, rows, r0, r1, r2, r3, open, slots) ||
      !eliminate<3>(rows, rows, r0, r1, r2, r3, open, slots))
    return false;
  // A NaN stays in its row to the end, so it is looked for only here.
  const __m256d ordered = _mm256_and_pd(_mm256_cmp_pd(r0, r1, _CMP_ORD_Q), _mm256_cmp_pd(r2, r3, _CMP_ORD_Q));
  if (_mm256_movemask_pd(ordered) != 15) return false;

  // Slot s holds row column[s] of the inverse, whose element row[t] stands in lane column[t]. The permutation
  // takes the two halves 2c, 2c + 1 of each lane c.
  std::uint64_t halves = 0;
  for (int s = 0; s < 4; s++)
    halves |= static_cast<std::uint64_t>(0x100 + 0x202 * slots.column[s]) << (16 * slots.row[s]);
  const __m256i order = _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(static_cast<long long>(halves)));
  const __m256d out[4] = {r0, r1, r2, r3};
  for (int s = 0; s < 4; s++)
    _mm256_storeu_pd(m + 4 * slots.column[s],
                     _mm256_castsi256_pd(_mm256_permutevar8x32_epi32(_mm256_castpd_si256(out[s]), order)));
  return true;
}

namespace {

// False before this file's initialisers have run, which only means the other way to the same bits.
const bool wide = machineHasWideVectors(), wider = machineHasAvx512();

}  // namespace

bool invertWide(double* m) { return (wider && invertAvx512(m)) || (wide && invertAvx2(m)); }

}  // namespace limber::detail

#else

bool limber::detail::invertAvx2(double*) { return false; }
bool limber::detail::invertWide(double*) { return false; }

#endif
