#include "limber/io/detail/RealWord.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <system_error>

#include "limber/foundation/detail/CLocale.h"

namespace limber::detail {

namespace {

/// The powers of ten that a double holds exactly.
constexpr double exactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                  1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
/// No more digits than an exact integer may have, and a point.
constexpr std::ptrdiff_t longest = 17;
constexpr std::int64_t exactIntegers = INT64_C(1) << 53;

/// Appends the digits at `at` to `value`; the place behind them.
const char* digits(const char* at, std::uint64_t& value) {
  for (unsigned d; (d = static_cast<unsigned>(*at) - '0') < 10; at++) value = value * 10 + d;
  return at;
}

/// A short word of digits with or without a point: integer and power of ten are exact, so that the one
/// division rounds as atof does (Clinger 1990). False for all other words.
bool shortDecimal(const char* word, const char* end, double& out) {
  const bool negative = *word == '-';
  const char* const first = word + negative;
  if (end - first > longest) return false;
  std::uint64_t magnitude = 0;
  const char* at = digits(first, magnitude);
  std::ptrdiff_t behindPoint = 0;
  if (*at == '.') {
    const char* const point = at + 1;
    at = digits(point, magnitude);
    behindPoint = at - point;
  }
  const bool noDigits = end - first == (*first == '.');
  if (at != end || noDigits) return false;
  const auto integer = static_cast<std::int64_t>(magnitude);
  if (integer > exactIntegers) return false;
  // The sign goes in before the division, whatever way that is set to round; the zero keeps it too.
  const double exact = static_cast<double>(integer);
  out = (negative ? -exact : exact) / exactPowers[behindPoint];
  return true;
}

}  // namespace

// from_chars rounds as strtod does and is several times faster. What it reads otherwise goes to strtod:
// hexadecimal words (it stops at the x), infinities and not-a-numbers, overflow and underflow, and words with
// no number in them.
double realWord(const char* text, const char* end, const char* terminated) {
  double value = 0.0;
  if (shortDecimal(text, end, value)) return value;
  const auto [stop, error] = std::from_chars(text, end, value);
  if (error == std::errc() && *stop != 'x' && *stop != 'X' && std::isfinite(value)) return value;
  return cStrtod(terminated, nullptr);
}

}  // namespace limber::detail
