#include "limber_motion/detail/Motion.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "limber_motion/StepSystem.h"
#include "limber_motion/detail/GivingUp.h"
#include "limber_motion/detail/HeldJoints.h"
#include "limber_motion/detail/Memory.h"
#include "limber_motion/detail/Places.h"
#include "limber_motion/detail/SecondsNow.h"

namespace limber::motion::detail {

namespace {

constexpr double floorFirmness = 100.0;  // pull of the floor, relative to that of the targets
constexpr double nothing = 5e-6;         // heights: such a miss needs no further step
constexpr double nearEnough = 0.01;      // heights: the next stage can remove such a miss
constexpr double trembles = 0.05;        // seconds: what is faster than this is trembling
constexpr double mostStilled = 4.0;      // looseness up to which trembling is removed
constexpr int boundRounds = 4;  // largest number of rounds of a step that find unknowns that turn too far

double squared(double x) { return x * x; }

Vector sum(const Vector& a, const Vector& b) {
  Vector result(0);
  assign(&result, a);
  result += b;
  return result;
}

int spacingOf(const Clip& clip, double knots) {
  return static_cast<int>(std::lrint(std::min(knots / clip.frameTime, 1e6)));
}

}  // namespace

Motion::Motion(const Task& task, const std::vector<bool>& givenUp, double pull, Floor floor)
    : task_(task),
      givenUpAtFirst_(givenUp),
      givenUp_(givenUp),
      givenUpPull_(pull),
      looseness_(task.wishes.size(), 0.0),
      floor_(std::move(floor)),
      curves_(task.original.frames, spacingOf(task.original, task.options.knots)),
      channels_(movingChannels(task, floor_.feet())),
      urgency_(urgencies(task)),
      clip_(task.original),
      holds_(task.skeleton, curves_, channels_),
      turns_(task, channels_),
      stages_(stagesOf(task, curves_, channels_, floor_.first(), pull)),
      before_(curves_.times() * static_cast<int>(channels_.size())),
      change_(before_),
      approach_(0) {
  const int n = curves_.times() * static_cast<int>(channels_.size());
  if (before_.size() != n || change_.size() != n) throw std::bad_alloc();
}

void Motion::run(const std::vector<double>& looseness) {
  const bool again = approachSteps_ > 0 && pullsAsBefore(looseness);
  looseness_ = looseness;
  if (!again) approach();
  if (!interrupted_) meet();
}

bool Motion::pullsAsBefore(const std::vector<double>& looseness) const {
  for (std::size_t i = 0; i < looseness.size(); ++i) {
    if (std::max(looseness[i], 1.0) != std::max(looseness_[i], 1.0)) return false;
  }
  return true;
}

// Takes the steps of all stages but the last one.
void Motion::approach() {
  before_ = 0.0;
  change_ = 0.0;
  show(change_);
  steps_.clear();
  givenUp_ = givenUpAtFirst_;
  for (std::size_t s = 0; s + 1 < stages_.size(); ++s) {
    if (s > 0) giveUpWhatStaysFar(stages_[s - 1]);
    run(stages_[s]);
    if (interrupted_) return;
    before_ += change_;
    change_ = 0.0;
  }
  assign(&approach_, before_);
  approachSteps_ = steps_.size();
  approachGivenUp_ = givenUp_;
}

// Takes the steps of the last stage.
void Motion::meet() {
  assign(&before_, approach_);
  change_ = 0.0;
  show(change_);
  steps_.resize(approachSteps_);
  givenUp_ = approachGivenUp_;
  giveUpWhatStaysFar(stages_[stages_.size() - 2]);
  aimBetween();
  run(stages_.back());
  before_ += change_;
  change_ = 0.0;
}

void Motion::run(const Stage& stage) {
  double damping = 0.0;
  while (worthAnother(stage)) {
    const bool better = step(stage, damping);
    interrupted_ = task_.options.observer && !task_.options.observer(steps_.back());
    if (interrupted_) return;
    if (!better && stage.exact && largestMiss() <= task_.options.goal) return;
    if (!better) damping = damping == 0.0 ? 1.0 : 100.0 * damping;
  }
}

bool Motion::worthAnother(const Stage& stage) const {
  const int done = static_cast<int>(steps_.size());
  if (done >= std::min(stage.mostSteps, task_.options.mostSteps)) return false;
  if (stage.exact) return !finished(stage);
  return done < stage.leastSteps || getsNearer();
}

// True if another step of the same stage is worthwhile: the misses are still large and become smaller, or
// targets out of reach pull, so that the change is large.
bool Motion::getsNearer() const {
  const EditStep& last = steps_.back();
  const bool anyGivenUp = std::find(givenUp_.begin(), givenUp_.end(), true) != givenUp_.end();
  if (anyGivenUp && givenUpPull_ > 0.0) return last.scale > 0.0;
  return last.after > nearEnough && last.after < 0.8 * last.before;
}

bool Motion::finished(const Stage& stage) const {
  if (!(largestMiss() <= std::min(nothing, task_.options.goal))) return false;
  if (anyLoose() && !steps_.back().exact) return false;
  Floor floor = floor_;
  return !floor.watch(clip_, holds(stage));
}

// Gives up each run of frames in which a joint stays far from its targets, because the joint would have to
// jump to them.
void Motion::giveUpWhatStaysFar(const Stage& stage) {
  if (static_cast<int>(steps_.size()) >= task_.options.mostSteps) return;
  const std::vector<double> misses = missesOf(task_.wishes, clip_, task_.skeleton);
  std::vector<bool> far = givenUp_;
  for (std::size_t i = 0; i < misses.size(); ++i) {
    if (isExact(i) && !(misses[i] <= stage.tooFar)) far[i] = true;
  }
  if (far == givenUp_) return;
  spreadOverRuns(task_.wishes, &far);
  givenUp_ = far;
}

// The last stage holds loose constraints between their targets and where the joints are now, without their
// trembling as long as they are not too loose for that: the shortest bones may have to follow it.
void Motion::aimBetween() {
  aims_.clear();
  for (const Constraint& wish : task_.wishes) aims_.push_back(wish.target);
  if (!anyLoose()) return;
  const Places places(clip_, task_.skeleton);
  const double height = task_.skeleton.height();
  const int half = static_cast<int>(std::lrint(std::min(trembles / task_.original.frameTime, 1e6)));
  for (std::size_t i = 0; i < aims_.size(); ++i) {
    if (looseness_[i] == 0.0) continue;
    const Constraint& wish = task_.wishes[i];
    const Pnt3 now = places.at(wish.joint, wish.frame);
    const Pnt3 still = places.stilled(wish.joint, wish.frame, half, floor_.first());
    const Pnt3 place = still + (now - still) * std::clamp(looseness_[i] - mostStilled, 0.0, 1.0);
    aims_[i] += (place * height - wish.target) * std::min(looseness_[i], 1.0);
  }
}

bool Motion::anyLoose() const {
  return std::any_of(looseness_.begin(), looseness_.end(), [](double l) { return l > 0.0; });
}

bool Motion::step(const Stage& stage, double damping) {
  const double begun = secondsNow();
  EditStep done;
  done.number = static_cast<int>(steps_.size()) + 1;
  done.exact = stage.exact;
  done.before = largestMiss();
  std::vector<Hold> wanted = holds(stage);
  floor_.watch(clip_, wanted);
  floor_.addTo(clip_, stage.exact ? stage.pull : floorFirmness * stage.pull, &wanted);
  holds_.linearize(wanted, clip_);
  Vector way = direction(stage, damping);
  done.scale = goAlong(stage, way, wanted);
  done.after = largestMiss();
  done.turn = turns_.largestTurn(sum(before_, change_));
  done.seconds = secondsNow() - begun;
  steps_.push_back(done);
  return done.scale > 0.0;
}

std::vector<Hold> Motion::holds(const Stage& stage) const {
  std::vector<Hold> list;
  for (std::size_t i = 0; i < task_.wishes.size(); ++i) {
    const Constraint& wish = task_.wishes[i];
    const bool isHeld = wish.weight >= 1.0 && !givenUp_[i];
    if (stage.exact && !isHeld) continue;
    double weight = stage.pull;
    if (!stage.exact && givenUp_[i]) weight = stage.gentlePull * squared(std::min(wish.weight, 1.0));
    if (!stage.exact && !givenUp_[i]) weight *= urgency_[i] * squared(wish.weight);
    if (!stage.exact && looseness_[i] > 1.0) weight *= std::pow(0.1, looseness_[i] - 1.0);
    if (weight == 0.0) continue;
    list.push_back(
        {wish.frame, wish.joint, stage.exact ? aims_[i] : wish.target, weight, stage.exact, false});
  }
  return list;
}

// Computes the Gauss-Newton step. Unknowns that would turn too far are bound, and the others make up for
// them.
Vector Motion::direction(const Stage& stage, double damping) {
  Vector step = zeros(change_.size());
  const Vector sofar = sum(before_, change_);
  turns_.release(stage, sofar);
  for (int round = 0; round < boundRounds; ++round) {
    StepSystem system(stage.measure, holds_, damping, turns_.bounds(stage, before_));
    if (!system.factored()) break;
    system.solve(change_, stage.exact && damping == 0.0 ? 6 : 1, &step);
    if (!turns_.bind(stage, sum(sofar, step))) break;
  }
  return step;
}

// Takes the whole step, or the largest part of it that reduces the cost and turns no joint too far. Returns
// the fraction, 0 if there is none.
double Motion::goAlong(const Stage& stage, Vector step, const std::vector<Hold>& wanted) {
  const double costBefore = cost(stage, change_, wanted);
  // If the motion is good enough already, only large parts are tried, because a small part of a bad step
  // could make it worse elsewhere.
  const double least = stage.exact && largestMiss() <= task_.options.goal ? 0.75 : 0.05;
  Vector trial(0);
  for (double scale = 1.0; scale > least; scale *= 0.5) {
    assign(&trial, change_);
    trial.scaleAdd(scale, &step);
    if (!turns_.allow(sum(before_, trial))) continue;
    show(trial);
    if (!(cost(stage, trial, wanted) < costBefore)) continue;
    assign(&change_, trial);
    return scale;
  }
  show(change_);
  return 0.0;
}

double Motion::cost(const Stage& stage, const Vector& change, const std::vector<Hold>& list) const {
  const Skeleton& skeleton = task_.skeleton;
  double sum = 0.0;
  for (const Bound& b : turns_.bounds(stage, before_)) sum += b.weight * squared(change[b.unknown] - b.value);
  if (!stage.exact) {
    Vector size(0);
    stage.measure.mult(&change, &size);
    for (int i = 0; i < change.size(); ++i) sum += change[i] * size[i];
  }
  Pose pose;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i == 0 || list[i].frame != list[i - 1].frame) skeleton.pose(clip_.frame(list[i].frame), &pose);
    const Pnt3 miss = list[i].target - pose.position[static_cast<std::size_t>(list[i].joint)];
    sum += list[i].weight * (list[i].heightOnly ? miss.y * miss.y : miss.lengthSq());
  }
  return sum;
}

// Sets the clip to the original plus the changes of the previous stages and `change`.
void Motion::show(const Vector& change) {
  const int n = static_cast<int>(channels_.size());
  for (int f = 0; f < clip_.frames; ++f) {
    const Curves::Basis basis = curves_.at(f);
    for (int c = 0; c < n; ++c) {
      double sum = 0.0;
      for (int k = 0; k < basis.count; ++k) {
        const int i = (basis.first + k) * n + c;
        sum += basis.weight[k] * (before_[i] + change[i]);
      }
      const int channel = channels_[static_cast<std::size_t>(c)];
      clip_.frame(f)[channel] = task_.original.frame(f)[channel] + sum;
    }
  }
}

double Motion::largestMiss() const {
  const std::vector<double> misses = missesOf(task_.wishes, clip_, task_.skeleton);
  double largest = 0.0;
  for (std::size_t i = 0; i < misses.size(); ++i) {
    if (isExact(i)) largest = std::max(largest, misses[i]);
  }
  return largest;
}

}  // namespace limber::motion::detail
