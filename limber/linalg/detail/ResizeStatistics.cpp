#include "limber/linalg/detail/ResizeStatistics.h"

#include <cstdio>
#include <map>
#include <new>
#include <utility>

#include "limber/foundation/detail/CreatedOnFirstUse.h"
#include "limber/linalg/Vector.h"

namespace {

int vectorResizeCount = 0;

// By requested size, then by old capacity. Contract: the first occurrence of a pair stores 0, so each count
// is one less than the number of reallocations of its kind.
using ResizeTable = std::map<std::pair<int, int>, int>;
ResizeTable& vectorResizes() { return limber::detail::createdOnFirstUse<ResizeTable>(); }

}  // namespace

void limber::detail::countVectorResize(int requested, int oldCapacity) {
  ++vectorResizeCount;
  try {
    ++vectorResizes().try_emplace({requested, oldCapacity}, -1).first->second;
  } catch (const std::bad_alloc&) {
    // If there is no memory, the pair is not counted and nothing is reported: these are only statistics.
  }
}

void printVectorResizeStats() {
  std::printf("There were %d resizes!\n", vectorResizeCount);
  for (const auto& [key, repeats] : vectorResizes())
    std::printf("  %3d : %3d  - %d\n", key.first, key.second, repeats);
}
