#pragma once

/// @file
/// A motion of any length and constraints for it.

#include <cmath>
#include <string>
#include <vector>

#include "limber_motion/motion.h"

namespace swaying {

using namespace limber::motion;

/// Six chains of three joints on a root: 60 channels.
inline Clip clipOf(int frames) {
  Clip clip;
  const auto add = [&](const std::string& name, int parent, const Pnt3& offset, const char* positions) {
    Joint joint{name, parent, offset, {}, clip.channels, false};
    for (const char* axis = positions; *axis; ++axis) joint.channels.push_back({*axis, false});
    for (const char axis : {'Z', 'X', 'Y'}) joint.channels.push_back({axis, true});
    clip.channels += static_cast<int>(joint.channels.size());
    clip.joints.push_back(joint);
    return static_cast<int>(clip.joints.size()) - 1;
  };
  const int root = add("Root", -1, Pnt3(0, 90, 0), "XYZ");
  for (int chain = 0; chain < 6; ++chain) {
    int parent = root;
    for (int k = 0; k < 3; ++k) {
      const Pnt3 bone(k == 0 ? 10.0 * chain - 25.0 : 2.0, chain < 3 ? -28.0 : 24.0, 3.0 * k);
      parent = add("Joint" + std::to_string(3 * chain + k), parent, bone, "");
    }
    clip.joints.push_back(
        {"End" + std::to_string(chain), parent, Pnt3(0, chain < 3 ? -20 : 20, 4), {}, clip.channels, true});
  }
  clip.frames = frames;
  clip.frameTime = 1.0 / 120.0;
  for (int f = 0; f < frames; ++f) {
    for (int c = 0; c < clip.channels; ++c) {
      clip.values.push_back((clip.channel(c).rotation ? 0.3 : 10.0) * std::sin(0.02 * f * (1 + c % 3) + c));
    }
  }
  return clip;
}

/// Four ends of the skeleton in each frame, a hundredth of the height from where they are: 12 rows.
inline std::vector<Constraint> constraintsFor(const Clip& clip) {
  const Skeleton skeleton(clip);
  std::vector<Constraint> constraints;
  for (int f = 0; f < clip.frames; ++f) {
    int found = 0;
    for (int j = 0; j < skeleton.joints() && found < 4; ++j) {
      if (!clip.joints[static_cast<std::size_t>(j)].endSite) continue;
      const Pnt3 shift(std::sin(0.05 * f + j), 1.0, std::cos(0.03 * f - j));
      constraints.push_back({f, j, skeleton.position(j, clip.frame(f)) + shift, 1.0});
      ++found;
    }
  }
  sortByFrame(&constraints);
  return constraints;
}

}  // namespace swaying
