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

// The powers of ten that a double holds exactly.
constexpr double exactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                  1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::uint64_t wholePowers[] = {1u,
                                         10u,
                                         100u,
                                         1000u,
                                         10000u,
                                         100000u,
                                         1000000u,
                                         10000000u,
                                         100000000u,
                                         1000000000u,
                                         10000000000u,
                                         100000000000u,
                                         1000000000000u,
                                         10000000000000u,
                                         100000000000000u,
                                         1000000000000000u,
                                         10000000000000000u,
                                         100000000000000000u,
                                         1000000000000000000u,
                                         10000000000000000000u};
// Integers with this number of digits fit into 64 bits.
constexpr int longest = 19;
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

// The number with these `count` digits, 0 if there are none. Marks characters that are not digits in
// `wrong`.
inline std::uint64_t number(const char* at, int count, std::uint64_t& wrong) {
  if (count == 0) return 0;
  const int head = (count - 1) % 8 + 1;
  const std::uint64_t first = (load8(at) ^ zeros) << (64 - 8 * head);
  wrong |= wrongDigits(first);
  std::uint64_t value = joined(first);
  for (int k = head; k < count; k += 8) {
    const std::uint64_t next = load8(at + k) ^ zeros;
    wrong |= wrongDigits(next);
    value = value * wholePowers[8] + joined(next);
  }
  return value;
}

constexpr double signs[] = {1.0, -1.0};
constexpr std::int64_t wholeSigns[] = {1, -1};

// +-integer / 10^power for an integer up to 2^53. Both are exact, so the division rounds once (Clinger
// 1990). The sign is set before the division, so that every rounding mode works; a zero keeps its sign too.
double exactQuotient(bool negative, std::uint64_t integer, int power) {
  return signs[negative] * static_cast<double>(static_cast<std::int64_t>(integer)) / exactPowers[power];
}

#ifdef __SIZEOF_INT128__
// +-integer / 10^power, rounded once: at least 62 bits of the quotient are computed, and the last one is
// also set if there is a remainder, so that the conversion to a double rounds like the exact quotient.
double quotient(bool negative, std::uint64_t integer, int power) {
  __extension__ typedef unsigned __int128 Wide;
  const int up = __builtin_clzll(integer), down = __builtin_clzll(wholePowers[power]);
  const Wide dividend = static_cast<Wide>(integer << up) << 62;
  const std::uint64_t divisor = wholePowers[power] << down;
  auto bits = static_cast<std::int64_t>(dividend / divisor);
  bits |= static_cast<Wide>(bits) * divisor != dividend;
  // The power of two, 2^(down - up - 62).
  const std::uint64_t scaleBits = static_cast<std::uint64_t>(1023 + down - up - 62) << 52;
  double scale;
  std::memcpy(&scale, &scaleBits, sizeof scale);
  return static_cast<double>(wholeSigns[negative] * bits) * scale;
}
#endif

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

// A word of 9 to 20 characters with or without a point, of which at most 19 are digits. False for all other
// words.
__attribute__((noinline)) bool longDecimal(bool negative, const char* first, int length, double& out) {
  int point = before(pointMarks(load8(first) ^ zeros));
  if (point == 8)
    while (point < length && first[point] != '.') ++point;
  const int behindPoint = std::max(length - point - 1, 0);
  if (point + behindPoint > longest) return false;
  std::uint64_t wrong = 0;
  const std::uint64_t integer =
      number(first, point, wrong) * wholePowers[behindPoint] + number(first + point + 1, behindPoint, wrong);
  if (wrong) return false;
  if (integer <= exactIntegers) {
    out = exactQuotient(negative, integer, behindPoint);
    return true;
  }
#ifdef __SIZEOF_INT128__
  out = quotient(negative, integer, behindPoint);
  return true;
#else
  return false;
#endif
}

// from_chars rounds as strtod does and is several times faster. Words that it reads differently go to strtod:
// hexadecimal words (it stops at the x), infinities and not-a-numbers, overflow and underflow, and words
// without a number.
__attribute__((noinline)) double otherWord(const char* text, const char* end, const char* terminated) {
  double value = 0.0;
  const auto [stop, error] = std::from_chars(text, end, value);
  if (error == std::errc() && *stop != 'x' && *stop != 'X' && std::isfinite(value)) return value;
  return cStrtod(terminated, nullptr);
}

}  // namespace

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
