#include "limber_motion/Stiffness.h"

#include <algorithm>

#include "limber_motion/Error.h"

namespace limber::motion {

namespace {

constexpr double rootStiffness = 6.0, spineStiffness = 3.0, shortStiffness = 5.0;
constexpr double shortReach = 0.07;     // heights: joints with a shorter reach are toes and fingers
constexpr double fixedStiffness = 1e4;  // factor for channels that make a bone longer or move the reference
constexpr double lever = 0.2;           // heights: the lever arm by which a rotation counts as a movement

// What hangs on each joint of a skeleton.
struct Branches {
  std::vector<double> reach;  // the longest way down from the joint along the bones
  std::vector<int> limbs;     // the number of limbs that begin at the joint or below it
};

Branches branchesOf(const Clip& clip, const Skeleton& skeleton) {
  const std::size_t n = clip.joints.size();
  const double limb = 0.12 * skeleton.height();  // anything shorter is a finger or a toe
  Branches found = {std::vector<double>(n, 0.0), std::vector<int>(n, 0)};
  for (std::size_t j = n; j-- > 1;) {
    const Joint& joint = clip.joints[j];
    const std::size_t up = static_cast<std::size_t>(joint.parent);
    const double way = found.reach[j] + joint.offset.length();
    found.reach[up] = std::max(found.reach[up], way);
    found.limbs[up] += found.limbs[j] > 0 ? found.limbs[j] : way > limb ? 1 : 0;
    // A limb begins above its first joint, so the joints along the limb count it once.
  }
  return found;
}

}  // namespace

std::vector<bool> trunkJoints(const Clip& clip, const Skeleton& skeleton) {
  const Branches branches = branchesOf(clip, skeleton);
  std::vector<bool> trunk;
  for (const int limbs : branches.limbs) trunk.push_back(trunk.empty() || limbs > 1);
  return trunk;
}

std::vector<double> jointStiffness(const Clip& clip, const Skeleton& skeleton,
                                   const std::map<std::string, double>& byName) {
  const std::size_t n = clip.joints.size();
  const Branches branches = branchesOf(clip, skeleton);
  std::vector<double> stiffness(n, 1.0);
  for (std::size_t j = 0; j < n; ++j) {
    if (branches.limbs[j] > 1) stiffness[j] = spineStiffness;
    if (branches.reach[j] < shortReach * skeleton.height()) stiffness[j] = shortStiffness;
  }
  if (n > 0) stiffness[static_cast<std::size_t>(skeleton.carrier())] = rootStiffness;
  for (const auto& [name, value] : byName) {
    const int j = clip.find(name);
    if (j < 0) throw Error("there is no joint called '" + name + "' whose stiffness could be set");
    if (!(value >= 1e-9 && value <= 1e9))
      throw Error("the stiffness of '" + name + "' must be a number from 1e-9 to 1e9");
    stiffness[static_cast<std::size_t>(j)] = value;
  }
  return stiffness;
}

std::vector<double> channelMasses(const Clip& clip, const Skeleton& skeleton,
                                  const std::vector<double>& stiffness) {
  const double height = skeleton.height();
  int mover = -1;  // the joint that moves the body: the first one with a position channel from the carrier on
  std::vector<double> masses;
  for (int c = 0; c < clip.channels; ++c) {
    const int joint = skeleton.owner(c);
    const bool rotation = skeleton.isRotation(c);
    const bool reference = joint < skeleton.carrier();
    if (!rotation && !reference && mover < 0) mover = joint;
    const double scale = rotation ? lever : 1.0 / height;
    const bool moves = !reference && (rotation || joint == mover);
    masses.push_back(stiffness[static_cast<std::size_t>(joint)] * scale * scale *
                     (moves ? 1.0 : fixedStiffness));
  }
  return masses;
}

}  // namespace limber::motion
