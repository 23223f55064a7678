#include "limber/foundation/Text.h"

#include <cstddef>
#include <cstring>
#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/ReportSite.h"

using namespace limber::detail;

char* nameString(const char* s0, const char* s1, const char* s2, const char* s3, const char* s4,
                 const char* s5, const char* s6, const char* s7, const char* s8, const char* s9) {
  const char* const parts[] = {s0, s1, s2, s3, s4, s5, s6, s7, s8, s9};
  std::size_t length = 0;
  for (const char* part : parts) {
    if (part) length += std::strlen(part);
  }
  // Contract: the size is the sum of the lengths plus 2, one more than the terminator needs.
  char* const text = new (std::nothrow) char[length + 2];
  if (!text) {
    FATAL_ERROR(newFails);
    return nullptr;
  }
  char* end = text;
  for (const char* part : parts) {
    if (!part) continue;
    const std::size_t size = std::strlen(part);
    std::memcpy(end, part, size);
    end += size;
  }
  *end = '\0';
  return text;
}
