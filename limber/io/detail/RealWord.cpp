#include "limber/io/detail/RealWord.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <system_error>

#include "limber/foundation/detail/CLocale.h"
#include "limber/io/detail/Bytes.h"

namespace limber::detail {

namespace {

// Integers with this number of digits fit into 64 bits.
constexpr int longest = 19;
struct WholePowers {
  std::uint64_t of[longest + 1];
  constexpr WholePowers() : of() {
    of[0] = 1;
    for (int power = 1; power <= longest; ++power) of[power] = of[power - 1] * 10;
  }
  constexpr std::uint64_t operator[](int power) const { return of[power]; }
};
constexpr WholePowers wholePowers;
constexpr std::uint64_t exactIntegers = UINT64_C(1) << 53;

constexpr std::uint64_t zeros = '0' * everyByte;
constexpr std::uint64_t points = ('.' ^ '0') * everyByte;

// Marks the points among eight characters that have been xored with '0'. Only the lowest mark is reliable.
std::uint64_t pointMarks(std::uint64_t characters) {
  const std::uint64_t other = characters ^ points;  // zero for a point
  return (other - everyByte) & ~other & highBits;
}

// Sets the high bits of the bytes that are not digits, in characters that have been xored with '0'. All
// bytes are below 128, so the sums do not carry into the next byte.
std::uint64_t wrongDigits(std::uint64_t digits) { return (digits + (0x80 - 10) * everyByte) & highBits; }

// The number with these eight digits, each 0 to 9, the first one in the lowest byte: joins neighbours into
// numbers of two, four and eight digits.
std::uint64_t joined(std::uint64_t digits) {
  digits = (digits * (10 << 8 | 1)) >> 8 & UINT64_C(0x00ff00ff00ff00ff);
  digits = (digits * (100 << 16 | 1)) >> 16 & UINT64_C(0x0000ffff0000ffff);
  return (digits * (UINT64_C(10000) << 32 | 1)) >> 32;
}

// The number with these `count` digits, at most 8. Marks characters that are not digits in `wrong`.
inline std::uint64_t upToEight(const char* at, int count, std::uint64_t& wrong) {
  const std::uint64_t digits = (load8(at) ^ zeros) << (64 - 8 * count);
  wrong |= wrongDigits(digits);
  return joined(digits);
}

// The number with the `count` digits, 1 to 16, that end at `end`. The 16 bytes before `end` may be read.
#ifdef __SSE2__
inline std::uint64_t upToSixteen(const char* end, int count, std::uint64_t& wrong) {
  static constexpr char zerosThenOnes[32] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,
                                             -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
  const __m128i digits =
      _mm_and_si128(_mm_xor_si128(load16(end - 16), _mm_set1_epi8('0')), load16(zerosThenOnes + count));
  // The comparison is signed, so bytes from 128 on would pass; they are white and so never part of a word.
  wrong |= static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(digits, _mm_set1_epi8(9))));
  // Neighbours are joined into eight numbers of two digits, these into four of four, these into two of eight.
  const __m128i firsts = _mm_and_si128(digits, _mm_set1_epi16(255)), seconds = _mm_srli_epi16(digits, 8);
  const __m128i twos = _mm_add_epi16(_mm_mullo_epi16(firsts, _mm_set1_epi16(10)), seconds);
  const __m128i fours = _mm_madd_epi16(twos, _mm_set1_epi32(1 << 16 | 100));
  const __m128i eights = _mm_madd_epi16(_mm_packs_epi32(fours, fours), _mm_set1_epi32(1 << 16 | 10000));
  std::uint64_t both;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(&both), eights);
  return (both & 0xffffffff) * wholePowers[8] + (both >> 32);
}
#else
inline std::uint64_t upToSixteen(const char* end, int count, std::uint64_t& wrong) {
  if (count <= 8) return upToEight(end - count, count, wrong);
  return upToEight(end - count, count - 8, wrong) * wholePowers[8] + upToEight(end - 8, 8, wrong);
}
#endif

// The number with these `count` digits, at most 19; 0 if there are none.
inline std::uint64_t number(const char* at, int count, std::uint64_t& wrong) {
  if (count <= 0) return 0;
  if (count <= 8) return upToEight(at, count, wrong);
  if (count <= 16) return upToSixteen(at + count, count, wrong);
  return upToEight(at, count - 16, wrong) * wholePowers[16] + upToSixteen(at + count, 16, wrong);
}

// The exact powers of ten, and behind them their negatives.
struct SignedPowers {
  double of[2][23];
  constexpr SignedPowers() : of() {
    of[0][0] = 1.0;
    for (int power = 1; power < 23; ++power) of[0][power] = of[0][power - 1] * 10.0;
    for (int power = 0; power < 23; ++power) of[1][power] = -of[0][power];
  }
};
constexpr SignedPowers powers;

// +-integer / 10^power for an integer up to 2^53. Both are exact, so the division rounds once (Clinger
// 1990). The divisor has the sign, so that every rounding mode works; a zero keeps its sign too.
inline double exactQuotient(bool negative, std::uint64_t integer, int power) {
  return static_cast<double>(static_cast<std::int64_t>(integer)) / powers.of[negative][power];
}

__extension__ typedef unsigned __int128 Wide;

// A power of ten that is shifted up to fill 64 bits, and its reciprocal.
struct Divisor {
  std::uint64_t value;       // 10^power 2^shift
  std::uint64_t reciprocal;  // 2^126 / value, rounded down
  int shift;
};
struct Divisors {
  Divisor of[longest + 1];
  constexpr Divisors() : of() {
    for (int power = 0; power <= longest; ++power) {
      const int shift = __builtin_clzll(wholePowers[power]);
      const std::uint64_t value = wholePowers[power] << shift;
      of[power] = {value, static_cast<std::uint64_t>((Wide{1} << 126) / value), shift};
    }
  }
};
constexpr Divisors divisors;

// +-bits 2^exponent, rounded once.
inline double withExponent(bool negative, std::uint64_t bits, int exponent) {
  const std::uint64_t scaleBits = static_cast<std::uint64_t>(1023 + exponent) << 52;
  double scale;
  std::memcpy(&scale, &scaleBits, sizeof scale);
  // Without a branch: signs are random.
  return static_cast<double>(static_cast<std::int64_t>((bits ^ -std::uint64_t{negative}) + negative)) * scale;
}

// +-integer / 10^power, rounded once, for an integer above 0. False if the product with the reciprocal, which
// is less than 2 below the exact quotient, leaves the rounding open: a double keeps none of its last eight
// bits and rounds all values between two multiples of 256 alike, so only values next to a multiple do.
inline bool quotient(bool negative, std::uint64_t integer, int power, double& out) {
  const Divisor& divisor = divisors.of[power];
  const int shift = __builtin_clzll(integer);
  const auto bits = static_cast<std::uint64_t>(Wide{integer << shift} * divisor.reciprocal >> 64);
  out = withExponent(negative, bits | 1, divisor.shift - shift - 62);
  return ((bits + 1) & 255) > 1;
}

// The same by a division: at least 62 bits of the quotient, with the last one also set if there is a
// remainder, so that the conversion to a double rounds like the exact quotient.
double longQuotient(bool negative, std::uint64_t integer, int power) {
  const Divisor& divisor = divisors.of[power];
  const int shift = __builtin_clzll(integer);
  const Wide dividend = Wide{integer << shift} << 62;
  const auto bits = static_cast<std::uint64_t>(dividend / divisor.value);
  const bool remainder = Wide{bits} * divisor.value != dividend;
  return withExponent(negative, bits | std::uint64_t{remainder}, divisor.shift - shift - 62);
}

// A word of one to eight digits and points, processed in one piece: the digits before the point are moved up
// over it.
inline bool shortDecimal(bool negative, const char* first, int length, double& out) {
  const std::uint64_t characters = (load8(first) ^ zeros) << (64 - 8 * length);
  const std::uint64_t marks = pointMarks(characters);
  const std::uint64_t upToPoint = marks ? marks ^ (marks - 1) : 0;
  const std::uint64_t digits = (characters & ~upToPoint) | (characters << 8 & upToPoint);
  if (wrongDigits(digits) || (marks && length == 1)) return false;
  const int behindPoint = (63 - __builtin_ctzll(marks | UINT64_C(1) << 63)) / 8;
  out = exactQuotient(negative, joined(digits), behindPoint);
  return true;
}

// +-integer / 10^behindPoint. False if this number needs a division.
inline bool scaled(bool negative, std::uint64_t integer, int behindPoint, double& out) {
  if (integer <= exactIntegers) {
    out = exactQuotient(negative, integer, behindPoint);
    return true;
  }
  return quotient(negative, integer, behindPoint, out);
}

// A word of one to seven digits, a point, and at most 16 digits, the most frequent long words. False for
// others, and for the few that need a division.
inline bool longDecimal(bool negative, const char* first, int length, double& out) {
  const int point = before(pointMarks(load8(first) ^ zeros)), behindPoint = length - point - 1;
  if (point == 0 || point == 8 || behindPoint > 16) return false;
  std::uint64_t wrong = 0;
  const std::uint64_t whole = upToEight(first, point, wrong);
  const std::uint64_t integer =
      whole * wholePowers[behindPoint] + upToSixteen(first + length, behindPoint, wrong);
  return !wrong && scaled(negative, integer, behindPoint, out);
}

// A word with or without a point, of which at most 19 characters are digits.
bool anyDecimal(bool negative, const char* first, int length, double& out) {
  int point = 0;
  while (point < length && first[point] != '.') ++point;
  const int behindPoint = std::max(length - point - 1, 0);
  if (point + behindPoint > longest) return false;
  std::uint64_t wrong = 0;
  const std::uint64_t integer =
      number(first, point, wrong) * wholePowers[behindPoint] + number(first + point + 1, behindPoint, wrong);
  if (wrong) return false;
  if (!scaled(negative, integer, behindPoint, out)) out = longQuotient(negative, integer, behindPoint);
  return true;
}

// All words that the functions above leave. from_chars rounds as strtod does and is several times faster.
// Words that it reads differently go to strtod: hexadecimal words (it stops at the x), infinities and
// not-a-numbers, overflow and underflow, and words without a number.
__attribute__((noinline)) double otherWord(const char* text, const char* end, const char* terminated) {
  const bool negative = *text == '-';
  const std::ptrdiff_t length = end - text - negative;
  double value = 0.0;
  if (length > 8 && length <= longest + 1 &&
      anyDecimal(negative, text + negative, static_cast<int>(length), value))
    return value;
  const auto [stop, error] = std::from_chars(text, end, value);
  if (error == std::errc() && *stop != 'x' && *stop != 'X' && std::isfinite(value)) return value;
  return cStrtod(terminated, nullptr);
}

}  // namespace

// The frequent words need no call and so no stack frame; all others are left to a tail call.
double realWord(const char* text, const char* end, const char* terminated) {
  const bool negative = *text == '-';
  const char* const first = text + negative;
  const std::ptrdiff_t length = end - first;
  double value;
  if (length <= 8 ? length > 0 && shortDecimal(negative, first, static_cast<int>(length), value)
                  : length <= longest + 1 && longDecimal(negative, first, static_cast<int>(length), value))
    return value;
  return otherWord(text, end, terminated);
}

}  // namespace limber::detail
