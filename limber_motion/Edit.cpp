#include "limber_motion/Edit.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "limber_motion/Error.h"
#include "limber_motion/Quality.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/Motion.h"

namespace limber::motion {

namespace {

constexpr double unchanged = 1e-9;  // radians or heights: less is no change at all

double secondsNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool before(const Constraint& a, const Constraint& b) {
  return a.frame != b.frame ? a.frame < b.frame : a.joint < b.joint;
}

std::string nameOf(const Clip& clip, int joint) { return clip.joints[static_cast<std::size_t>(joint)].name; }

void checkClip(const Clip& clip) {
  if (clip.frames < 1) throw Error("the clip has no frames");
  for (int f = 0; f < clip.frames; f++) {
    for (int c = 0; c < clip.channels; c++) {
      if (std::isfinite(clip.frame(f)[c])) continue;
      throw Error("frame " + std::to_string(f + 1) + " of the clip has a channel of " +
                  nameOf(clip, clip.owner(c)) + " that is not a finite number");
    }
  }
  if (!(Skeleton(clip).height() > 0.0))
    throw Error("the skeleton has no extent: all its bones have length zero");
}

/// The runs of consecutive frames in which a joint is held, ordered by joint and frame.
std::vector<Stand> runsOf(std::vector<Constraint> wishes) {
  std::sort(wishes.begin(), wishes.end(), [](const Constraint& a, const Constraint& b) {
    return a.joint != b.joint ? a.joint < b.joint : a.frame < b.frame;
  });
  std::vector<Stand> runs;
  for (const Constraint& wish : wishes) {
    if (wish.weight < 1.0) continue;
    if (!runs.empty() && runs.back().joint == wish.joint && runs.back().end == wish.frame) {
      runs.back().end++;
    } else {
      runs.push_back({wish.joint, wish.frame, wish.frame + 1});
    }
  }
  return runs;
}

}  // namespace

Edit::Edit(Clip& clip, EditOptions options) : clip_(clip), options_(std::move(options)) { checkClip(clip); }

void Edit::plant(const Contacts& contacts) {
  feet_ = contacts;
  planted_ = true;
  plants_ = constraintsOf(contacts);
}

void Edit::reach(int frame, int joint, const Pnt3& point, double weight) {
  if (joint < 0 || joint >= static_cast<int>(clip_.joints.size())) {
    throw Error("there is no joint " + std::to_string(joint) + " in the clip");
  }
  const std::string name = nameOf(clip_, joint);
  if (frame < 0 || frame >= clip_.frames) {
    throw Error(name + " cannot reach for a point in frame " + std::to_string(frame + 1) + " of a clip of " +
                std::to_string(clip_.frames) + " frames");
  }
  if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z) || !(weight >= 0.0)) {
    throw Error("the target of " + name + " in frame " + std::to_string(frame + 1) +
                " is not a finite point");
  }
  wishes_.push_back({frame, joint, point, weight});
}

void Edit::add(const std::vector<Constraint>& constraints) {
  for (const Constraint& c : constraints) reach(c.frame, c.joint, c.target, c.weight);
}

Report Edit::solve() {
  const double begun = secondsNow();
  const Skeleton skeleton(clip_);
  Report report;
  report.height = skeleton.height();
  report.goal = options_.goal;
  if (!planted_) feet_ = findContacts(clip_);

  std::vector<Constraint> wishes = plants_;
  std::stable_sort(wishes_.begin(), wishes_.end(), before);
  for (std::size_t i = 1; i < wishes_.size(); i++) {
    if (before(wishes_[i - 1], wishes_[i])) continue;
    throw Error("two targets for " + nameOf(clip_, wishes_[i].joint) + " in frame " +
                std::to_string(wishes_[i].frame + 1));
  }
  wishes.insert(wishes.end(), wishes_.begin(), wishes_.end());
  sortByFrame(&wishes);

  const Clip original = clip_;
  Clip continuous = clip_;
  unwrapAngles(&continuous);
  const detail::Floor floor = {feet_.feet, feet_.ground};
  detail::Motion motion(continuous, skeleton, wishes, floor, options_);
  report.missBefore = motion.largestMiss();
  motion.run();
  report.steps = motion.steps();

  // What has not changed keeps its digits.
  std::vector<bool> changed(static_cast<std::size_t>(clip_.frames), false);
  Clip edited = motion.clip();
  wrapAngles(&edited, original);
  for (int f = 0; f < clip_.frames; f++) {
    for (int c = 0; c < clip_.channels; c++) {
      const double by = std::fabs(motion.clip().frame(f)[c] - continuous.frame(f)[c]);
      const bool rotation = skeleton.isRotation(c);
      if (by <= (rotation ? unchanged : unchanged * report.height)) continue;
      clip_.frame(f)[c] = edited.frame(f)[c];
      changed[static_cast<std::size_t>(f)] = true;
      if (!rotation || by <= report.turn) continue;
      report.turn = by;
      report.turnJoint = nameOf(clip_, skeleton.owner(c));
      report.turnFrame = f + 1;
    }
  }
  report.framesChanged = static_cast<int>(std::count(changed.begin(), changed.end(), true));

  int worst = -1;
  report.missAfter = motion.largestMiss(&worst);
  if (worst >= 0) {
    report.missJoint = nameOf(clip_, wishes[static_cast<std::size_t>(worst)].joint);
    report.missFrame = wishes[static_cast<std::size_t>(worst)].frame + 1;
  }
  const std::vector<Stand> runs = runsOf(wishes);
  const Quality quality = measureQuality(original, clip_, runs, feet_.ground);
  report.contacts = quality.stands;
  report.heldFrames = quality.standingFrames;
  report.skateBefore = quality.skateBefore;
  report.skateAfter = quality.skateAfter;
  report.fastestBefore = quality.fastestBefore;
  report.fastestAfter = quality.fastestAfter;
  report.edgeJerk = quality.edgeJerk;
  report.largestEdgeJerk = quality.largestEdgeJerk;
  report.bodyJerk = quality.bodyJerk;
  report.belowBefore = quality.belowBefore;
  report.belowAfter = quality.belowAfter;
  if (!motion.stopped().empty()) report.reasons.push_back(motion.stopped());
  report.met = report.missAfter <= options_.goal && report.reasons.empty();
  report.seconds = secondsNow() - begun;
  return report;
}

}  // namespace limber::motion
