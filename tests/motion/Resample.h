#pragma once

#include <algorithm>
#include <cmath>

#include "limber_motion/Clip.h"

/// The clip at another frame rate: a cubic through the four frames around each new one (Catmull and Rom
/// 1974), over continuous angles. The duration is the same up to a fraction of a new frame.
inline limber::motion::Clip resampled(limber::motion::Clip clip, double framesPerSecond) {
  limber::motion::unwrapAngles(&clip);
  limber::motion::Clip out = clip;
  out.text = nullptr;
  out.frameTime = 1.0 / framesPerSecond;
  const double seconds = (clip.frames - 1) * clip.frameTime;
  out.frames = static_cast<int>(seconds * framesPerSecond + 1e-6) + 1;
  out.values.resize(static_cast<std::size_t>(out.frames) * static_cast<std::size_t>(out.channels));
  for (int f = 0; f < out.frames; ++f) {
    const double at = f * out.frameTime / clip.frameTime;
    const int i = std::min(static_cast<int>(at), clip.frames - 1);
    const double u = at - i;
    const auto frame = [&](int k) { return clip.frame(std::clamp(k, 0, clip.frames - 1)); };
    for (int c = 0; c < clip.channels; ++c) {
      const double p0 = frame(i - 1)[c], p1 = frame(i)[c], p2 = frame(i + 1)[c], p3 = frame(i + 2)[c];
      out.frame(f)[c] =
          p1 + 0.5 * u * (p2 - p0 + u * (2 * p0 - 5 * p1 + 4 * p2 - p3 + u * (3 * (p1 - p2) + p3 - p0)));
    }
  }
  return out;
}
