#include "limber_motion/detail/Jerk.h"

#include <algorithm>
#include <cmath>

namespace limber::motion::detail {

namespace {

// The root mean square jerk of the smoothest movement through 0.3 heights, which an arm can reach, in one
// second from rest to rest: sqrt(720) distance / time^3 (Flash and Hogan 1985). In heights / s^3.
constexpr double calm = 8.0;

}  // namespace

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

double squaredJerk(const Places& places) {
  double sum = 0.0;
  for (int j = 0; j < places.joints(); ++j) {
    for (int f = 0; f + 3 < places.frames(); ++f) {
      const double third = places.third(j, f);
      sum += third * third;
    }
  }
  return sum;
}

double squaredJerkToKeep(const Places& original, double frameTime) {
  const double third = calm * frameTime * frameTime * frameTime;
  const double count = static_cast<double>(original.joints()) * std::max(original.frames() - 3, 0);
  return std::max(squaredJerk(original), count * third * third);
}

}  // namespace limber::motion::detail
