#include "numbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <system_error>

namespace {

template <class Number>
std::errc parse(const char* word, Number* out) {
  if (*word == '+') {
    ++word;
    if (*word == '-') return std::errc::invalid_argument;
  }
  const char* const end = word + std::strlen(word);
  const std::from_chars_result result = std::from_chars(word, end, *out);
  return result.ptr == end ? result.ec : std::errc::invalid_argument;
}

}  // namespace

bool parseReal(const char* word, double* out) {
  const std::errc problem = parse(word, out);
  // Too large or too small: only strtod tells which. It depends on the locale, but these programs never
  // change that.
  if (problem == std::errc::result_out_of_range) *out = std::strtod(word, nullptr);
  return problem != std::errc::invalid_argument && std::isfinite(*out);
}

bool parseFortranReal(const char* word, double* out) {
  if (parseReal(word, out)) return true;
  // Fortran writes D for the exponents of its double precision
  std::string plain = word;
  std::replace(plain.begin(), plain.end(), 'D', 'e');
  std::replace(plain.begin(), plain.end(), 'd', 'e');
  return parseReal(plain.c_str(), out);
}

bool parseInt(const char* word, int* out) { return parse(word, out) == std::errc(); }
bool parseInt(const char* word, long* out) { return parse(word, out) == std::errc(); }
bool parseInt(const char* word, long long* out) { return parse(word, out) == std::errc(); }
