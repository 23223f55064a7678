#include "numbers.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace {

template <class Number>
bool parse(const char* word, Number* out) {
  if (*word == '+') {
    word++;
    if (*word == '-') return false;
  }
  const char* const end = word + std::strlen(word);
  const std::from_chars_result result = std::from_chars(word, end, *out);
  return result.ec == std::errc() && result.ptr == end;
}

}  // namespace

bool parseReal(const char* word, double* out) { return parse(word, out) && std::isfinite(*out); }
bool parseInt(const char* word, int* out) { return parse(word, out); }
