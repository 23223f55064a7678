#include "limber/foundation/StringArray.h"

#include <algorithm>
#include <new>

#include "limber/foundation/Report.h"
#include "limber/foundation/Text.h"
#include "limber/foundation/detail/ReportSite.h"

using namespace limber::detail;

StringArray::~StringArray() {
  for (int i = 0; i < count; ++i) delete[] items[i];
  delete[] items;
}

char* StringArray::add(const char* s) {
  if (count >= capacity) {
    const int larger = 2 * count + 6;
    char** const moved = new (std::nothrow) char*[static_cast<unsigned>(larger)];
    if (!moved) {
      FATAL_ERROR(newFails);
      return nullptr;
    }
    std::copy_n(items, count, moved);
    delete[] items;
    items = moved;
    capacity = larger;
  }
  char* const copy = nameString(s);
  if (copy) items[count++] = copy;
  return copy;
}
