#include "limber_motion/detail/Numbers.h"

#include <charconv>
#include <cmath>
#include <system_error>

namespace limber::motion::detail {

namespace {

template <class Number>
std::errc parse(std::string_view word, Number* out) {
  if (!word.empty() && word[0] == '+') {
    word.remove_prefix(1);
    if (!word.empty() && word[0] == '-') return std::errc::invalid_argument;
  }
  const char* const end = word.data() + word.size();
  const std::from_chars_result result = std::from_chars(word.data(), end, *out);
  return result.ptr == end ? result.ec : std::errc::invalid_argument;
}

// True if a number outside the range of doubles is too small rather than too large: its exponent is negative,
// or it has zeros after the decimal point.
bool tooSmall(std::string_view word) {
  const std::size_t exponent = word.find_first_of("eE");
  if (exponent != std::string_view::npos) return word.find('-', exponent) != std::string_view::npos;
  return word.find_first_of("123456789") > word.find('.');
}

}  // namespace

bool parseReal(std::string_view word, double* out) {
  const std::errc problem = parse(word, out);
  if (problem == std::errc::result_out_of_range && tooSmall(word)) {
    *out = 0.0;
    return true;
  }
  return problem == std::errc() && std::isfinite(*out);
}

bool parseInt(std::string_view word, int* out) { return parse(word, out) == std::errc(); }

std::string fixed(double value, int decimals) {
  char text[400];  // 309 digits before the point
  const std::to_chars_result result =
      std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
  return std::string(text, result.ptr);
}

std::string significant(double value, int digits) {
  char text[40];
  const std::to_chars_result result =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
  return std::string(text, result.ptr);
}

std::string shortest(double value) {
  char text[40];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

}  // namespace limber::motion::detail
