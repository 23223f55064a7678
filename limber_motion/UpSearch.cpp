// Finds the axis that points up in a clip.

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <vector>

#include "limber_motion/Quality.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/Upright.h"
#include "limber_motion/detail/Body.h"
#include "limber_motion/detail/CheckClip.h"

namespace limber::motion {

namespace {

constexpr int mostSamples = 100;     // frames in which the body's direction is looked at
constexpr double alongAxis = 0.8;    // cosine: a direction that is nearer to an axis is along it
constexpr double oftenEnough = 0.2;  // fraction of the frames: a body that stands so often along y has y up
constexpr double alike = 0.1;        // relative difference of the lengths of two legs
constexpr double nearOrigin = 0.1;   // heights: the ground of most clips is at 0
constexpr double farEnough = 0.5;    // heights: a body that goes further across its axis walks
constexpr double groundAtOrigin = 0.5, walking = 0.5,
                 margin = 0.25;  // evidence; the other kinds count up to 1

std::size_t index(int j) { return static_cast<std::size_t>(j); }

// The parts of a skeleton that show whether it stands: the ends of its legs and the joints of its trunk.
struct Body {
  std::vector<int> legEnds, trunk;
};

// A subtree that hangs on the hips.
struct Limb {
  std::vector<int> joints;
  int end = -1;  // the joint furthest along the bones
  double length = 0.0;
};

// The limbs of the first joint from the root on that has several.
std::vector<Limb> limbsOf(const Clip& clip) {
  const int n = static_cast<int>(clip.joints.size());
  std::vector<int> children(index(n), 0);
  for (int j = 1; j < n; ++j) children[index(clip.joints[index(j)].parent)] += !clip.joints[index(j)].endSite;
  int hips = 0;
  while (hips < n && children[index(hips)] < 2) ++hips;
  std::vector<Limb> limbs;
  std::vector<int> limbOf(index(n), -1);
  std::vector<double> way(index(n), 0.0);
  for (int j = hips + 1; j < n; ++j) {
    const Joint& joint = clip.joints[index(j)];
    if (joint.parent == hips) {
      limbOf[index(j)] = static_cast<int>(limbs.size());
      limbs.emplace_back();
    } else {
      limbOf[index(j)] = limbOf[index(joint.parent)];
    }
    if (limbOf[index(j)] < 0) continue;
    Limb& limb = limbs[index(limbOf[index(j)])];
    way[index(j)] = joint.parent == hips ? 0.0 : way[index(joint.parent)] + joint.offset.length();
    limb.joints.push_back(j);
    if (limb.end < 0 || way[index(j)] > limb.length) limb.end = j;
    limb.length = std::max(limb.length, way[index(j)]);
  }
  return limbs;
}

// The legs are the longest two limbs of the same length. The trunk is the one of the other limbs that has the
// most joints.
std::optional<Body> findBody(const Clip& clip) {
  const std::vector<Limb> limbs = limbsOf(clip);
  const Limb *left = nullptr, *right = nullptr, *trunk = nullptr;
  for (const Limb& a : limbs) {
    for (const Limb& b : limbs) {
      const bool pair = &a < &b && a.joints.size() == b.joints.size() &&
                        std::fabs(a.length - b.length) <= alike * std::max(a.length, b.length);
      if (!pair || (left && a.length <= left->length)) continue;
      left = &a;
      right = &b;
    }
  }
  if (!left || !(left->length > 0.0)) return std::nullopt;
  for (const Limb& limb : limbs) {
    if (&limb == left || &limb == right) continue;
    if (!trunk || limb.joints.size() > trunk->joints.size()) trunk = &limb;
  }
  if (!trunk || trunk->joints.size() <= left->joints.size()) return std::nullopt;
  return Body{{left->end, right->end}, trunk->joints};
}

Pnt3 mean(const std::vector<int>& joints, const std::vector<Pnt3>& at) {
  Pnt3 sum;
  for (const int j : joints) sum += at[index(j)];
  return sum * (1.0 / static_cast<double>(joints.size()));
}

// The axis along which the body stands in a pose, if there is one.
std::optional<Up> standsAlong(const Body& body, const std::vector<Pnt3>& at) {
  const Pnt3 way = mean(body.trunk, at) - mean(body.legEnds, at);
  for (int axis = 0; axis < 3; ++axis) {
    if (!(std::fabs(way.v()[axis]) > alongAxis * way.length())) continue;
    return static_cast<Up>(way.v()[axis] > 0.0 ? axis : axis + 3);
  }
  return std::nullopt;
}

// For each axis, the fraction of the frames in which the body stands along it.
std::map<Up, double> sharesOf(const Clip& clip, const Body& body) {
  const Skeleton skeleton(clip);
  const int samples = std::min(clip.frames, mostSamples);
  std::map<Up, double> shares;
  for (int i = 0; i < samples; ++i) {
    const int frame = static_cast<int>(static_cast<long long>(i) * clip.frames / samples);
    const std::optional<Up> up = standsAlong(body, skeleton.positions(clip.frame(frame)));
    if (up) shares[*up] += 1.0 / samples;
  }
  return shares;
}

// True if a joint of the body goes some way across an axis, and less along it: it walks, and does not lie.
bool goesAcross(const Clip& clip, int joint, Up up) {
  const Skeleton skeleton(clip);
  Pnt3 low, high;
  for (int f = 0; f < clip.frames; ++f) {
    const Pnt3 at = upright(skeleton.position(joint, clip.frame(f)), up);
    if (f == 0) low = high = at;
    low.includeMin(at);
    high.includeMax(at);
  }
  const Pnt3 way = high - low;
  return std::max(way.x, way.z) > std::max(way.y, farEnough * skeleton.height());
}

// The frames in which something stands if `up` is up, and whether the ground is near the origin then.
struct Ground {
  int frames = 0;
  bool atOrigin = false;
};

Ground groundFor(const Clip& clip, Up up) {
  Clip other = clip;
  other.up = up;
  const Clip turned = upright(other);
  double height = 0.0;
  Ground ground;
  for (const Stand& stand : findStands(turned, &height)) ground.frames += stand.end - stand.first;
  ground.atOrigin = std::fabs(height) <= nearOrigin * Skeleton(turned).height();
  return ground;
}

}  // namespace

Up findUp(const Clip& clip) {
  detail::checkClip(clip);
  const std::optional<Body> body = findBody(clip);
  std::map<Up, double> evidence = body ? sharesOf(clip, *body) : std::map<Up, double>();
  if (evidence[Up::Y] >= oftenEnough) return Up::Y;
  evidence[Up::Z] += 0.0;  // the other usual axis
  for (auto& [up, sum] : evidence) {
    if (sum > 0.5 && goesAcross(clip, body->trunk.front(), up)) sum += walking;
  }
  const std::optional<Up> rest = body ? standsAlong(*body, detail::restPose(clip.joints)) : std::nullopt;
  if (rest) evidence[*rest] += 1.0;
  Up best = Up::Y;
  for (auto& [up, sum] : evidence) {
    const Ground ground = groundFor(clip, up);
    sum += std::min(1.0, static_cast<double>(ground.frames) / clip.frames);
    sum += ground.atOrigin ? groundAtOrigin : 0.0;
  }
  for (const auto& [up, sum] : evidence) {
    if (sum > evidence[best] + (best == Up::Y ? margin : 0.0)) best = up;
  }
  return best;
}

}  // namespace limber::motion
