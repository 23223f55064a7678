#include "limber_motion/detail/Feet.h"

#include <algorithm>
#include <limits>
#include <map>
#include <set>

namespace limber::motion::detail {

namespace {

// In body heights.
constexpr double reach = 0.1;     // ends no higher above the lowest one stand too, and so do ankles
constexpr double longFoot = 0.2;  // a foot's bones are no longer; a shin is
constexpr double noBone = 1e-6;   // an end this near the joint before it is the same place

}  // namespace

std::vector<FootJoint> findFeet(const Clip& clip, const Skeleton& skeleton, const Tracks& tracks,
                                double* ground) {
  const double height = skeleton.height();
  const auto parent = [&](int j) { return clip.joints[static_cast<std::size_t>(j)].parent; };
  const auto bone = [&](int j) {
    return (tracks.at(j, tracks.first()) - tracks.at(parent(j), tracks.first())).length();
  };
  std::map<int, double> ends;  // end sites and the joints before them, with their low places
  for (int j = 0; j < skeleton.joints(); j++) {
    if (!clip.joints[static_cast<std::size_t>(j)].endSite) continue;
    ends[j] = tracks.low(j);
    ends[parent(j)] = tracks.low(parent(j));
  }
  // A skeleton without end sites: the joints that nothing hangs on.
  if (ends.empty()) {
    for (int j = 0; j < skeleton.joints(); j++) ends[j] = tracks.low(j);
    for (int j = 1; j < skeleton.joints(); j++) ends.erase(parent(j));
  }
  *ground = std::numeric_limits<double>::infinity();
  for (const auto& [j, low] : ends) *ground = std::min(*ground, low);

  std::map<int, double> feet;
  for (const auto& [end, low] : ends) {
    if (low > *ground + reach * height) continue;
    if (clip.joints[static_cast<std::size_t>(end)].endSite && bone(end) <= noBone * height) continue;
    feet[end] = low;
    for (int j = end; parent(j) > 0; j = parent(j)) {
      const int up = parent(j);
      const double upLow = tracks.low(up);
      if (upLow > *ground + reach * height || bone(j) > longFoot * height) break;
      feet[up] = upLow;
    }
  }
  std::vector<FootJoint> found;
  for (const auto& [joint, low] : feet) {
    int foot = joint;
    while (parent(foot) >= 0 && feet.count(parent(foot))) foot = parent(foot);
    found.push_back({joint, foot, low});
  }
  // The fingers of a hand that is itself too high belong to one limb, and so do the toes of a high ankle.
  std::map<int, std::set<int>> siblings;
  for (const FootJoint& one : found) siblings[parent(one.foot)].insert(one.foot);
  for (FootJoint& one : found) {
    const int up = parent(one.foot);
    if (up > 0 && siblings[up].size() > 1) one.foot = up;
  }
  return found;
}

}  // namespace limber::motion::detail
