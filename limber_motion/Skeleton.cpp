#include "limber_motion/Skeleton.h"

#include <algorithm>
#include <cmath>

#include "limber/linalg/SpVec.h"
#include "limber_motion/detail/Body.h"
#include "limber_motion/detail/CheckClip.h"

namespace limber::motion {

namespace {

// A joint's axes in world coordinates: the images of x, y and z.
struct Axes {
  Pnt3 of[3] = {Pnt3(1, 0, 0), Pnt3(0, 1, 0), Pnt3(0, 0, 1)};

  Pnt3 image(const Pnt3& p) const { return of[0] * p.x + of[1] * p.y + of[2] * p.z; }
  // Multiplies the axes by a rotation by `angle` about their axis `k`, which turns the other two in their
  // plane.
  void turn(int k, double angle) {
    const double c = std::cos(angle), s = std::sin(angle);
    Pnt3 &a = of[(k + 1) % 3], &b = of[(k + 2) % 3];
    const Pnt3 before = a;
    a = a * c + b * s;
    b = b * c - before * s;
  }
};

}  // namespace

Skeleton::Skeleton(const Clip& clip) {
  detail::checkClip(clip);
  for (std::size_t j = 0; j < clip.joints.size(); ++j) {
    const Joint& joint = clip.joints[j];
    const int last = joint.firstChannel + static_cast<int>(joint.channels.size());
    Part part = {joint.parent, joint.firstChannel, last, joint.offset, {}};
    if (joint.parent >= 0) part.chain = joints_[static_cast<std::size_t>(joint.parent)].chain;
    for (int c = part.firstChannel; c < last; ++c) part.chain.push_back(c);
    for (const Channel& c : joint.channels)
      channels_.push_back({static_cast<int>(j), c.axis - 'X', c.rotation});
    joints_.push_back(part);
  }
  carrier_ = detail::carrierOf(clip);
  height_ = detail::bodyHeight(clip, *this);
}

void Skeleton::pose(const double* frame, Pose* out) const {
  std::vector<Axes> axes(joints_.size());
  out->position.resize(joints_.size());
  out->axis.resize(channels_.size());
  for (std::size_t j = 0; j < joints_.size(); ++j) {
    const Part& joint = joints_[j];
    const std::size_t up = static_cast<std::size_t>(std::max(joint.parent, 0));
    const Axes parent = joint.parent < 0 ? Axes() : axes[up];
    Axes own = parent;
    Pnt3 place = joint.offset;
    for (int c = joint.firstChannel; c < joint.lastChannel; ++c) {
      const Motion& channel = channels_[static_cast<std::size_t>(c)];
      Pnt3& axis = out->axis[static_cast<std::size_t>(c)];
      if (channel.rotation) {
        axis = own.of[channel.axis];
        own.turn(channel.axis, frame[c]);
      } else {
        axis = parent.of[channel.axis];
        place.v()[channel.axis] = frame[c];
      }
    }
    axes[j] = own;
    out->position[j] = joint.parent < 0 ? place : out->position[up] + parent.image(place);
  }
}

Pnt3 Skeleton::derivative(const Pose& pose, int joint, int channel) const {
  const Motion& moved = channels_[static_cast<std::size_t>(channel)];
  const Pnt3& axis = pose.axis[static_cast<std::size_t>(channel)];
  if (!moved.rotation) return axis;
  return axis * (pose.position[static_cast<std::size_t>(joint)] -
                 pose.position[static_cast<std::size_t>(moved.joint)]);
}

std::vector<Pnt3> Skeleton::positions(const double* frame) const {
  Pose now;
  pose(frame, &now);
  return now.position;
}

// Goes from the joint up to the root; p is the position in the axes of joint j.
Pnt3 Skeleton::position(int last, const double* frame) const {
  Pnt3 p;
  for (int j = last; j >= 0; j = joints_[static_cast<std::size_t>(j)].parent) {
    const Part& joint = joints_[static_cast<std::size_t>(j)];
    Axes turned;
    Pnt3 place = joint.offset;
    for (int c = joint.firstChannel; c < joint.lastChannel; ++c) {
      const Motion& channel = channels_[static_cast<std::size_t>(c)];
      if (channel.rotation) {
        turned.turn(channel.axis, frame[c]);
      } else {
        place.v()[channel.axis] = frame[c];
      }
    }
    p = place + turned.image(p);
  }
  return p;
}

Pnt3 Skeleton::position(int joint, const double* frame, SpVec rows[3]) const {
  Pose now;
  pose(frame, &now);
  for (int i = 0; i < 3; ++i) rows[i].zero();
  for (const int c : chain(joint)) {
    const Pnt3 slope = derivative(now, joint, c);
    for (int i = 0; i < 3; ++i) rows[i].insEnd(slope.v()[i], c);
  }
  return now.position[static_cast<std::size_t>(joint)];
}

}  // namespace limber::motion
