#include "limber/geometry/detail/WideInverse.h"

// Not on Windows, where g++ does not align the stack for wide vectors.
#if defined(__x86_64__) && !defined(_WIN32)

#include <immintrin.h>

#include <cmath>
#include <cstdint>

#include "limber/foundation/detail/WideVectors.h"

// Gauss-Jordan elimination with full pivoting, with each row in one register. Processors cannot predict the
// places of the pivots, so there are no branches on them: the rows stay in registers for the search and are
// loaded from memory by computed addresses.
//
// The search compares keys: the upper half of each magnitude, with the place (4 slot + column) in the lowest
// four bits. Several keys may agree in the other 28 bits. The most common matrices have such ties at every
// step: the identity, translations, rotations about an axis. The candidates are then put in the order in
// which the plain elimination visits them, and the last one is the pivot if all their magnitudes are equal in
// all 64 bits. In the rare case that they are not, they are compared one by one.
//
// The plain elimination moves each pivot row to the row of its column. Here step s moves it to slot s, so
// that the open rows are slots s ... 3, known at compile time. The numbers do not depend on the place of a
// row.

namespace limber::detail {

namespace {

// Which original row each slot holds, and the pivot column of each slot that has been a pivot: four bits
// each, so that they stay in registers.
struct Slots {
  unsigned rows = 0x3210, columns = 0;
  // For the permutation at the end: the 16 bits of row r hold the two halves 2c and 2c + 1 of the lane of
  // its pivot column c.
  std::uint64_t halves = 0;

  int row(int slot) const { return static_cast<int>(rows >> (4 * slot) & 15); }
  int column(int slot) const { return static_cast<int>(columns >> (4 * slot) & 15); }
  void swap(int slot, int other) {
    const unsigned differ = (rows >> (4 * slot) ^ rows >> (4 * other)) & 15;
    rows ^= differ << (4 * slot) ^ differ << (4 * other);
  }
};

struct alignas(32) LaneMasks {
  std::int64_t lane[4][4];
};
const LaneMasks masks = {{{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}, {0, 0, 0, -1}}};

// The row in which the plain elimination has each slot after `steps` steps, four bits per slot.
inline unsigned plainRows(int steps, const Slots& slots) {
  unsigned rowAt = 0x3210, placeOf = 0x3210;  // inverse to each other
  for (int s = 0; s < steps; ++s) {
    const int row = slots.row(s), to = slots.column(s);
    const int from = static_cast<int>(placeOf >> (4 * row) & 15),
              other = static_cast<int>(rowAt >> (4 * to) & 15);
    const auto movedRow = static_cast<unsigned>(row ^ other), movedPlace = static_cast<unsigned>(from ^ to);
    rowAt ^= movedRow << (4 * from) ^ movedRow << (4 * to);
    placeOf ^= movedPlace << (4 * row) ^ movedPlace << (4 * other);
  }
  unsigned result = 0;
  for (int slot = 0; slot < 4; ++slot) result |= (placeOf >> (4 * slots.row(slot)) & 15) << (4 * slot);
  return result;
}

// The place of the largest magnitude in the open slots and columns; among equals the last in the order of
// the plain elimination, by row and then by column.
__attribute__((noinline, cold)) int lastOfLargest(const double* rows, int step, Slots slots) {
  bool used[4] = {};
  for (int s = 0; s < step; ++s) used[slots.column(s)] = true;
  const unsigned plain = plainRows(step, slots);
  double largest = 0.0;
  int place = 4 * step;
  for (unsigned row = 0; row < 4; ++row) {
    int slot = step;
    while (slot < 4 && (plain >> (4 * slot) & 15) != row) ++slot;
    for (int column = 0; slot < 4 && column < 4; ++column) {
      const double magnitude = std::fabs(rows[4 * slot + column]);
      if (used[column] || !(magnitude >= largest)) continue;
      largest = magnitude;
      place = 4 * slot + column;
    }
  }
  return place;
}

#define LIMBER_WIDE_PART __attribute__((target("avx2"), always_inline)) inline

// Loads two halves: if the caller has just written the matrix in halves, one wide load would have to wait
// for both.
template <int Step>
LIMBER_WIDE_PART __m256d load(const double* row) {
  if constexpr (Step > 0) return _mm256_load_pd(row);
  return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(row)), _mm_loadu_pd(row + 2), 1);
}

// The upper halves of two rows: columns 0 and 1 of both, then 2 and 3 of both.
LIMBER_WIDE_PART __m256i upperHalves(__m256d first, __m256d second) {
  return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castpd_ps(first), _mm256_castpd_ps(second), 0xdd));
}

// The places of two slots, in the order of upperHalves().
LIMBER_WIDE_PART __m256i placesAt(int slot) {
  return _mm256_add_epi32(_mm256_set1_epi32(4 * slot), _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7));
}
// All ones in the lanes whose key agrees with `best` except in the bits of the place.
LIMBER_WIDE_PART __m256i tiedLanes(__m256i keys, __m256i best) {
  const __m256i differ = _mm256_and_si256(_mm256_xor_si256(keys, best), _mm256_set1_epi32(magnitudeBits));
  return _mm256_cmpeq_epi32(differ, _mm256_setzero_si256());
}
LIMBER_WIDE_PART unsigned bitsOf(__m256i lanes) {
  return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(lanes)));
}

// The largest of eight numbers, in every lane.
LIMBER_WIDE_PART __m128i largestLane(__m256i keys) {
  __m128i half = _mm_max_epi32(_mm256_castsi256_si128(keys), _mm256_extracti128_si256(keys, 1));
  half = _mm_max_epi32(half, _mm_shuffle_epi32(half, 0x4e));
  return _mm_max_epi32(half, _mm_shuffle_epi32(half, 0xb1));
}

// Keys that sort the places of `slot` and the next one in the order of the plain elimination: plain row and
// column, above the place. `plainBytes` has 64 times the plain row of slot s in byte s.
LIMBER_WIDE_PART __m256i plainOrder(__m256i plainBytes, int slot) {
  const __m256i byteOfLane =
      _mm256_add_epi32(_mm256_set1_epi32(slot), _mm256_setr_epi32(0, 0, 1, 1, 0, 0, 1, 1));
  const __m256i onlyLowest = _mm256_set1_epi32(static_cast<int>(0x80808000u));
  const __m256i rows = _mm256_shuffle_epi8(plainBytes, _mm256_or_si256(byteOfLane, onlyLowest));
  const __m256i columns = _mm256_setr_epi32(0x00, 0x10, 0x00, 0x10, 0x20, 0x30, 0x20, 0x30);
  return _mm256_or_si256(_mm256_or_si256(rows, columns), placesAt(slot));
}

// If the magnitudes of the tied places are equal: the last of them in the order of the plain elimination.
// Otherwise the last of the largest.
template <int Step>
LIMBER_WIDE_PART int lastOfTied(const double* rows, __m256d r0, __m256d r1, __m256d r2, __m256d r3,
                                __m256i tied01, __m256i tied23, const Slots& slots) {
  const unsigned plain = plainRows(Step, slots);
  const unsigned bytes =
      (plain & 15) << 6 | (plain >> 4 & 15) << 14 | (plain >> 8 & 15) << 22 | (plain >> 12) << 30;
  const __m256i plainBytes = _mm256_set1_epi32(static_cast<int>(bytes));
  __m256i order = _mm256_and_si256(tied23, plainOrder(plainBytes, 2));
  if constexpr (Step < 2)
    order = _mm256_max_epi32(order, _mm256_and_si256(tied01, plainOrder(plainBytes, 0)));
  const int place = _mm_cvtsi128_si32(largestLane(order)) & placeBits;

  const __m256d sign = _mm256_set1_pd(-0.0),
                magnitude = _mm256_andnot_pd(sign, _mm256_broadcast_sd(rows + place));
  const auto equal = [&](__m256d row) __attribute__((target("avx2"), always_inline)) {
    return static_cast<unsigned>(
        _mm256_movemask_pd(_mm256_cmp_pd(_mm256_andnot_pd(sign, row), magnitude, _CMP_EQ_OQ)));
  };
  unsigned openColumns = 15;
  for (int s = 0; s < Step; ++s) openColumns &= ~(1u << slots.column(s));
  unsigned equals = equal(r3) << 12 | equal(r2) << 8, tied = bitsOf(tied23);
  if constexpr (Step < 2) equals |= equal(r1) << 4, tied |= bitsOf(tied01) << 8;
  if constexpr (Step == 0) equals |= equal(r0);
  // Equal magnitudes are tied, so it is enough to count.
  const bool allEqual = __builtin_popcount(equals & openColumns * 0x1111) == __builtin_popcount(tied);
  return __builtin_expect(allEqual, 1) ? place : lastOfLargest(rows, Step, slots);
}

// The place of the pivot of step `Step` among the slots from `Step` on, -1 if the pivot is zero, infinite or
// a NaN.
template <int Step>
LIMBER_WIDE_PART int findPivot(const double* rows, __m256d r0, __m256d r1, __m256d r2, __m256d r3,
                               __m256i open, const Slots& slots) {
  const __m256i keys23 = _mm256_or_si256(_mm256_and_si256(upperHalves(r2, r3), open), placesAt(2));
  __m256i keys01 = keys23, best = keys23;
  if constexpr (Step < 2) {
    const __m256i slot1 = _mm256_setr_epi32(0, 0, -1, -1, 0, 0, -1, -1);
    const __m256i openHere = Step == 0 ? open : _mm256_and_si256(open, slot1);
    keys01 = _mm256_or_si256(_mm256_and_si256(upperHalves(r0, r1), openHere), placesAt(0));
    best = _mm256_max_epi32(best, keys01);
  }
  const __m128i half = largestLane(best);
  const auto key = static_cast<std::uint32_t>(_mm_cvtsi128_si32(half));
  if (__builtin_expect(!isPivotKey(key), 0)) return -1;

  best = _mm256_broadcastd_epi32(half);
  const __m256i tied23 = tiedLanes(keys23, best), tied01 = tiedLanes(keys01, best);
  unsigned tied = bitsOf(tied23);
  if constexpr (Step < 2) tied |= bitsOf(tied01) << 8;
  if (__builtin_expect(tied & (tied - 1), 0))
    return lastOfTied<Step>(rows, r0, r1, r2, r3, tied01, tied23, slots);
  return static_cast<int>(key & placeBits);
}

// Step `Step` of the elimination: reads the rows (in memory, and in r0 ... r3), writes them to `to` and r0
// ... r3. `open` has the magnitude bits set in the lanes of the unused columns.
template <int Step>
LIMBER_WIDE_PART bool eliminate(const double* from, double* to, __m256d& r0, __m256d& r1, __m256d& r2,
                                __m256d& r3, __m256i& open, Slots& slots) {
  int slot = 3, column = 0;
  if constexpr (Step < 3) {
    const int place = findPivot<Step>(from, r0, r1, r2, r3, open, slots);
    if (place < 0) return false;
    slot = place >> 2, column = place & 3;
    slots.swap(slot, Step);
  } else {
    column = 6 - slots.column(0) - slots.column(1) - slots.column(2);
    if (from[12 + column] == 0.0) return false;
  }
  slots.columns |= static_cast<unsigned>(column) << (4 * Step);
  slots.halves |= static_cast<std::uint64_t>(0x100 + 0x202 * column) << (16 * slots.row(Step));

  const double* const pivotRow = from + 4 * slot;
  const __m256d lane = _mm256_load_pd(reinterpret_cast<const double*>(masks.lane[column]));
  const __m256d reciprocal = _mm256_set1_pd(1.0 / pivotRow[column]);
  const __m256d pivot =
      _mm256_mul_pd(_mm256_blendv_pd(load<Step>(pivotRow), _mm256_set1_pd(1.0), lane), reciprocal);
  const auto reduced = [&](int i) __attribute__((target("avx2"), always_inline)) {
    if (i > Step && i == slot) i = Step;  // the two slots are exchanged
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
    open = _mm256_andnot_si256(upperHalves(lane, lane), open);
  }
  return true;
}

LIMBER_WIDE bool invertAvx2(double* m) {
  alignas(32) double rows[16];
  __m256d r0 = load<0>(m), r1 = load<0>(m + 4), r2 = load<0>(m + 8), r3 = load<0>(m + 12);
  __m256i open = _mm256_set1_epi32(magnitudeBits);
  Slots slots;
  if (!eliminate<0>(m, rows, r0, r1, r2, r3, open, slots) ||
      !eliminate<1>(rows, rows, r0, r1, r2, r3, open, slots) ||
      !eliminate<2>(rows, rows, r0, r1, r2, r3, open, slots) ||
      !eliminate<3>(rows, rows, r0, r1, r2, r3, open, slots))
    return false;
  // A NaN stays in its row to the end, so checking for NaNs here is enough.
  const __m256d ordered = _mm256_and_pd(_mm256_cmp_pd(r0, r1, _CMP_ORD_Q), _mm256_cmp_pd(r2, r3, _CMP_ORD_Q));
  if (_mm256_movemask_pd(ordered) != 15) return false;

  // Slot s holds row column(s) of the inverse. Its element row(t) is in lane column(t).
  const __m256i order = _mm256_cvtepu8_epi32(_mm_cvtsi64_si128(static_cast<long long>(slots.halves)));
  const __m256d out[4] = {r0, r1, r2, r3};
  for (int s = 0; s < 4; ++s)
    _mm256_storeu_pd(m + 4 * slots.column(s),
                     _mm256_castsi256_pd(_mm256_permutevar8x32_epi32(_mm256_castpd_si256(out[s]), order)));
  return true;
}

}  // namespace

bool invertWide(double* m) { return useWideVectors() && invertAvx2(m); }

}  // namespace limber::detail

#else

bool limber::detail::invertWide(double*) { return false; }

#endif
