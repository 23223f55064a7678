#include "limber/foundation/detail/CLocale.h"

#include <cstdlib>

namespace limber::detail {

double cStrtod(const char* text, char** end) {
  const CLocale locale;
  return std::strtod(text, end);
}

int cVfprintf(std::FILE* file, const char* format, va_list arguments) {
  const CLocale locale;
  return std::vfprintf(file, format, arguments);
}

int cFprintf(std::FILE* file, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int written = cVfprintf(file, format, arguments);
  va_end(arguments);
  return written;
}

}  // namespace limber::detail
