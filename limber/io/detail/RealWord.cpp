#include "limber/io/detail/RealWord.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>

#include "limber/foundation/detail/CLocale.h"

namespace limber::detail {

// from_chars rounds as strtod does and is several times faster. What it reads otherwise goes to strtod:
// hexadecimal words (it stops at the x), infinities and not-a-numbers, overflow and underflow, and words with
// no number in them.
double realWord(const char* word) {
  double value = 0.0;
  const auto [stop, error] = std::from_chars(word, word + std::strlen(word), value);
  if (error == std::errc() && *stop != 'x' && *stop != 'X' && std::isfinite(value)) return value;
  return cStrtod(word, nullptr);
}

}  // namespace limber::detail
