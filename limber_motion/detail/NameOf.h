#pragma once

#include <string>

#include "limber_motion/Clip.h"

namespace limber::motion::detail {

/// The name of a joint of a clip.
inline std::string nameOf(const Clip& clip, int joint) {
  return clip.joints[static_cast<std::size_t>(joint)].name;
}

}  // namespace limber::motion::detail
