#include "limber_motion/detail/Reach.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include "limber_motion/detail/Numbers.h"

namespace limber::motion::detail {

namespace {

constexpr double unlimited = std::numeric_limits<double>::infinity();

/// The longest that the bone to a joint can be: its length, or any where a channel moves the joint.
double boneLength(const Joint& joint) {
  for (const Channel& c : joint.channels) {
    if (!c.rotation) return unlimited;
  }
  return joint.offset.length();
}

/// How far two joints can be apart: the bones on the way from one to the other.
struct Way {
  double length;
  bool rigid;  // a single bone: they are always that far apart
};

Way wayBetween(const Clip& clip, int a, int b) {
  Way way = {0.0, true};
  int bones = 0;
  while (a != b) {
    int& lower = a > b ? a : b;  // joints stand behind their parents
    way.length += boneLength(clip.joints[static_cast<std::size_t>(lower)]);
    lower = clip.joints[static_cast<std::size_t>(lower)].parent;
    bones++;
  }
  way.rigid = bones == 1 && std::isfinite(way.length);
  return way;
}

}  // namespace

Impossible findImpossible(const Clip& clip, const std::vector<Constraint>& wishes,
                          const std::vector<int>& rank, double slack) {
  Impossible found;
  found.wishes.assign(wishes.size(), false);
  std::map<std::pair<int, int>, Way> ways;
  std::map<std::pair<int, int>, bool> told;
  for (std::size_t i = 0, begin = 0; i < wishes.size(); i++) {
    if (wishes[i].frame != wishes[begin].frame) begin = i;
    for (std::size_t k = begin; k < i; k++) {
      if (wishes[i].weight < 1.0 || wishes[k].weight < 1.0) continue;
      const std::pair<int, int> pair(wishes[k].joint, wishes[i].joint);
      auto way = ways.find(pair);
      if (way == ways.end()) way = ways.emplace(pair, wayBetween(clip, pair.first, pair.second)).first;
      const double apart = (wishes[i].target - wishes[k].target).length(), most = way->second.length;
      const bool tooNear = way->second.rigid && apart < most - slack;
      if (!(apart > most + slack) && !tooNear) continue;
      found.wishes[rank[i] < rank[k] ? k : i] = true;
      if (told[pair]) continue;
      told[pair] = true;
      const auto name = [&](int joint) { return clip.joints[static_cast<std::size_t>(joint)].name; };
      found.reasons.push_back("the targets of " + name(pair.first) + " and " + name(pair.second) +
                              " in frame " + std::to_string(wishes[i].frame + 1) + " are " +
                              significant(apart, 4) + " apart, but the bones between them " +
                              (tooNear ? "are " : "reach only ") + significant(most, 4) +
                              (tooNear ? " long" : ""));
    }
  }
  return found;
}

}  // namespace limber::motion::detail
