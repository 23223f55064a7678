#include "limber_motion/Quality.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>

#include "limber_motion/Error.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/Upright.h"
#include "limber_motion/detail/Jerk.h"
#include "limber_motion/detail/Places.h"

namespace limber::motion {

namespace {

using detail::Places;

// The number of frames in a time, rounded to the nearest integer (halves to the even one).
int framesIn(double seconds, const Clip& clip) {
  return static_cast<int>(std::nearbyint(std::min(seconds / clip.frameTime, 1e8)));
}

std::vector<int> footJoints(const Clip& clip) {
  std::vector<int> feet;
  for (std::size_t j = 0; j < clip.joints.size(); ++j) {
    if (!clip.joints[j].endSite) continue;
    feet.push_back(static_cast<int>(j));
    if (clip.joints[j].parent >= 0) feet.push_back(clip.joints[j].parent);
  }
  std::sort(feet.begin(), feet.end());
  feet.erase(std::unique(feet.begin(), feet.end()), feet.end());
  return feet;
}

double lowPlace(const Clip& clip, const Places& places, int joint) {
  std::vector<double> heights;
  for (int f = clip.frames > 1 ? 1 : 0; f < clip.frames; ++f) heights.push_back(places.at(joint, f).y);
  const auto low = heights.begin() + (clip.frames - 1) / 20;
  std::nth_element(heights.begin(), low, heights.end());
  return *low;
}

std::vector<Stand> standsOf(const Clip& clip, const Places& places, double* ground) {
  const int half = std::max(1, framesIn(0.025, clip)), least = std::max(2, framesIn(0.1, clip));
  const int gap = framesIn(0.05, clip);
  const std::vector<int> feet = footJoints(clip);
  std::vector<double> low;
  *ground = std::numeric_limits<double>::infinity();
  for (const int j : feet) {
    low.push_back(lowPlace(clip, places, j));
    *ground = std::min(*ground, low.back());
  }
  std::vector<Stand> stands;
  for (std::size_t i = 0; i < feet.size(); ++i) {
    if (low[i] > *ground + 0.1) continue;
    const int j = feet[i];
    const auto rests = [&](int f) {
      const int a = std::max(f - half, 0), b = std::min(f + half, clip.frames - 1);
      const double seconds = std::max((b - a) * clip.frameTime, 1e-9);
      return places.at(j, f).y < low[i] + 0.05 &&
             (places.at(j, b) - places.at(j, a)).length() / seconds < 0.1;
    };
    std::vector<Stand> runs;
    for (int f = 0; f < clip.frames; ++f) {
      if (!rests(f)) continue;
      if (!runs.empty() && f - runs.back().end <= gap) {
        runs.back().end = f + 1;
      } else {
        runs.push_back({j, f, f + 1});
      }
    }
    for (const Stand& run : runs) {
      if (run.end - run.first >= least) stands.push_back(run);
    }
  }
  return stands;
}

// The mean and the largest horizontal speed in the stands.
void measureSkate(const Places& places, const std::vector<Stand>& stands, double dt, double* mean,
                  double* fastest) {
  double sum = 0.0;
  int count = 0;
  for (const Stand& stand : stands) {
    for (int f = stand.first; f + 1 < stand.end; ++f, ++count) {
      const Pnt3 step = places.at(stand.joint, f + 1) - places.at(stand.joint, f);
      const double speed = std::hypot(step.x, step.z) / dt;
      sum += speed;
      *fastest = std::max(*fastest, speed);
    }
  }
  *mean = count ? sum / count : 0.0;
}

double wander(const Places& places, const std::vector<Stand>& stands) {
  double farthest = 0.0;
  for (const Stand& stand : stands) {
    Pnt3 mean;
    for (int f = stand.first; f < stand.end; ++f) mean += places.at(stand.joint, f);
    mean *= 1.0 / (stand.end - stand.first);
    for (int f = stand.first; f < stand.end; ++f) {
      farthest = std::max(farthest, (places.at(stand.joint, f) - mean).length());
    }
  }
  return farthest;
}

double below(const Clip& clip, const Places& places, const std::vector<Stand>& stands, double ground) {
  double deepest = 0.0;
  std::set<int> joints;
  for (const Stand& stand : stands) joints.insert(stand.joint);
  for (const int j : joints) {
    for (int f = 0; f < clip.frames; ++f) deepest = std::max(deepest, ground - places.at(j, f).y);
  }
  return deepest;
}

void measureJerk(const Clip& clip, const Places& before, const Places& after,
                 const std::vector<Stand>& stands, Quality* quality) {
  double sum = 0.0;
  const std::vector<detail::EndJerk> ends = detail::endJerks(before, after, stands, clip.frameTime);
  for (const detail::EndJerk& end : ends) {
    sum += end.ratio;
    quality->largestEdgeJerk = std::max(quality->largestEdgeJerk, end.ratio);
  }
  quality->edgeJerk = ends.empty() ? 0.0 : sum / static_cast<double>(ends.size());
  const double jerk = detail::squaredJerk(after);
  quality->bodyJerk = jerk > 0.0 ? std::sqrt(jerk / detail::squaredJerkToKeep(before, clip.frameTime)) : 0.0;
}

double largestTurn(const Clip& before, const Clip& after) {
  double turn = 0.0;
  for (int c = 0; c < before.channels; ++c) {
    if (!before.channel(c).rotation) continue;
    for (int f = 0; f < before.frames; ++f) {
      const double change = after.frame(f)[c] - before.frame(f)[c];
      turn = std::max(turn, std::fabs(std::remainder(change, 2.0 * 3.14159265358979323846)));
    }
  }
  return turn;
}

}  // namespace

std::vector<Stand> findStands(const Clip& original, double* ground) {
  if (original.frames < 1) throw Error("the clip has no frames");
  const Clip clip = upright(original);
  const Skeleton skeleton(clip);
  double lowest = 0.0;
  const std::vector<Stand> stands = standsOf(clip, Places(clip, skeleton), &lowest);
  if (ground) *ground = lowest * skeleton.height();
  return stands;
}

Quality measureQuality(const Clip& original, const Clip& edited, const std::vector<Stand>& stands,
                       double ground) {
  const Clip before = upright(original);
  Clip after = edited;
  after.up = original.up;
  after = upright(after);
  if (before.frames != after.frames || before.joints.size() != after.joints.size() ||
      before.channels != after.channels) {
    throw Error("the clips to compare differ in joints or frames");
  }
  for (const Stand& s : stands) {
    const bool jointFits = s.joint >= 0 && s.joint < static_cast<int>(before.joints.size());
    if (!jointFits || s.first < 0 || s.end <= s.first || s.end > before.frames)
      throw Error("a stand is not within the clip");
  }
  const Skeleton skeleton(before);
  const Places was(before, skeleton), is(after, skeleton);
  const double height = skeleton.height() > 0.0 ? skeleton.height() : 1.0;
  Quality quality;
  quality.stands = static_cast<int>(stands.size());
  for (const Stand& stand : stands) quality.standingFrames += stand.end - stand.first;
  measureSkate(was, stands, before.frameTime, &quality.skateBefore, &quality.fastestBefore);
  measureSkate(is, stands, before.frameTime, &quality.skateAfter, &quality.fastestAfter);
  quality.wanderBefore = wander(was, stands);
  quality.wanderAfter = wander(is, stands);
  measureJerk(before, was, is, stands, &quality);
  quality.belowBefore = below(before, was, stands, ground / height);
  quality.belowAfter = below(before, is, stands, ground / height);
  quality.turn = largestTurn(before, after);
  return quality;
}

Quality measureQuality(const Clip& before, const Clip& after) {
  double ground = 0.0;
  const std::vector<Stand> stands = findStands(before, &ground);
  return measureQuality(before, after, stands, ground);
}

}  // namespace limber::motion
