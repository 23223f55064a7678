#include "limber_motion/Edit.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "limber_motion/Error.h"
#include "limber_motion/Quality.h"
#include "limber_motion/Skeleton.h"
#include "limber_motion/detail/GivingUp.h"
#include "limber_motion/detail/Motion.h"
#include "limber_motion/detail/Reach.h"
#include "limber_motion/detail/Reasons.h"

namespace limber::motion {

namespace {

constexpr double longReach =
    0.25;  // seconds: if a hand is held for a shorter time, that is a movement and not a contact
constexpr double smoothEdge = 3.0, smoothBody = 1.7;  // largest ratios of jerk that look smooth
constexpr double rounding = 1e-6;                     // heights: rounding of the lengths of bones
constexpr double unchanged = 1e-9;                    // radians or heights: a smaller change is none

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

/// The distances of the held joints from their targets, in heights.
struct Misses {
  Misses(const std::vector<Constraint>& wishes, const Clip& clip, const Skeleton& skeleton) {
    Pose pose;
    for (std::size_t i = 0; i < wishes.size(); i++) {
      const Constraint& wish = wishes[i];
      if (i == 0 || wish.frame != wishes[i - 1].frame) skeleton.pose(clip.frame(wish.frame), &pose);
      const Pnt3 at = pose.position[static_cast<std::size_t>(wish.joint)];
      each.push_back(wish.weight < 1.0 ? 0.0 : (wish.target - at).length() / skeleton.height());
      if (!(each[i] > largest)) continue;
      largest = each[i];
      worst = &wish;
    }
  }

  std::vector<double> each;  // one per constraint; 0 for those that only pull
  double largest = 0.0;
  const Constraint* worst = nullptr;
};

bool isSmooth(const Quality& quality) {
  return quality.largestEdgeJerk <= smoothEdge && quality.bodyJerk <= smoothBody;
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

void Edit::hold(int first, int last, int joint) {
  const bool exists = joint >= 0 && joint < static_cast<int>(clip_.joints.size());
  const bool inClip = first >= 0 && first < clip_.frames;
  const Pnt3 place = exists && inClip ? Skeleton(clip_).position(joint, clip_.frame(first)) : Pnt3();
  for (int f = first; f <= last; f++) reach(f, joint, place);
}

void Edit::add(const std::vector<Constraint>& constraints) {
  for (const Constraint& c : constraints) reach(c.frame, c.joint, c.target, c.weight);
}

// All constraints, sorted by frame and joint. Those of the user replace those of contacts. `rank` is 1 for
// constraints of the user, 0 for contacts.
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

// Copies the changed channels to the clip; the others keep their exact values.
void Edit::take(const Clip& continuous, const Clip& edited, const Skeleton& skeleton, Report* report) {
  Clip wrapped = edited;
  wrapAngles(&wrapped, clip_);
  report->turn = 0.0;
  report->framesChanged = 0;
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
      detail::ReachCheck(clip_, skeleton, wishes, rank, feet_.feet,
                         std::max(2.0 * options_.goal, rounding) * report.height)
          .find();
  const detail::Floor floor(continuous, skeleton, feet_, options_.ground);
  report.missBefore = Misses(wishes, original, skeleton).largest;
  detail::GivingUp givingUp(wishes, rank, impossible.wishes);
  detail::Hindrance hindrance = detail::Hindrance::Steps;
  bool again = true, interrupted = false;
  while (again) {
    detail::Motion motion(continuous, skeleton, impossible.aims, rank, givingUp.wishes(), givingUp.pull(),
                          floor, options_);
    motion.run();
    report.steps = motion.steps();
    clip_ = original;
    take(continuous, motion.clip(), skeleton, &report);
    const Misses misses(wishes, clip_, skeleton);
    report.missAfter = misses.largest;
    if (misses.worst) {
      report.missJoint = nameOf(clip_, misses.worst->joint);
      report.missFrame = misses.worst->frame + 1;
    }
    report.met = report.missAfter <= options_.goal && impossible.reasons.empty() && !motion.interrupted();
    interrupted = motion.interrupted();
    if (report.met || interrupted) break;
    if (motion.turnedTooFar()) hindrance = detail::Hindrance::Turn;
    if (motion.givenUp() != givingUp.wishes() && !motion.turnedTooFar()) hindrance = detail::Hindrance::Jump;
    std::vector<bool> missed = motion.givenUp();
    const bool smooth = isSmooth(measureQuality(original, clip_));
    for (std::size_t i = 0; i < missed.size() && !smooth; i++) {
      missed[i] = missed[i] || misses.each[i] > options_.goal;
    }
    again = givingUp.tryAgain(smooth, missed);
  }
  measure(original, detail::runsOf(wishes), &report);
  if (!report.met) {
    report.reasons = impossible.reasons;
    for (const std::string& r : detail::feetThatNeverLeave(wishes, original, skeleton))
      report.reasons.push_back(r);
    report.impossible = !report.reasons.empty();
    if (interrupted) report.reasons.push_back("the edit was ended before it was done");
    if (report.reasons.empty()) report.reasons.push_back(whyMissed(report, hindrance, options_.mostTurn));
  }
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
