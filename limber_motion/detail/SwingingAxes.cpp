#include "limber_motion/detail/SwingingAxes.h"

#include <algorithm>
#include <cmath>

namespace limber::motion::detail {

namespace {

constexpr double nearLock = 0.4;   // cosine of the second angle
constexpr double fastTurn = 12.0;  // radians per second
constexpr double before = 0.05;    // seconds before and after such a frame

std::vector<int> rotations(const Joint& joint) {
  std::vector<int> found;
  for (std::size_t c = 0; c < joint.channels.size(); ++c) {
    if (joint.channels[c].rotation) found.push_back(joint.firstChannel + static_cast<int>(c));
  }
  return found;
}

}  // namespace

std::vector<bool> swingingAxes(const Clip& clip) {
  const std::size_t channels = static_cast<std::size_t>(clip.channels);
  std::vector<bool> swinging(static_cast<std::size_t>(clip.frames) * channels, false);
  const int around = static_cast<int>(std::min(before / clip.frameTime, 1e6));
  for (const Joint& joint : clip.joints) {
    const std::vector<int> turns = rotations(joint);
    if (turns.size() < 3) continue;
    for (int f = 0; f + 1 < clip.frames; ++f) {
      const double turn = clip.frame(f + 1)[turns[0]] - clip.frame(f)[turns[0]];
      if (!(std::fabs(std::cos(clip.frame(f)[turns[1]])) < nearLock)) continue;
      if (!(std::fabs(turn) > fastTurn * clip.frameTime)) continue;
      for (int g = std::max(f - around, 0); g <= std::min(f + 1 + around, clip.frames - 1); ++g) {
        for (const int c : turns)
          swinging[static_cast<std::size_t>(g) * channels + static_cast<std::size_t>(c)] = true;
      }
    }
  }
  return swinging;
}

}  // namespace limber::motion::detail
