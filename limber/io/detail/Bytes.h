#pragma once

/// @file
/// Processes text in pieces of eight or sixteen bytes. In masks of eight bytes only the lowest marked byte is
/// reliable; higher marks may be false positives. An empty mask is exact.

#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the masks below count from the lowest byte");

namespace limber::detail {

inline constexpr std::uint64_t everyByte = UINT64_C(0x0101010101010101);
inline constexpr std::uint64_t highBits = UINT64_C(0x8080808080808080);

inline std::uint64_t load8(const char* from) {
  std::uint64_t bytes;
  std::memcpy(&bytes, from, sizeof bytes);
  return bytes;
}
inline void store8(char* to, std::uint64_t bytes) { std::memcpy(to, &bytes, sizeof bytes); }

/// Marks white bytes: those up to 32 and those from 128 on.
inline std::uint64_t whites(std::uint64_t bytes) { return ((bytes - 33 * everyByte) | bytes) & highBits; }

/// The number of bytes before the first one, in memory order, that `mask` marks; 8 if it marks none.
inline int before(std::uint64_t mask) { return mask ? __builtin_ctzll(mask) / 8 : 8; }

/// True if a byte ends a line: zero, or from 10 to 20.
inline bool endsLine(char c) { return c == 0 || static_cast<unsigned char>(c - 10) <= 10; }

#ifdef __SSE2__
inline __m128i load16(const char* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }
inline void store16(char* to, __m128i bytes) { _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes); }

/// Stores the first `n` (below 16) bytes of `bytes` and a zero at `to`: exactly n + 1 bytes change.
inline void storeTerminated(char* to, __m128i bytes, int n) {
  static constexpr char onesThenZeros[32] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
  const __m128i copied = load16(onesThenZeros + 16 - n), changed = load16(onesThenZeros + 15 - n);
  store16(to, _mm_or_si128(_mm_and_si128(copied, bytes), _mm_andnot_si128(changed, load16(to))));
}
#endif

/// Copies the bytes before the first one that ends a line, at most `size`, and returns their number. After
/// them at `to`, only the next byte may change.
inline int copyLine(const char* from, char* to, int size) {
  int n = 0;
#ifdef __SSE2__
  for (; n + 16 <= size; n += 16) {
    const __m128i bytes = load16(from + n), above = _mm_sub_epi8(bytes, _mm_set1_epi8(10));
    const __m128i ends = _mm_or_si128(_mm_cmpeq_epi8(_mm_min_epu8(above, _mm_set1_epi8(10)), above),
                                      _mm_cmpeq_epi8(bytes, _mm_setzero_si128()));
    if (const auto mask = static_cast<unsigned>(_mm_movemask_epi8(ends))) {
      const int rest = __builtin_ctz(mask);
      storeTerminated(to + n, bytes, rest);
      return n + rest;
    }
    store16(to + n, bytes);
  }
#endif
  for (; n < size && !endsLine(from[n]); ++n) to[n] = from[n];
  return n;
}

/// Copies the characters before the next white one, at most `size` (a multiple of 16), and a zero after them
/// if there are fewer. Later bytes of `to` keep their values. Returns how many were copied. `from` is read in
/// pieces of up to 16 bytes.
inline int copyWord(const char* from, char* to, int size) {
#ifdef __SSE2__
  for (int n = 0; n < size; n += 16) {
    const __m128i bytes = load16(from + n);
    if (const int white = _mm_movemask_epi8(_mm_cmplt_epi8(bytes, _mm_set1_epi8(33)))) {
      const int rest = __builtin_ctz(static_cast<unsigned>(white));
      storeTerminated(to + n, bytes, rest);
      return n + rest;
    }
    store16(to + n, bytes);
  }
#else
  for (int n = 0; n < size; n += 8) {
    const std::uint64_t bytes = load8(from + n), white = whites(bytes);
    if (white) {
      const int rest = before(white);
      const std::uint64_t copied = (UINT64_C(1) << (8 * rest)) - 1;
      store8(to + n, (bytes & copied) | (load8(to + n) & ~(copied << 8 | 0xff)));
      return n + rest;
    }
    store8(to + n, bytes);
  }
#endif
  return size;
}

}  // namespace limber::detail
