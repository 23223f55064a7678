#include "limber_motion/detail/CheckClip.h"

#include <algorithm>
#include <cmath>

#include "limber_motion/Error.h"
#include "limber_motion/detail/LineReader.h"

namespace limber::motion::detail {

namespace {

// Returns the index of the first channel after those of the joint.
int checkJoint(const Clip& clip, std::size_t j, int firstChannel) {
  const Joint& joint = clip.joints[j];
  const std::string name = "the joint " + quoted(joint.name);
  const int index = static_cast<int>(j);
  if (j == 0 ? joint.parent != -1 : joint.parent < 0 || joint.parent >= index)
    throw Error(name + " has the parent " + std::to_string(joint.parent) +
                ": the first joint has -1, every other one an earlier joint");
  if (j > 0 && clip.joints[static_cast<std::size_t>(joint.parent)].endSite)
    throw Error(name + " hangs on an end site");
  if (joint.endSite && !joint.channels.empty()) throw Error(name + " is an end site with channels");
  if (!isFinite(joint.offset)) throw Error(name + " has an offset that is not finite");
  if (!joint.channels.empty() && joint.firstChannel != firstChannel)
    throw Error(name + " has the first channel " + std::to_string(joint.firstChannel) + " instead of " +
                std::to_string(firstChannel));
  for (const Channel& channel : joint.channels) {
    if (channel.axis < 'X' || channel.axis > 'Z')
      throw Error(name + " has a channel whose axis is not X, Y or Z");
  }
  return firstChannel + static_cast<int>(joint.channels.size());
}

}  // namespace

bool isFinite(const Pnt3& p) { return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z); }

void checkClip(const Clip& clip) {
  if (clip.joints.empty()) throw Error("the clip has no joints");
  int channels = 0;
  for (std::size_t j = 0; j < clip.joints.size(); ++j) channels = checkJoint(clip, j, channels);
  if (clip.channels != channels)
    throw Error("the clip has " + std::to_string(clip.channels) + " channels, but its joints have " +
                std::to_string(channels));
  const std::size_t values =
      static_cast<std::size_t>(std::max(clip.frames, 0)) * static_cast<std::size_t>(clip.channels);
  if (clip.frames < 0 || clip.values.size() != values)
    throw Error("the clip has " + std::to_string(clip.values.size()) + " values for " +
                std::to_string(clip.frames) + " frames of " + std::to_string(clip.channels) + " channels");
  if (clip.frames > 0 && !(clip.frameTime > 0.0 && std::isfinite(clip.frameTime)))
    throw Error("the frame time of the clip is not a number above 0");
  for (int f = 0; f < clip.frames; ++f) {
    for (int c = 0; c < clip.channels; ++c) {
      if (std::isfinite(clip.frame(f)[c])) continue;
      throw Error("frame " + std::to_string(f + 1) + " of the clip has a channel of " +
                  clip.joints[static_cast<std::size_t>(clip.owner(c))].name + " that is not a finite number");
    }
  }
}

}  // namespace limber::motion::detail
