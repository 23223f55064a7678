#include "limber/geometry/detail/WideInverse.h"

// Not on Windows, where g++ does not align the stack for wide vectors.
#if defined(__x86_64__) && !defined(_WIN32)

// g++ 12's own header trips over these where its functions are inlined.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

#include <cstdint>

// The whole matrix in two registers, rows 0 and 1 in `a`, rows 2 and 3 in `b`, and nothing in memory. What
// costs is the wait for the place of the next pivot, so the search carries it along: the keys compared are
// the upper halves of the magnitudes with the place, 4 row + column, in the lowest four bits, and their
// maximum stands in every lane, ready to permute by. Two keys that agree in all other bits may be equal
// magnitudes: these rare matrices are left to the other ways, as are NaN, infinities and zero pivots.
//
// Rows stay where they are; the one permutation at the end does what all interchanges do.

namespace limber::detail {

namespace {

#define LIMBER_512 "avx512f,avx512dq,avx512vl"
#define LIMBER_WIDER __attribute__((target(LIMBER_512), always_inline)) inline

struct State {
  __m512d a, b;
  __m512i open;  // the magnitude bits of a key where row and column are open, 0 elsewhere
  unsigned rowOfColumn, columnOfRow;  // four bits each
  unsigned rowSum, columnSum;         // of the pivots so far
};

LIMBER_WIDER __m512i places() {
  return _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}
LIMBER_WIDER __m512i placesA() { return _mm512_setr_epi64(0, 1, 2, 3, 4, 5, 6, 7); }
LIMBER_WIDER __m512i placesB() { return _mm512_setr_epi64(8, 9, 10, 11, 12, 13, 14, 15); }

/// The place of the next pivot in the lowest bits of every lane of `place`, which is all that permutations by
/// it read.
LIMBER_WIDER bool findPivot(const State& s, __m512i& place) {
  const __m512i upper = _mm512_setr_epi32(1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
  const __m512i values = _mm512_permutex2var_epi32(_mm512_castpd_si512(s.a), upper, _mm512_castpd_si512(s.b));
  const __m512i keys = _mm512_ternarylogic_epi32(values, s.open, places(), 0xea);  // (values & open) | places
  __m512i best = _mm512_max_epi32(keys, _mm512_shuffle_i32x4(keys, keys, 0x4e));
  best = _mm512_max_epi32(best, _mm512_shuffle_i32x4(best, best, 0xb1));
  best = _mm512_max_epi32(best, _mm512_shuffle_epi32(best, _MM_PERM_BADC));
  best = _mm512_max_epi32(best, _mm512_shuffle_epi32(best, _MM_PERM_CDAB));

  const unsigned same =
      _mm512_testn_epi32_mask(_mm512_xor_si512(keys, best), _mm512_set1_epi32(magnitudeBits));
  const auto key = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm512_castsi512_si128(best)));
  place = best;
  return __builtin_expect((same & (same - 1)) == 0 && isPivotKey(key), 1);
}

template <int Step>
LIMBER_WIDER bool eliminate(State& s) {
  __m512i place;
  unsigned row = 6 - s.rowSum, column = 6 - s.columnSum;
  if constexpr (Step < 3) {
    if (!findPivot(s, place)) return false;
    const auto key = static_cast<unsigned>(_mm_cvtsi128_si32(_mm512_castsi512_si128(place)));
    row = key >> 2 & 3, column = key & 3;
  } else {  // the one that is left
    place = _mm512_set1_epi64(4 * row + column);
  }
  const __m128d pivot = _mm512_castpd512_pd128(_mm512_permutex2var_pd(s.a, place, s.b));
  if (Step == 3 && _mm_cvtsd_f64(pivot) == 0.0) return false;
  const __m512d reciprocal = _mm512_broadcastsd_pd(_mm_div_sd(_mm_set_sd(1.0), pivot));
  s.rowSum += row, s.columnSum += column;
  s.rowOfColumn |= row << (4 * column);
  s.columnOfRow |= column << (4 * row);

  const __m512i columnBits = _mm512_set1_epi64(3), rowBits = _mm512_set1_epi64(12);
  const __m512i differA = _mm512_xor_si512(place, placesA()), differB = _mm512_xor_si512(place, placesB());
  const __mmask8 inColumn = _mm512_testn_epi64_mask(differA, columnBits);
  const __mmask8 otherRowA = _mm512_test_epi64_mask(differA, rowBits);
  const __mmask8 otherRowB = _mm512_test_epi64_mask(differB, rowBits);

  const __m512i ofRow =
      _mm512_ternarylogic_epi64(place, columnBits, _mm512_setr_epi64(0, 1, 2, 3, 0, 1, 2, 3),
                                0xb8);  // columnBits ? third : place
  const __m512i ofColumn =
      _mm512_or_si512(_mm512_and_si512(place, columnBits), _mm512_setr_epi64(0, 0, 0, 0, 4, 4, 4, 4));
  const __m512d pivotRow = _mm512_permutex2var_pd(s.a, ofRow, s.b);
  const __m512d scaled =
      _mm512_mul_pd(_mm512_mask_mov_pd(pivotRow, inColumn, _mm512_set1_pd(1.0)), reciprocal);
  const __m512d multiplesA = _mm512_permutexvar_pd(ofColumn, s.a);
  const __m512d multiplesB = _mm512_permutexvar_pd(ofColumn, s.b);
  const __m512d zero = _mm512_setzero_pd();
  s.a = _mm512_mask_sub_pd(scaled, otherRowA, _mm512_mask_mov_pd(s.a, inColumn, zero),
                           _mm512_mul_pd(scaled, multiplesA));
  s.b = _mm512_mask_sub_pd(scaled, otherRowB, _mm512_mask_mov_pd(s.b, inColumn, zero),
                           _mm512_mul_pd(scaled, multiplesB));
  if constexpr (Step < 3) {
    const __m512i differ = _mm512_xor_si512(place, places());
    const __mmask16 otherRow = _mm512_test_epi32_mask(differ, _mm512_set1_epi32(12));
    const __mmask16 otherPlace = _mm512_mask_test_epi32_mask(otherRow, differ, _mm512_set1_epi32(3));
    s.open = _mm512_maskz_mov_epi32(otherPlace, s.open);
  }
  return true;
}

/// Two rows. They may just have been written in halves, which one wide load would have to wait for.
LIMBER_WIDER __m512d loadRows(const double* m) {
  const __m256d first = _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(m)), _mm_loadu_pd(m + 2), 1);
  const __m256d second =
      _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(m + 4)), _mm_loadu_pd(m + 6), 1);
  return _mm512_insertf64x4(_mm512_castpd256_pd512(first), second, 1);
}

}  // namespace

__attribute__((target(LIMBER_512))) bool invertAvx512(double* m) {
  State s;
  s.a = loadRows(m), s.b = loadRows(m + 8);
  s.open = _mm512_set1_epi32(magnitudeBits);
  s.rowOfColumn = s.columnOfRow = s.rowSum = s.columnSum = 0;
  if (!eliminate<0>(s) || !eliminate<1>(s) || !eliminate<2>(s) || !eliminate<3>(s)) return false;
  // A NaN stays in its row to the end.
  if (_mm512_cmp_pd_mask(s.a, s.b, _CMP_UNORD_Q)) return false;

  // Element (i, j) of the inverse stands in the pivot row of column i, in the pivot column of row j.
  const __m512i columns = _mm512_and_si512(
      _mm512_srlv_epi64(_mm512_set1_epi64(s.columnOfRow), _mm512_setr_epi64(0, 4, 8, 12, 0, 4, 8, 12)),
      _mm512_set1_epi64(3));
  const __m512i rows = _mm512_set1_epi64(4LL * s.rowOfColumn), rowBits = _mm512_set1_epi64(12);
  const __m512i rowsA =
      _mm512_and_si512(_mm512_srlv_epi64(rows, _mm512_setr_epi64(0, 0, 0, 0, 4, 4, 4, 4)), rowBits);
  const __m512i rowsB =
      _mm512_and_si512(_mm512_srlv_epi64(rows, _mm512_setr_epi64(8, 8, 8, 8, 12, 12, 12, 12)), rowBits);
  _mm512_storeu_pd(m, _mm512_permutex2var_pd(s.a, _mm512_or_si512(rowsA, columns), s.b));
  _mm512_storeu_pd(m + 8, _mm512_permutex2var_pd(s.a, _mm512_or_si512(rowsB, columns), s.b));
  return true;
}

bool machineHasAvx512() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
         __builtin_cpu_supports("avx512vl");
}

}  // namespace limber::detail

#else

bool limber::detail::machineHasAvx512() { return false; }
bool limber::detail::invertAvx512(double*) { return false; }

#endif
