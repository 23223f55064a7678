#include "clip.h"

int Clip::find(const std::string& name) const {
  for (std::size_t j = 0; j < joints.size(); j++) {
    if (joints[j].name == name) return static_cast<int>(j);
  }
  return -1;
}

const Channel& Clip::channel(int c) const {
  std::size_t j = joints.size() - 1;
  while (joints[j].firstChannel > c || joints[j].channels.empty()) j--;
  return joints[j].channels[static_cast<std::size_t>(c - joints[j].firstChannel)];
}
