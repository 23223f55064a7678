// Foot plants by height and speed.

#include <algorithm>
#include <limits>

#include "foot_plants.h"

namespace {

/// The track of one joint through the clip.
std::vector<Pnt3> track(const Clip& clip, const Skeleton& skeleton, int joint) {
  std::vector<Pnt3> at;
  for (int f = 0; f < clip.frames; f++) at.push_back(skeleton.position(joint, clip.frame(f)));
  return at;
}

double lowest(const std::vector<Pnt3>& at) {
  double y = std::numeric_limits<double>::infinity();
  for (const Pnt3& p : at) y = std::min(y, p.y);
  return y;
}

}  // namespace

std::vector<Constraint> findFootPlants(const Clip& clip, const Skeleton& skeleton, int shortest, int every) {
  const double height = skeleton.height();
  const double low = 0.035 * height;                   // above the joint's own lowest place
  const double slow = 0.45 * height * clip.frameTime;  // in a frame: half a body's height a second
  std::vector<int> ends;
  std::vector<std::vector<Pnt3>> tracks;
  double ground = std::numeric_limits<double>::infinity();
  for (std::size_t j = 0; j < clip.joints.size(); j++) {
    if (!clip.joints[j].endSite) continue;
    ends.push_back(clip.joints[j].parent);
    tracks.push_back(track(clip, skeleton, clip.joints[j].parent));
    ground = std::min(ground, lowest(tracks.back()));
  }

  std::vector<Constraint> plants;
  for (std::size_t e = 0; e < ends.size(); e++) {
    const std::vector<Pnt3>& at = tracks[e];
    const double floor = lowest(at);
    if (floor > ground + 0.1 * height) continue;  // a hand, not a foot
    int begun = -1;
    for (int f = 0; f <= clip.frames; f++) {
      const std::size_t i = static_cast<std::size_t>(f);
      const bool rests = f + 1 < clip.frames && at[i].y < floor + low && (at[i + 1] - at[i]).length() < slow;
      if (rests && begun < 0) begun = f;
      if (rests || begun < 0) continue;
      if (f - begun >= shortest) {
        const Pnt3 where = at[static_cast<std::size_t>((begun + f) / 2)];
        for (int g = begun; g < f; g += every) plants.push_back({g, ends[e], where, 1.0});
      }
      begun = -1;
    }
  }
  limber::motion::sortByFrame(&plants);
  return plants;
}
