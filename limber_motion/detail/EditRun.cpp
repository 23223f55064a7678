#include "limber_motion/detail/EditRun.h"

#include <algorithm>
#include <cmath>

#include "limber_motion/Quality.h"
#include "limber_motion/detail/BrokenBounds.h"
#include "limber_motion/detail/HeldJoints.h"
#include "limber_motion/detail/NameOf.h"
#include "limber_motion/detail/Numbers.h"

namespace limber::motion::detail {

namespace {

constexpr double longReach =
    0.25;  // seconds: if a hand is held for a shorter time, that is a movement and not a contact
constexpr double smoothEdge = 3.0, smoothBody = 1.7;  // largest ratios of jerk that look smooth
constexpr int mostLoosened = 8;                       // attempts
constexpr double rounding = 1e-6;                     // heights: rounding of the lengths of bones
constexpr double leastMiss = 1e-5;                    // heights: no contact is loosened for a smaller miss
constexpr double unchanged = 1e-9;                    // radians or heights: a smaller change is none

Clip unwrapped(Clip clip) {
  unwrapAngles(&clip);
  return clip;
}

bool isSmooth(const Quality& quality) {
  return quality.largestEdgeJerk <= smoothEdge && quality.bodyJerk <= smoothBody;
}

}  // namespace

EditRun::EditRun(Clip* clip, const Contacts& feet, const std::vector<Constraint>& constraints,
                 const std::vector<int>& rank, const EditOptions& options)
    : clip_(*clip),
      feet_(feet),
      constraints_(constraints),
      rank_(rank),
      options_(options),
      original_(*clip),
      continuous_(unwrapped(*clip)),
      skeleton_(*clip),
      impossible_(ReachCheck(original_, skeleton_, constraints, rank, feet.feet,
                             std::max(2.0 * options.goal, rounding) * skeleton_.height())
                      .find()),
      floor_(continuous_, skeleton_, feet, options.ground),
      task_{continuous_, skeleton_, impossible_.aims, rank_, options_},
      loosening_(task_),
      whyGivenUp_(constraints.size(), Hindrance::Jerk) {}

Report EditRun::run() {
  report_.height = skeleton_.height();
  report_.goal = options_.goal;
  noteMisses();
  report_.missBefore = report_.missAfter;
  GivingUp givingUp(constraints_, rank_, impossible_.givenUp);
  while (attempt(&givingUp)) continue;
  measure();
  if (!report_.met) explain();
  noteBrokenBounds();
  for (const std::string& note : loosening_.notes(clip_)) report_.notes.push_back(note);
  noteGimbalLock();
  return report_;
}

// Returns true if another attempt may be better.
bool EditRun::attempt(GivingUp* givingUp) {
  Motion motion(task_, givingUp->givenUp(), givingUp->pull(), floor_);
  best_.reset();
  do {
    takeSteps(&motion);
    interrupted_ = motion.interrupted();
    if (interrupted_) return false;
  } while (loosen(motion));
  report_.met = report_.missAfter <= options_.goal && impossible_.reasons.empty();
  if (report_.met) return false;
  const std::vector<double> misses = this->misses();
  const std::vector<bool>& givenUp = givingUp->givenUp();
  const auto hindranceOf = [&](std::size_t i, Hindrance other) {
    if (givenUp[i]) return whyGivenUp_[i];
    return motion.turnsTooFar(constraints_[i].frame) ? Hindrance::Turn : other;
  };
  const auto worst = std::max_element(misses.begin(), misses.end()) - misses.begin();
  hindrance_ = hindranceOf(static_cast<std::size_t>(worst), Hindrance::Steps);
  if (isSmooth(measureQuality(original_, clip_))) return false;
  for (std::size_t i = 0; i < misses.size(); ++i) whyGivenUp_[i] = hindranceOf(i, Hindrance::Jerk);
  return givingUp->tryAgain(missedOrAtFault(misses));
}

// The constraints that are missed, and those of the user that act on contacts that are missed.
std::vector<bool> EditRun::missedOrAtFault(const std::vector<double>& misses) const {
  const int reach = static_cast<int>(std::min(Loosening::actsFor / original_.frameTime, 1e6));
  std::vector<bool> atFault(static_cast<std::size_t>(original_.frames), false);
  for (std::size_t i = 0; i < misses.size(); ++i) {
    if (rank_[i] > 0 || misses[i] <= options_.goal) continue;
    const int begin = std::max(constraints_[i].frame - reach, 0);
    const int end = std::min(constraints_[i].frame + reach + 1, original_.frames);
    std::fill(atFault.begin() + begin, atFault.begin() + end, true);
  }
  std::vector<bool> missed;
  for (std::size_t i = 0; i < misses.size(); ++i) {
    const bool acts = rank_[i] > 0 && atFault[static_cast<std::size_t>(constraints_[i].frame)];
    missed.push_back(acts || misses[i] > options_.goal);
  }
  return missed;
}

// If something is missed after all steps that an attempt may take, an edit with targets of the user gets as
// many again.
void EditRun::takeSteps(Motion* motion) {
  motion->run(loosening_.looseness());
  take(motion->clip(), motion->steps());
  const bool asked = std::any_of(rank_.begin(), rank_.end(), [](int rank) { return rank > 0; });
  if (!asked || report_.missAfter <= options_.goal || !motion->ranOutOfSteps()) return;
  motion->goOn();
  take(motion->clip(), motion->steps());
}

// Loosens contacts if the motion does not look natural with them. Returns true if the motion may
// then be better. Otherwise the best one so far becomes the result.
bool EditRun::loosen(const Motion& motion) {
  const std::vector<double> misses = this->misses();
  std::vector<bool> missed;
  for (std::size_t i = 0; i < misses.size(); ++i) {
    missed.push_back(misses[i] > std::max(options_.goal, leastMiss));
    if (misses[i] > options_.goal && rank_[i] > 0) return false;
  }
  loosening_.judge(motion.clip(), missed);
  const double badness = loosening_.badness();
  if (!best_ || badness < best_->badness)
    best_ = Best{badness, motion.clip(), loosening_.looseness(), motion.steps()};
  if (badness > 1.0 && loosened_ < mostLoosened && loosening_.loosen()) {
    ++loosened_;
    return true;
  }
  loosening_.restore(best_->looseness);
  take(best_->clip, best_->steps);
  return false;
}

// Copies the changed channels to the clip; the others keep their exact values.
void EditRun::take(const Clip& edited, const std::vector<EditStep>& steps) {
  report_.steps = steps;
  clip_ = original_;
  Clip wrapped = edited;
  wrapAngles(&wrapped, original_);
  report_.turn = 0.0;
  report_.framesChanged = 0;
  // A pose in front of the motion stays as it is, unless it is constrained.
  for (int f = std::min(feet_.first, constraints_.front().frame); f < clip_.frames; ++f) {
    bool changed = false;
    for (int c = 0; c < clip_.channels; ++c) {
      const double by = std::fabs(edited.frame(f)[c] - continuous_.frame(f)[c]);
      const bool rotation = skeleton_.isRotation(c);
      if (by <= (rotation ? unchanged : unchanged * report_.height)) continue;
      clip_.frame(f)[c] = wrapped.frame(f)[c];
      changed = true;
      if (!rotation || by <= report_.turn) continue;
      report_.turn = by;
      report_.turnJoint = nameOf(clip_, skeleton_.owner(c));
      report_.turnFrame = f + 1;
    }
    report_.framesChanged += changed;
  }
  noteMisses();
}

// The distances of the held joints from their targets, in heights; 0 for those that are only pulled or
// held loosely.
std::vector<double> EditRun::misses() const {
  std::vector<double> misses = missesOf(constraints_, clip_, skeleton_);
  for (std::size_t i = 0; i < misses.size(); ++i) {
    if (constraints_[i].weight < 1.0 || loosening_.isLoose(i)) misses[i] = 0.0;
  }
  return misses;
}

void EditRun::noteMisses() {
  const std::vector<double> misses = this->misses();
  const auto worst = std::max_element(misses.begin(), misses.end());
  const Constraint& constraint = constraints_[static_cast<std::size_t>(worst - misses.begin())];
  report_.missAfter = *worst;
  report_.missJoint = *worst > 0.0 ? nameOf(clip_, constraint.joint) : "";
  report_.missFrame = *worst > 0.0 ? constraint.frame + 1 : 0;
}

void EditRun::measure() {
  std::vector<Stand> contacts;
  for (const Stand& run : runsOf(constraints_)) {
    const bool foot = std::find(feet_.feet.begin(), feet_.feet.end(), run.joint) != feet_.feet.end();
    if (foot || (run.end - run.first) * clip_.frameTime >= longReach) contacts.push_back(run);
  }
  const Quality quality = measureQuality(original_, clip_, contacts, feet_.ground);
  report_.contacts = quality.stands;
  report_.heldFrames = quality.standingFrames;
  report_.looseFrames = loosening_.count();
  report_.skateBefore = quality.skateBefore;
  report_.skateAfter = quality.skateAfter;
  report_.fastestBefore = quality.fastestBefore;
  report_.fastestAfter = quality.fastestAfter;
  report_.edgeJerk = quality.edgeJerk;
  report_.largestEdgeJerk = quality.largestEdgeJerk;
  report_.bodyJerk = quality.bodyJerk;
}

// Measures how deep the feet go. Returns a sentence if one goes deeper than before and than its targets.
std::vector<std::string> EditRun::measureDepth() {
  double target = 0.0;
  for (const Constraint& constraint : constraints_)
    target = std::max(target, (feet_.ground - constraint.target.y) / report_.height);
  const Deepest after = floor_.deepest(clip_);
  report_.belowBefore = floor_.deepest(original_).depth;
  report_.belowAfter = after.depth;
  return whoSinks(clip_, report_.belowBefore, target, after);
}

// Constraints of the user may ask for more than the bounds of an edit that only holds contacts.
void EditRun::noteBrokenBounds() {
  std::vector<std::string> broken = measureDepth();
  if (std::all_of(rank_.begin(), rank_.end(), [](int rank) { return rank == 0; })) {
    if (report_.heldFrames > 0 && report_.looseFrames == report_.heldFrames)
      broken.push_back("no contact could be held firmly: feet would jerk, or joints would turn too far");
    for (const std::string& bound : brokenBounds(original_, clip_, skeleton_, feet_.first, report_))
      broken.push_back(bound);
  }
  if (!broken.empty() && options_.knots > 1.5 * clip_.frameTime) {
    broken.push_back("curves with knots " + significant(options_.knots, 3) +
                     " seconds apart cannot follow every frame; closer knots, or none, may keep the bounds");
  }
  report_.met = report_.met && broken.empty();
  report_.reasons.insert(report_.reasons.end(), broken.begin(), broken.end());
}

void EditRun::explain() {
  report_.reasons = impossible_.reasons;
  for (const std::string& reason : feetThatNeverLeave(constraints_, original_, skeleton_))
    report_.reasons.push_back(reason);
  report_.impossible = !report_.reasons.empty();
  if (interrupted_) report_.reasons.push_back("the edit was ended before it was done");
  if (report_.reasons.empty()) report_.reasons.push_back(whyMissed(report_, hindrance_, options_.mostTurn));
}

void EditRun::noteGimbalLock() {
  for (const GimbalLock& lock : findGimbalLock(original_)) {
    report_.notes.push_back(nameOf(clip_, lock.joint) + " is near gimbal lock in " +
                            std::to_string(lock.frames) + " frames, most in frame " +
                            std::to_string(lock.worst + 1));
  }
}

}  // namespace limber::motion::detail
