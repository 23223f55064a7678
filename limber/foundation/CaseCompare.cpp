#include "limber/foundation/CaseCompare.h"

namespace {

signed char folded(char c) { return static_cast<signed char>(c >= 'a' && c <= 'z' ? c - 32 : c); }

// The limit is decremented before it is tested, so a negative one never reaches zero. It is a long long,
// which cannot wrap round on any string.
int compared(const char* a, const char* b, long long limit) {
  for (;; ++a, ++b) {
    if (*a == '\0') return *b != '\0' ? 1 : 0;
    if (*b == '\0') return -1;
    const signed char ca = folded(*a), cb = folded(*b);
    if (cb > ca) return 1;
    if (cb < ca) return -1;
    if (--limit == 0) return 0;
  }
}

}  // namespace

#if !defined(_MSC_VER)
namespace limber {
#endif

int strcasecmp(const char* a, const char* b) { return compared(a, b, -1); }

int strncasecmp(const char* a, const char* b, int n) { return n == 0 ? 0 : compared(a, b, n); }

#if !defined(_MSC_VER)
}  // namespace limber
#endif
