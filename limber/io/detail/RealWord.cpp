#include "limber/io/detail/RealWord.h"

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

__extension__ typedef unsigned __int128 Wide;

// A power of ten.
struct Power {
  std::uint64_t whole;
  double exact[2];           // and its negative
  std::uint64_t reciprocal;  // 2^126 / (whole 2^shift), rounded down
  int shift;                 // leading zeros of `whole`
};
// Integers with this number of digits fit into 64 bits.
constexpr int longest = 19;
struct Powers {
  Power of[longest + 1];
  constexpr Powers() : of() {
    std::uint64_t whole = 1;
    for (Power& power : of) {
      const int shift = __builtin_clzll(whole);
      const auto exact = static_cast<double>(whole);
      const auto reciprocal = static_cast<std::uint64_t>((Wide{1} << 126) / (whole << shift));
      power = {whole, {exact, -exact}, reciprocal, shift};
      whole *= 10;
    }
  }
};
constexpr Powers powers;

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
  return (both & 0xffffffff) * powers.of[8].whole + (both >> 32);
}
#else
inline std::uint64_t upToSixteen(const char* end, int count, std::uint64_t& wrong) {
  if (count <= 8) return upToEight(end - count, count, wrong);
  return upToEight(end - count, count - 8, wrong) * powers.of[8].whole + upToEight(end - 8, 8, wrong);
}
#endif

// +-integer / 10^power for an integer up to 2^53. Both are exact, so the division rounds once (Clinger
// 1990). The divisor has the sign, so that every rounding mode works; a zero keeps its sign too.
inline double exactQuotient(bool negative, std::uint64_t integer, int power) {
  return static_cast<double>(static_cast<std::int64_t>(integer)) / powers.of[power].exact[negative];
}

// +-integer / 10^power, rounded once, for an integer above 0. The product with the reciprocal is less than 2
// below the exact quotient. A double keeps none of its last eight bits, so all values between two multiples
// of 256 round alike. False if the product is so close to a multiple of 256 that the rounding is not certain.
inline bool quotient(bool negative, std::uint64_t integer, int power, double& out) {
  const Power& divisor = powers.of[power];
  const int shift = __builtin_clzll(integer);
  const auto whole = static_cast<std::uint64_t>(Wide{integer << shift} * divisor.reciprocal >> 64);
  // The sign is applied without a branch, because signs are random.
  const std::uint64_t bits = ((whole | 1) ^ -std::uint64_t{negative}) + negative;
  const std::uint64_t scaleBits = static_cast<std::uint64_t>(1023 + divisor.shift - shift - 62) << 52;
  double scale;
  std::memcpy(&scale, &scaleBits, sizeof scale);
  out = static_cast<double>(static_cast<std::int64_t>(bits)) * scale;
  return ((whole + 1) & 255) > 1;
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

// A word of one to seven digits, a point, and at most 16 digits, the most frequent long words. False for
// others, and for the few whose rounding the product with a reciprocal leaves open.
inline bool longDecimal(bool negative, const char* first, int length, double& out) {
  const int point = before(pointMarks(load8(first) ^ zeros)), behindPoint = length - point - 1;
  if (point == 0 || point == 8 || behindPoint > 16) return false;
  std::uint64_t wrong = 0;
  const std::uint64_t whole = upToEight(first, point, wrong);
  const std::uint64_t integer =
      whole * powers.of[behindPoint].whole + upToSixteen(first + length, behindPoint, wrong);
  if (wrong) return false;
  if (integer > exactIntegers) return quotient(negative, integer, behindPoint, out);
  out = exactQuotient(negative, integer, behindPoint);
  return true;
}

// All words that the functions above leave. from_chars rounds as strtod does and is several times faster.
// Words that it reads differently go to strtod: hexadecimal words (it stops at the x), infinities and
// not-a-numbers, overflow and underflow, and words without a number.
__attribute__((noinline)) double otherWord(const char* text, const char* end, const char* terminated) {
  double value = 0.0;
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
