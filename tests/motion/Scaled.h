#pragma once

#include "limber_motion/motion.h"

/// The clip in another unit of length.
inline limber::motion::Clip scaled(limber::motion::Clip clip, double factor) {
  for (limber::motion::Joint& joint : clip.joints) joint.offset *= factor;
  for (int c = 0; c < clip.channels; ++c) {
    if (clip.channel(c).rotation) continue;
    for (int f = 0; f < clip.frames; ++f) clip.frame(f)[c] *= factor;
  }
  clip.text = nullptr;
  return clip;
}
