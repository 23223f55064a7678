#include "limber_motion/Clip.h"

namespace limber::motion {

int Clip::find(const std::string& name) const {
  for (std::size_t j = 0; j < joints.size(); ++j) {
    if (joints[j].name == name) return static_cast<int>(j);
  }
  return -1;
}

int Clip::owner(int c) const {
  std::size_t j = joints.size() - 1;
  while (joints[j].firstChannel > c || joints[j].channels.empty()) --j;
  return static_cast<int>(j);
}

const Channel& Clip::channel(int c) const {
  const Joint& joint = joints[static_cast<std::size_t>(owner(c))];
  return joint.channels[static_cast<std::size_t>(c - joint.firstChannel)];
}

}  // namespace limber::motion
