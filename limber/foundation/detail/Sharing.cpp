#include "limber/foundation/detail/Sharing.h"

#include <new>
#include <unordered_map>

#include "limber/foundation/Report.h"
#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/foundation/detail/ReportSite.h"

namespace limber::detail {

namespace {

// The number of holders beyond the first, for each pointer that has more than one. The table is never
// destroyed, so that objects destroyed after the statics of this library can still use it.
using Table = std::unordered_map<const void*, int>;

Table& others() { return createdOnFirstUse<Table>(); }

}  // namespace

bool share(const void* p) {
  if (!p) return true;
  try {
    ++others()[p];
    return true;
  } catch (const std::bad_alloc&) {
    FATAL_ERROR(newFails);
    return false;
  }
}

bool unshare(const void* p) {
  const auto entry = others().find(p);
  if (entry == others().end()) return true;
  if (--entry->second == 0) others().erase(entry);
  return false;
}

int holders(const void* p) {
  const auto entry = others().find(p);
  return entry == others().end() ? 1 : entry->second + 1;
}

}  // namespace limber::detail
