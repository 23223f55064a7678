#include "limber_motion/detail/Floor.h"

#include <algorithm>
#include <limits>
#include <set>

#include "limber_motion/Quality.h"

namespace limber::motion::detail {

namespace {

constexpr double margin = 2e-5, tolerance = 1e-5, clear = 1e-4;  // heights

// True if the joint is held in the frame. `next` advances to the first hold of that frame.
bool isHeld(const std::vector<Hold>& holds, std::size_t* next, int frame, int joint) {
  while (*next < holds.size() && holds[*next].frame < frame) ++*next;
  for (std::size_t i = *next; i < holds.size() && holds[i].frame == frame; ++i) {
    if (holds[i].joint == joint) return true;
  }
  return false;
}

// The feet, and whatever else stands in the clip, such as further toes, in ascending order.
std::vector<int> lowJoints(const Clip& original, const std::vector<int>& feet) {
  std::set<int> joints(feet.begin(), feet.end());
  for (const Stand& stand : findStands(original)) joints.insert(stand.joint);
  return {joints.begin(), joints.end()};
}

}  // namespace

Floor::Floor(const Clip& original, const Skeleton& skeleton, const Contacts& feet, bool strict)
    : skeleton_(skeleton),
      first_(feet.first),
      ground_(feet.ground),
      feet_(lowJoints(original, feet.feet)),
      least_(feet_.size(), feet.ground) {
  Pose pose;
  for (int f = first_; f < original.frames && !strict; ++f) {
    skeleton.pose(original.frame(f), &pose);
    for (std::size_t i = 0; i < feet_.size(); ++i) {
      least_[i] = std::min(least_[i], pose.position[static_cast<std::size_t>(feet_[i])].y);
    }
  }
  for (double& least : least_) least += margin * skeleton.height();
  watched_.assign(static_cast<std::size_t>(original.frames) * feet_.size(), false);
}

double Floor::least(int joint) const {
  const auto foot = std::find(feet_.begin(), feet_.end(), joint);
  return foot == feet_.end() ? -std::numeric_limits<double>::infinity()
                             : least_[static_cast<std::size_t>(foot - feet_.begin())];
}

Deepest Floor::deepest(const Clip& clip) const {
  Deepest found;
  Pose pose;
  for (int f = first_; f < clip.frames; ++f) {
    skeleton_.pose(clip.frame(f), &pose);
    for (const int j : feet_) {
      const double depth = (ground_ - pose.position[static_cast<std::size_t>(j)].y) / skeleton_.height();
      if (depth > found.depth) found = {depth, j, f};
    }
  }
  return found;
}

std::vector<int> Floor::watch(const Clip& clip, int first, int end, const std::vector<Hold>& holds) {
  std::vector<int> news;
  std::size_t next = 0;
  Pose pose;
  for (int f = std::max(first_, first); f < end; ++f) {
    skeleton_.pose(clip.frame(f), &pose);
    for (std::size_t i = 0; i < feet_.size(); ++i) {
      const double height = pose.position[static_cast<std::size_t>(feet_[i])].y;
      const std::size_t k = static_cast<std::size_t>(f) * feet_.size() + i;
      if (height > least_[i] + clear * skeleton_.height()) watched_[k] = false;
      if (height >= least_[i] - tolerance * skeleton_.height()) continue;
      if (isHeld(holds, &next, f, feet_[i])) continue;
      watched_[k] = true;
      news.push_back(f);
    }
  }
  return news;
}

void Floor::addTo(const Clip& clip, int first, int end, double weight, std::vector<Hold>* holds) const {
  std::vector<Hold> low;
  std::size_t next = 0;
  for (std::size_t k = static_cast<std::size_t>(first) * feet_.size();
       k < static_cast<std::size_t>(end) * feet_.size(); ++k) {
    if (!watched_[k]) continue;
    const int f = static_cast<int>(k / feet_.size());
    const int joint = feet_[k % feet_.size()];
    if (isHeld(*holds, &next, f, joint)) continue;
    Pnt3 place = skeleton_.position(joint, clip.frame(f));
    place.y = least_[k % feet_.size()];
    low.push_back({f, joint, place, weight, true, true});
  }
  if (low.empty()) return;
  holds->insert(holds->end(), low.begin(), low.end());
  std::stable_sort(holds->begin(), holds->end(),
                   [](const Hold& a, const Hold& b) { return a.frame < b.frame; });
}

}  // namespace limber::motion::detail
