#include "limber_motion/detail/Jerk.h"

#include <algorithm>
#include <cmath>

namespace limber::motion::detail {

std::vector<EndJerk> endJerks(const Places& before, const Places& after, const std::vector<Stand>& stands,
                              double frameTime) {
  const int within = std::max(2, static_cast<int>(std::nearbyint(std::min(0.1 / frameTime, 1e8))));
  const double least = frameTime * frameTime * frameTime;
  std::vector<EndJerk> found;
  for (const Stand& stand : stands) {
    for (const int edge : {stand.first, stand.end - 1}) {
      const int first = std::max(0, edge - within - 2),
                last = std::min(before.frames() - 3, edge + within) - 1;
      if (first > last) continue;
      const int was = before.mostAbrupt(stand.joint, first, last);
      const int is = after.mostAbrupt(stand.joint, first, last);
      const double ratio = after.third(stand.joint, is) / std::max(before.third(stand.joint, was), least);
      found.push_back({stand.joint, is, ratio});
    }
  }
  return found;
}

}  // namespace limber::motion::detail
