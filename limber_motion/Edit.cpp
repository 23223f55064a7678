#include "limber_motion/Edit.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "limber_motion/Error.h"
#include "limber_motion/Quality.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/Motion.h"
#include "limber_motion/detail/Reach.h"

namespace limber::motion {

namespace {

constexpr double longReach =
    0.25;  // seconds: what a hand does for a shorter time is a movement, not a contact
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

/// The largest distance of a joint from its target, in heights, over all that is held; where in `worst`.
double largestMiss(const std::vector<Constraint>& wishes, const Clip& clip, const Skeleton& skeleton,
                   const Constraint** worst) {
  double largest = 0.0;
  for (const Constraint& wish : wishes) {
    if (wish.weight < 1.0) continue;
    const Pnt3 at = skeleton.position(wish.joint, clip.frame(wish.frame));
    const double miss = (wish.target - at).length() / skeleton.height();
    if (miss <= largest) continue;
    largest = miss;
    if (worst) *worst = &wish;
  }
  return largest;
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

// All targets sorted by frame and joint; a reach replaces the contact's place. `rank` is 1 for reaches.
std::vector<Constraint> Edit::allWishes(std::vector<int>* rank) {
  std::stable_sort(wishes_.begin(), wishes_.end(), before);
  for (std::size_t i = 1; i < wishes_.size(); i++) {
    if (before(wishes_[i - 1], wishes_[i])) continue;
    throw Error("two targets for " + nameOf(clip_, wishes_[i].joint) + " in frame " +
                std::to_string(wishes_[i].frame + 1));
  }
  std::vector<Constraint> wishes = plants_;
  wishes.insert(wishes.end(), wishes_.begin(), wishes_.end());
  sortByFrame(&wishes);
  for (const Constraint& wish : wishes) {
    rank->push_back(std::binary_search(wishes_.begin(), wishes_.end(), wish, before) ? 1 : 0);
  }
  return wishes;
}

// What has not changed keeps its digits.
void Edit::take(const Clip& continuous, const Clip& edited, const Skeleton& skeleton, Report* report) {
  Clip wrapped = edited;
  wrapAngles(&wrapped, clip_);
  for (int f = 0; f < clip_.frames; f++) {
    bool changed = false;
    for (int c = 0; c < clip_.channels; c++) {
      const double by = std::fabs(edited.frame(f)[c] - continuous.frame(f)[c]);
      const bool rotation = skeleton.isRotation(c);
      if (by <= (rotation ? unchanged : unchanged * report->height)) continue;
      clip_.frame(f)[c] = wrapped.frame(f)[c];
      changed = true;
      if (!rotation || by <= report->turn) continue;
      report->turn = by;
      report->turnJoint = nameOf(clip_, skeleton.owner(c));
      report->turnFrame = f + 1;
    }
    report->framesChanged += changed;
  }
}

Report Edit::solve() {
  const double begun = secondsNow();
  const Skeleton skeleton(clip_);
  Report report;
  report.height = skeleton.height();
  report.goal = options_.goal;
  if (!planted_) feet_ = findContacts(clip_);
  std::vector<int> rank;
  const std::vector<Constraint> wishes = allWishes(&rank);
  if (wishes.empty()) {
    report.impossible = true;
    report.reasons.push_back(planted_ && !feet_.note.empty() ? feet_.note : "nothing is to be held");
    report.seconds = secondsNow() - begun;
    return report;
  }
  const Clip original = clip_;
  Clip continuous = clip_;
  unwrapAngles(&continuous);
  const detail::Impossible impossible =
      detail::findImpossible(clip_, wishes, rank, 2.0 * options_.goal * report.height);
  detail::Motion motion(continuous, skeleton, wishes, impossible.wishes,
                        detail::Floor(continuous, skeleton, feet_, options_.ground), options_);
  report.missBefore = largestMiss(wishes, original, skeleton, nullptr);
  motion.run();
  report.steps = motion.steps();
  take(continuous, motion.clip(), skeleton, &report);

  const Constraint* worst = nullptr;
  report.missAfter = largestMiss(wishes, clip_, skeleton, &worst);
  if (worst) {
    report.missJoint = nameOf(clip_, worst->joint);
    report.missFrame = worst->frame + 1;
  }
  measure(original, runsOf(wishes), &report);
  report.impossible = !impossible.reasons.empty();
  report.reasons = impossible.reasons;
  if (!motion.stopped().empty()) report.reasons.push_back(motion.stopped());
  report.met = report.missAfter <= options_.goal && report.reasons.empty();
  for (const GimbalLock& lock : findGimbalLock(original)) {
    report.notes.push_back(nameOf(clip_, lock.joint) + " is near gimbal lock in " +
                           std::to_string(lock.frames) + " frames, most in frame " +
                           std::to_string(lock.worst + 1));
  }
  report.seconds = secondsNow() - begun;
  return report;
}

void Edit::measure(const Clip& original, const std::vector<Stand>& runs, Report* report) const {
  std::vector<Stand> contacts;
  for (const Stand& run : runs) {
    const bool foot = std::find(feet_.feet.begin(), feet_.feet.end(), run.joint) != feet_.feet.end();
    if (foot || (run.end - run.first) * clip_.frameTime >= longReach) contacts.push_back(run);
  }
  const Quality quality = measureQuality(original, clip_, contacts, feet_.ground);
  report->contacts = quality.stands;
  report->heldFrames = quality.standingFrames;
  report->skateBefore = quality.skateBefore;
  report->skateAfter = quality.skateAfter;
  report->fastestBefore = quality.fastestBefore;
  report->fastestAfter = quality.fastestAfter;
  report->edgeJerk = quality.edgeJerk;
  report->largestEdgeJerk = quality.largestEdgeJerk;
  report->bodyJerk = quality.bodyJerk;
  std::vector<Stand> feet;
  for (const int j : feet_.feet) feet.push_back({j, 0, 1});
  const Quality ofFeet = measureQuality(original, clip_, feet, feet_.ground);
  report->belowBefore = ofFeet.belowBefore;
  report->belowAfter = ofFeet.belowAfter;
}

}  // namespace limber::motion
