#include "limber/linalg/detail/ResizeStatistics.h"

#include <cstdio>
#include <map>
#include <new>
#include <utility>

#include "limber/linalg/Vector.h"

namespace {

int vectorResizeCount = 0;

// By requested size, then by old capacity. Contract: the first occurrence of a pair stores 0, so each count
// is one less than the number of reallocations of its kind.
//
// Built before every other static object of the library and destroyed after them, so that vectors with
// static storage may grow at any time.
using ResizeTable = std::map<std::pair<int, int>, int>;
__attribute__((init_priority(101))) ResizeTable vectorResizeTable;

}  // namespace

void limber::detail::countVectorResize(int requested, int oldCapacity) {
  ++vectorResizeCount;
  const std::pair<int, int> key(requested, oldCapacity);
  const auto entry = vectorResizeTable.find(key);
  if (entry != vectorResizeTable.end()) {
    ++entry->second;
    return;
  }
  try {
    vectorResizeTable.emplace(key, 0);
  } catch (const std::bad_alloc&) {
    // If there is no memory, the pair is not counted and nothing is reported: these are only statistics.
  }
}

void printVectorResizeStats() {
  std::printf("There were %d resizes!\n", vectorResizeCount);
  for (const auto& [key, repeats] : vectorResizeTable)
    std::printf("  %3d : %3d  - %d\n", key.first, key.second, repeats);
}
