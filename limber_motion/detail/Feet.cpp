#include "limber_motion/detail/Feet.h"

#include <algorithm>
#include <limits>
#include <map>

namespace limber::motion::detail {

namespace {

// In body heights.
constexpr double reach = 0.1;     // ends (and ankles) at most this far above the lowest end stand too
constexpr double longFoot = 0.2;  // the bones of a foot are at most this long; a shin is longer
constexpr double noBone = 1e-6;   // an end this near to the joint before it is at the same place

// For each foot, keeps only the joints on the way to the end that comes lowest. Constraints on each of five
// toes or fingers would contradict each other.
std::vector<FootJoint> chainsToTheLowest(const Clip& clip, const std::vector<FootJoint>& joints) {
  std::map<int, const FootJoint*> lowest;  // the lowest end of each foot
  for (const FootJoint& one : joints) {
    const bool isEnd = std::none_of(joints.begin(), joints.end(), [&](const FootJoint& other) {
      return clip.joints[static_cast<std::size_t>(other.joint)].parent == one.joint;
    });
    const FootJoint*& of = lowest[one.foot];
    if (isEnd && (!of || one.low < of->low)) of = &one;
  }
  std::vector<FootJoint> left;
  for (const FootJoint& one : joints) {
    int j = lowest[one.foot]->joint;
    while (j > one.joint) j = clip.joints[static_cast<std::size_t>(j)].parent;
    if (j == one.joint) left.push_back(one);
  }
  return left;
}

// Joins parts whose bones soon meet into one foot: the fingers of a hand that is itself too high belong to
// one limb, and so do the toes of a high ankle.
void joinFeet(const Clip& clip, double height, std::vector<FootJoint>* joints) {
  const auto above = [&](int j) {  // the joint, its parent, and further ancestors over short bones
    std::vector<int> found;
    for (double way = 0.0; j > 0 && (found.size() < 2 || way <= longFoot * height);
         j = clip.joints[static_cast<std::size_t>(j)].parent) {
      found.push_back(j);
      way += clip.joints[static_cast<std::size_t>(j)].offset.length();
    }
    return found;
  };
  for (FootJoint& one : *joints) {
    for (FootJoint& other : *joints) {
      if (one.foot >= other.foot) continue;
      const std::vector<int> ofOne = above(one.foot), ofOther = above(other.foot);
      const auto common = std::find_first_of(ofOne.begin(), ofOne.end(), ofOther.begin(), ofOther.end());
      if (common == ofOne.end()) continue;
      const int from = one.foot, to = other.foot, foot = *common;
      for (FootJoint& each : *joints) {
        if (each.foot == from || each.foot == to) each.foot = foot;
      }
    }
  }
}

// True if at most one bone leads from the joint that carries the body to the end: a reference or a marker. A
// leg has more.
bool isMarker(const Clip& clip, const Skeleton& skeleton, int end) {
  int bones = 0, j = end;
  for (; j > skeleton.carrier(); j = clip.joints[static_cast<std::size_t>(j)].parent)
    bones += clip.joints[static_cast<std::size_t>(j)].offset.length() > noBone * skeleton.height();
  return j != skeleton.carrier() || bones < 2;
}

// The ends of the skeleton: its end sites or, if there are none, its joints without children. Markers are
// left out unless there is nothing else.
std::vector<int> limbEnds(const Clip& clip, const Skeleton& skeleton) {
  std::vector<bool> isParent(clip.joints.size(), false);
  bool sites = false;
  for (const Joint& joint : clip.joints) {
    if (joint.parent >= 0) isParent[static_cast<std::size_t>(joint.parent)] = true;
    sites = sites || joint.endSite;
  }
  std::vector<int> ends, limbs;
  for (int j = 0; j < skeleton.joints(); ++j) {
    if (sites ? !clip.joints[static_cast<std::size_t>(j)].endSite : isParent[static_cast<std::size_t>(j)])
      continue;
    ends.push_back(j);
    if (!isMarker(clip, skeleton, j)) limbs.push_back(j);
  }
  return limbs.empty() ? ends : limbs;
}

}  // namespace

std::vector<FootJoint> findFeet(const Clip& clip, const Skeleton& skeleton, const Tracks& tracks,
                                double* ground) {
  const double height = skeleton.height();
  const auto parent = [&](int j) { return clip.joints[static_cast<std::size_t>(j)].parent; };
  const auto bone = [&](int j) {
    return (tracks.at(j, tracks.first()) - tracks.at(parent(j), tracks.first())).length();
  };
  std::map<int, double> ends;  // end sites and their parents, with their low places
  for (const int j : limbEnds(clip, skeleton)) {
    ends[j] = tracks.low(j);
    if (clip.joints[static_cast<std::size_t>(j)].endSite) ends[parent(j)] = tracks.low(parent(j));
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
  joinFeet(clip, height, &found);
  return chainsToTheLowest(clip, found);
}

}  // namespace limber::motion::detail
