#include "limber_motion/detail/Body.h"

#include <algorithm>
#include <cmath>

#include "limber_motion/Upright.h"

namespace limber::motion::detail {

namespace {

constexpr double flat = 0.3;     // the vertical extent of a skeleton that stands, relative to its largest one
constexpr double folded = 1.5;   // a body that is so much taller in motion has a folded rest pose
constexpr int mostSamples = 21;  // frames in which the height in motion is looked at

// True if a position channel of the joint changes.
bool travels(const Clip& clip, const Joint& joint) {
  for (std::size_t k = 0; k < joint.channels.size(); ++k) {
    const int c = joint.firstChannel + static_cast<int>(k);
    for (int f = 1; f < clip.frames && !joint.channels[k].rotation; ++f)
      if (clip.frame(f)[c] != clip.frame(0)[c]) return true;
  }
  return false;
}

// The only child of a joint below which there are bones, or -1 if there are none or several.
int onlyLimb(const Clip& clip, int joint) {
  std::vector<int> limbOf(clip.joints.size(), -1);
  int limb = -1;
  for (std::size_t j = static_cast<std::size_t>(joint) + 1; j < clip.joints.size(); ++j) {
    const Joint& one = clip.joints[j];
    if (one.parent == joint) limbOf[j] = static_cast<int>(j);
    if (one.parent <= joint) continue;
    limbOf[j] = limbOf[static_cast<std::size_t>(one.parent)];
    if (limbOf[j] < 0 || one.offset == Pnt3()) continue;
    if (limb >= 0 && limb != limbOf[j]) return -1;
    limb = limbOf[j];
  }
  return limb;
}

// The extents of the joints that count, with y up.
Pnt3 extents(const std::vector<Pnt3>& at, const std::vector<bool>& counts, Up up) {
  Pnt3 low, high;
  bool any = false;
  for (std::size_t j = 0; j < at.size(); ++j) {
    if (!counts[j]) continue;
    const Pnt3 p = upright(at[j], up);
    if (!any) low = high = p;
    any = true;
    low.includeMin(p);
    high.includeMax(p);
  }
  return high - low;
}

// The vertical extent, or the largest one if the skeleton rather lies.
double heightOf(const Pnt3& size) {
  const double largest = std::max({size.x, size.y, size.z});
  return size.y >= flat * largest ? size.y : largest;
}

// For each joint, true if it is the carrier or hangs on it.
std::vector<bool> bodyOf(const Clip& clip, int carrier) {
  std::vector<bool> body(clip.joints.size(), false);
  body[static_cast<std::size_t>(carrier)] = true;
  for (std::size_t j = static_cast<std::size_t>(carrier) + 1; j < body.size(); ++j)
    body[j] = body[static_cast<std::size_t>(clip.joints[j].parent)];
  return body;
}

}  // namespace

std::vector<Pnt3> restPose(const std::vector<Joint>& joints) {
  std::vector<Pnt3> at;
  at.reserve(joints.size());
  for (const Joint& joint : joints) {
    at.push_back(joint.parent < 0 ? joint.offset : at[static_cast<std::size_t>(joint.parent)] + joint.offset);
  }
  return at;
}

int carrierOf(const Clip& clip) {
  for (int j = 0; j >= 0 && j < static_cast<int>(clip.joints.size()); j = onlyLimb(clip, j))
    if (travels(clip, clip.joints[static_cast<std::size_t>(j)])) return j;
  return 0;
}

double bodyHeight(const Clip& clip, const Skeleton& skeleton) {
  if (clip.joints.empty()) return 0.0;
  const std::vector<bool> body = bodyOf(clip, skeleton.carrier());
  const auto sizeIn = [&](int f) { return extents(skeleton.positions(clip.frame(f)), body, clip.up); };
  const double rest = heightOf(extents(restPose(clip.joints), body, clip.up));
  if (clip.frames == 0) return rest;
  std::vector<double> heights;
  const int samples = std::min(clip.frames, mostSamples);
  for (int i = 0; i < samples; ++i) {
    const double height = sizeIn(static_cast<int>(static_cast<long long>(i) * clip.frames / samples)).y;
    heights.push_back(std::isfinite(height) ? height : 0.0);
  }
  const auto usual = heights.begin() + samples / 2;
  std::nth_element(heights.begin(), usual, heights.end());
  if (*usual > folded * rest) return *usual;
  return rest > 0.0 ? rest : heightOf(sizeIn(0));
}

}  // namespace limber::motion::detail
