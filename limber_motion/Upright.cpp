#include "limber_motion/Upright.h"

#include "limber_motion/detail/CheckClip.h"

namespace limber::motion {

namespace {

int axisOf(Up up) { return static_cast<int>(up) % 3; }
double signOf(Up up) { return static_cast<int>(up) < 3 ? 1.0 : -1.0; }

// The turned point has its coordinates in the order after up, up, before up; this keeps left and right. Two
// of them change their sign if up is a negative direction.
constexpr int turns[] = {2, 0, 1};  // the k-th coordinate of a turned point is that of the axis up + turns[k]

double signOf(Up up, int k) { return k == 0 ? 1.0 : signOf(up); }

// The coordinate of a turned point that an axis of the clip becomes.
int turnedAxis(Up up, int axis) { return (axis - axisOf(up) + 4) % 3; }

double signOf(Up up, const Channel& channel) { return signOf(up, turnedAxis(up, channel.axis - 'X')); }

// Copies the frames, with other signs where the axes have other signs.
void copyFrames(const Clip& from, const Clip& channelsOf, Up up, Clip* to) {
  to->values = from.values;
  if (signOf(up) > 0.0) return;
  for (int c = 0; c < to->channels; ++c) {
    if (signOf(up, channelsOf.channel(c)) > 0.0) continue;
    for (int f = 0; f < to->frames; ++f) to->frame(f)[c] = -to->frame(f)[c];
  }
}

}  // namespace

std::string nameOf(Up up) {
  return (signOf(up) < 0.0 ? "-" : "") + std::string(1, static_cast<char>('x' + axisOf(up)));
}

Pnt3 upright(const Pnt3& point, Up up) {
  Pnt3 turned;
  Pnt3 from = point;
  for (int k = 0; k < 3; ++k) turned.v()[k] = signOf(up, k) * from.v()[(axisOf(up) + turns[k]) % 3];
  return turned;
}

Pnt3 fromUpright(const Pnt3& point, Up up) {
  Pnt3 back;
  Pnt3 from = point;
  for (int k = 0; k < 3; ++k) back.v()[(axisOf(up) + turns[k]) % 3] = signOf(up, k) * from.v()[k];
  return back;
}

Clip upright(const Clip& clip) {
  detail::checkClip(clip);
  Clip turned = clip;
  turned.text = nullptr;
  turned.up = Up::Y;
  for (Joint& joint : turned.joints) {
    joint.offset = upright(joint.offset, clip.up);
    for (Channel& channel : joint.channels)
      channel.axis = static_cast<char>('X' + turnedAxis(clip.up, channel.axis - 'X'));
  }
  copyFrames(clip, clip, clip.up, &turned);
  return turned;
}

void takeFrames(const Clip& turned, Clip* clip) { copyFrames(turned, *clip, clip->up, clip); }

}  // namespace limber::motion
