#include "limber_motion/detail/Motion.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

#include "limber_motion/Stiffness.h"
#include "limber_motion/detail/GivingUp.h"

namespace limber::motion::detail {

namespace {

constexpr double shorter[] = {1.0, 0.3, 0.1};     // time constants of the stages, relative to the edit's
constexpr double firmTrunk[] = {1.0, 4.0, 16.0};  // factors for the mass of the trunk in the stages
constexpr double rounding = 0.75;          // time constant of the third derivative, relative to the stage's
constexpr double typicalChange = 0.012;    // heights: change that a clip with sliding feet needs
constexpr double typicalRest = 12.0;       // slow tremblings: miss that remains after the first stage
constexpr double typicalTrembling = 1e-3;  // heights: used if no joint is held for long enough
constexpr double floorFirmness = 100.0;    // pull of the floor, relative to that of the targets
constexpr double trembleSeconds = 1.0 / 30.0;      // time between the frames that show slow trembling
constexpr double leastPull = 1e2, mostPull = 1e8;  // limits for the weight of a squared miss in heights
constexpr double shortRun = 0.1;                   // seconds: targets of a shorter run pull harder
constexpr double nothing = 5e-6;                   // heights: such a miss needs no further step
constexpr double nearEnough = 0.01;                // heights: the next stage can remove such a miss
constexpr double tooFar[] = {0.1, 0.02};           // heights: such a miss after a stage is given up
constexpr double tremblings = 6.0;                 // tremblings: such a miss must be allowed
constexpr double boundPart = 0.97;                 // fraction of the largest turn, for firm bounds
constexpr double boundFirmness = 10.0;  // weight of a firm bound, relative to what pulls against it
constexpr double plantTurn = 0.34;      // radians: preferred largest turn for holding feet
constexpr double ofPlantTurn = 0.88;    // fraction of it for the stages before the last one
constexpr double plantFirmness = 4.0;   // weight of a gentle bound, relative to that of one unknown
constexpr int boundRounds = 4;  // largest number of rounds of a step that find unknowns that turn too far

constexpr double unlimited = std::numeric_limits<double>::infinity();

double squared(double x) { return x * x; }

double secondsNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::vector<int> movingChannels(const Skeleton& skeleton, const std::vector<Constraint>& wishes,
                                const std::vector<int>& feet) {
  std::vector<bool> held(static_cast<std::size_t>(skeleton.joints()), false);
  for (const Constraint& wish : wishes) held[static_cast<std::size_t>(wish.joint)] = true;
  for (const int j : feet) held[static_cast<std::size_t>(j)] = true;
  std::vector<int> channels;
  for (int j = 0; j < skeleton.joints(); ++j) {
    if (!held[static_cast<std::size_t>(j)]) continue;
    channels.insert(channels.end(), skeleton.chain(j).begin(), skeleton.chain(j).end());
  }
  std::sort(channels.begin(), channels.end());
  channels.erase(std::unique(channels.begin(), channels.end()), channels.end());
  return channels;
}

int spacingOf(const Clip& clip, double knots) {
  return static_cast<int>(std::lrint(std::min(knots / clip.frameTime, 1e6)));
}

std::vector<double> pick(const std::vector<double>& all, const std::vector<int>& channels) {
  std::vector<double> picked;
  for (const int c : channels) picked.push_back(all[static_cast<std::size_t>(c)]);
  return picked;
}

// For each joint, the indices of its constraints in the order of frames.
std::vector<std::vector<std::size_t>> byJoint(const Skeleton& skeleton,
                                              const std::vector<Constraint>& wishes) {
  std::vector<std::vector<std::size_t>> places(static_cast<std::size_t>(skeleton.joints()));
  for (std::size_t i = 0; i < wishes.size(); ++i)
    places[static_cast<std::size_t>(wishes[i].joint)].push_back(i);
  return places;
}

// Constraints of a short run pull harder, because few neighbours pull the same way.
std::vector<double> urgencies(const Skeleton& skeleton, const std::vector<Constraint>& wishes, double dt) {
  std::vector<double> urgency(wishes.size(), 1.0);
  for (const std::vector<std::size_t>& own : byJoint(skeleton, wishes)) {
    for (std::size_t begin = 0, end = 0; begin < own.size(); begin = end) {
      for (end = begin + 1; end < own.size(); ++end) {
        if (wishes[own[end]].frame != wishes[own[end - 1]].frame + 1) break;
      }
      const double seconds = static_cast<double>(end - begin) * dt;
      for (std::size_t i = begin; i < end && seconds < shortRun; ++i)
        urgency[own[i]] = 10.0 * shortRun / seconds;
    }
  }
  return urgency;
}

// How far each channel of a clip should turn: not far if it only helps to hold feet, without limit if a joint
// must reach something else.
std::vector<double> plantTurns(const Skeleton& skeleton, const std::vector<Constraint>& wishes,
                               const std::vector<int>& rank) {
  std::vector<double> turns(static_cast<std::size_t>(skeleton.channels()), plantTurn);
  for (std::size_t i = 0; i < wishes.size(); ++i) {
    if (rank[i] == 0) continue;
    for (const int c : skeleton.chain(wishes[i].joint)) turns[static_cast<std::size_t>(c)] = unlimited;
  }
  return turns;
}

}  // namespace

Motion::Motion(const Clip& original, const Skeleton& skeleton, const std::vector<Constraint>& wishes,
               const std::vector<int>& rank, const std::vector<bool>& givenUp, double pull, Floor floor,
               const EditOptions& options)
    : original_(original),
      skeleton_(skeleton),
      wishes_(wishes),
      givenUp_(givenUp),
      givenUpPull_(pull),
      options_(options),
      floor_(std::move(floor)),
      curves_(original.frames, spacingOf(original, options.knots)),
      channels_(movingChannels(skeleton, wishes, floor_.feet())),
      urgency_(urgencies(skeleton, wishes, original.frameTime)),
      clip_(original),
      holds_(skeleton, curves_, channels_),
      masses_(pick(channelMasses(original, skeleton, jointStiffness(original, skeleton, options.stiffness)),
                   channels_)),
      plantTurns_(pick(plantTurns(skeleton, wishes, rank), channels_)),
      before_(curves_.times() * static_cast<int>(channels_.size())),
      change_(before_) {}

// The limbs, not the trunk, must still the trembling of the feet, because a trunk that followed the feet
// would make the hands tremble. So the trunk gets larger masses.
std::vector<double> Motion::massesWith(double trunk) const {
  const std::vector<bool> carries = trunkJoints(original_, skeleton_);
  std::vector<double> masses = masses_;
  for (std::size_t c = 0; c < masses.size(); ++c) {
    if (carries[static_cast<std::size_t>(skeleton_.owner(channels_[c]))]) masses[c] *= trunk;
  }
  return masses;
}

// The trembling of the held joints from frame to frame, in heights and per direction: the third difference of
// the position divided by sqrt(20), as for independent errors in the frames. With frames that are `stride`
// apart it measures slower trembling.
double Motion::trembling(int stride) const {
  const std::size_t last = 3 * static_cast<std::size_t>(stride);
  double sum = 0.0;
  int count = 0;
  for (const std::vector<std::size_t>& own : byJoint(skeleton_, wishes_)) {
    for (std::size_t i = 0; i + last < own.size(); ++i) {
      const Constraint& first = wishes_[own[i]];
      if (wishes_[own[i + last]].frame != first.frame + 3 * stride) continue;
      Pnt3 at[4];
      for (int k = 0; k < 4; ++k) {
        at[k] = skeleton_.position(first.joint, original_.frame(first.frame + k * stride));
      }
      sum += (at[3] - at[2] * 3.0 + at[1] * 3.0 - at[0]).lengthSq() / 60.0;
      ++count;
    }
  }
  return count ? std::sqrt(sum / count) / skeleton_.height() : typicalTrembling;
}

void Motion::run() {
  const double dt = original_.frameTime * curves_.spacing(), smooth = options_.smooth;
  const int stride = std::max(1, static_cast<int>(std::lrint(trembleSeconds / original_.frameTime)));
  const double slow = std::max(trembling(stride), 1e-9), fast = std::max(trembling(1), 1e-9);
  const int first = curves_.spacing() == 1 ? floor_.first() : 0;
  const Smoothness wide(curves_.times(), massesWith(firmTrunk[0]), dt, shorter[0] * smooth,
                        rounding * shorter[0] * smooth, first);
  const Smoothness narrow(curves_.times(), massesWith(firmTrunk[1]), dt, shorter[1] * smooth,
                          rounding * shorter[1] * smooth, first);
  const Smoothness brief(curves_.times(), massesWith(firmTrunk[2]), dt, shorter[2] * smooth, 0.0, first);
  const auto pull = [&](const Smoothness& measure, double change, double noise) {
    const double ratio = squared(change / noise) / measure.flexibility();
    return std::clamp(ratio, leastPull, mostPull) / squared(skeleton_.height());
  };
  const double firm = 1e4 * (1.0 + 6.0 * std::pow(shorter[2] * smooth / dt, 4)) / squared(skeleton_.height());
  const double gentle = givenUpPull_ / wide.flexibility() / squared(skeleton_.height());
  const Stage stages[] = {{wide, false, pull(wide, typicalChange, slow), gentle},
                          {narrow, false, pull(narrow, typicalRest * slow, fast), 0.0},
                          {brief, true, firm, 0.0}};
  for (int s = 0; s < 3; ++s) {
    if (!run(stages[s], s)) return;
    before_ += change_;
    change_ = 0.0;
    if (s < 2 && static_cast<int>(steps_.size()) < options_.mostSteps)
      giveUpWhatStaysFar(std::max(tooFar[s], tremblings * fast));
  }
}

// Takes the steps of one stage. Returns false if the observer ends the edit.
bool Motion::run(const Stage& stage, int number) {
  const int atLeast[] = {2, 3, 0}, atMost[] = {4, 5, options_.mostSteps};
  double damping = 0.0;
  while (static_cast<int>(steps_.size()) < std::min(atMost[number], options_.mostSteps)) {
    const int done = static_cast<int>(steps_.size());
    if (stage.exact && finished(stage)) break;
    if (!stage.exact && done >= atLeast[number] && !getsNearer()) break;
    const bool better = step(stage, damping);
    if (options_.observer && !options_.observer(steps_.back())) {
      interrupted_ = true;
      return false;
    }
    if (!better && stage.exact && largestMiss() <= options_.goal) break;
    if (!better) damping = damping == 0.0 ? 1.0 : 100.0 * damping;
  }
  return true;
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
  if (!(largestMiss() <= std::min(nothing, options_.goal))) return false;
  Floor floor = floor_;
  return !floor.watch(clip_, holds(stage));
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
  done.turn = largestTurn(change_);
  done.seconds = secondsNow() - begun;
  steps_.push_back(done);
  return done.scale > 0.0;
}

// Computes the Gauss-Newton step. Unknowns that would turn too far are bound, and the others make up for
// them. Bounds whose unknowns have come back are released.
Vector Motion::direction(const Stage& stage, double damping) {
  Vector step(change_.size());
  const auto cameBack = [&](const Bound& b) {
    return b.value * (before_[b.unknown] + change_[b.unknown]) < 0.99 * keptAt(stage, b);
  };
  bounds_.erase(std::remove_if(bounds_.begin(), bounds_.end(), cameBack), bounds_.end());
  for (int round = 0; round < boundRounds; ++round) {
    StepSystem system(stage.measure, holds_, damping, boundsOf(stage));
    if (!system.factored()) break;
    system.solve(change_, stage.exact && damping == 0.0 ? 6 : 1, &step);
    if (!bindWhatTurnsTooFar(stage, step)) break;
  }
  return step;
}

bool Motion::bindWhatTurnsTooFar(const Stage& stage, const Vector& step) {
  std::vector<bool> bound[2];  // [0] for gentle bounds, [1] for firm ones
  for (std::vector<bool>& some : bound) some.assign(static_cast<std::size_t>(step.size()), false);
  for (const Bound& b : bounds_) bound[b.weight > 0.0][static_cast<std::size_t>(b.unknown)] = true;
  bool news = false;
  for (int i = 0; i < step.size(); ++i) {
    const std::size_t unknown = static_cast<std::size_t>(i), c = unknown % channels_.size();
    if (!skeleton_.isRotation(channels_[c])) continue;
    const double turn = before_[i] + change_[i] + step[i];
    for (const bool firm : {false, true}) {
      if (!(std::fabs(turn) > mostTurn(stage, c, firm)) || bound[firm][unknown]) continue;
      bounds_.push_back({i, std::copysign(1.0, turn), firm ? 1.0 : 0.0});
      news = true;
      turnedTooFar_ = turnedTooFar_ || firm;
    }
  }
  return news;
}

// The largest turn of a channel: the one that is allowed, or the one that is preferred.
double Motion::mostTurn(const Stage& stage, std::size_t channel, bool allowed) const {
  if (allowed) return options_.mostTurn;
  return std::min(plantTurns_[channel] * (stage.exact ? 1.0 : ofPlantTurn), options_.mostTurn);
}

double Motion::keptAt(const Stage& stage, const Bound& bound) const {
  const bool firm = bound.weight > 0.0;
  const std::size_t channel = static_cast<std::size_t>(bound.unknown) % channels_.size();
  return (firm ? boundPart : 1.0) * mostTurn(stage, channel, firm);
}

std::vector<Bound> Motion::boundsOf(const Stage& stage) const {
  std::vector<Bound> bounds = bounds_;
  const double pull = stage.pull * squared(skeleton_.height());
  const int n = static_cast<int>(channels_.size());
  for (Bound& b : bounds) {
    b.value = b.value * keptAt(stage, b) - before_[b.unknown];
    b.weight = b.weight > 0.0
                   ? boundFirmness * (stage.measure.acc(b.unknown, b.unknown) + pull)
                   : plantFirmness * stage.measure.massOf(b.unknown % n) / stage.measure.flexibility();
  }
  return bounds;
}

// Takes the whole step, or the largest part of it that reduces the cost and turns no joint too far. Returns
// the fraction, 0 if there is none.
double Motion::goAlong(const Stage& stage, Vector step, const std::vector<Hold>& wanted) {
  const double costBefore = cost(stage, change_, wanted);
  // If the motion is good enough already, only large parts are tried, because a small part of a bad step
  // could make it worse elsewhere.
  const double least = stage.exact && largestMiss() <= options_.goal ? 0.75 : 0.05;
  Vector trial(0);
  for (double scale = 1.0; scale > least; scale *= 0.5) {
    trial = change_;
    trial.scaleAdd(scale, &step);
    if (!(largestTurn(trial) <= options_.mostTurn)) {
      turnedTooFar_ = true;
      continue;
    }
    show(trial);
    if (!(cost(stage, trial, wanted) < costBefore)) continue;
    change_ = trial;
    return scale;
  }
  show(change_);
  return 0.0;
}

// Gives up each run of frames in which a joint stays far from its targets, because it would have to jump to
// them.
void Motion::giveUpWhatStaysFar(double distance) {
  Pose pose;
  std::vector<std::size_t> far;
  for (std::size_t i = 0; i < wishes_.size(); ++i) {
    if (i == 0 || wishes_[i].frame != wishes_[i - 1].frame)
      skeleton_.pose(clip_.frame(wishes_[i].frame), &pose);
    const Pnt3 at = pose.position[static_cast<std::size_t>(wishes_[i].joint)];
    const double miss = (wishes_[i].target - at).length() / skeleton_.height();
    if (isExact(i) && !(miss <= distance)) far.push_back(i);
  }
  for (const std::size_t i : far) givenUp_[i] = true;
  if (!far.empty()) spreadOverRuns(wishes_, &givenUp_);
}

std::vector<Hold> Motion::holds(const Stage& stage) const {
  std::vector<Hold> list;
  for (std::size_t i = 0; i < wishes_.size(); ++i) {
    const Constraint& wish = wishes_[i];
    if (stage.exact && !isExact(i)) continue;
    double weight = stage.pull;
    if (!stage.exact && givenUp_[i]) weight = stage.gentlePull * squared(std::min(wish.weight, 1.0));
    if (!stage.exact && !givenUp_[i]) weight *= urgency_[i] * squared(wish.weight);
    if (weight == 0.0) continue;
    list.push_back({wish.frame, wish.joint, wish.target, weight, stage.exact, false});
  }
  return list;
}

double Motion::cost(const Stage& stage, const Vector& change, const std::vector<Hold>& list) const {
  double sum = 0.0;
  for (const Bound& b : boundsOf(stage)) sum += b.weight * squared(change[b.unknown] - b.value);
  if (!stage.exact) {
    Vector size(0);
    stage.measure.mult(&change, &size);
    for (int i = 0; i < change.size(); ++i) sum += change[i] * size[i];
  }
  Pose pose;
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i == 0 || list[i].frame != list[i - 1].frame) skeleton_.pose(clip_.frame(list[i].frame), &pose);
    const Pnt3 miss = list[i].target - pose.position[static_cast<std::size_t>(list[i].joint)];
    sum += list[i].weight * (list[i].heightOnly ? miss.y * miss.y : miss.lengthSq());
  }
  return sum;
}

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
      clip_.frame(f)[channel] = original_.frame(f)[channel] + sum;
    }
  }
}

double Motion::largestTurn(const Vector& change) const {
  const int n = static_cast<int>(channels_.size());
  double largest = 0.0;
  for (int i = 0; i < change.size(); ++i) {
    if (!skeleton_.isRotation(channels_[static_cast<std::size_t>(i % n)])) continue;
    largest = std::max(largest, std::fabs(before_[i] + change[i]));
  }
  return largest;
}

double Motion::largestMiss(int* wish) const {
  double largest = 0.0;
  if (wish) *wish = -1;
  Pose pose;
  int frame = -1;
  for (std::size_t i = 0; i < wishes_.size(); ++i) {
    if (!isExact(i)) continue;
    if (wishes_[i].frame != frame) skeleton_.pose(clip_.frame(frame = wishes_[i].frame), &pose);
    const Pnt3 at = pose.position[static_cast<std::size_t>(wishes_[i].joint)];
    const double miss = (wishes_[i].target - at).length() / skeleton_.height();
    if (miss <= largest) continue;
    largest = miss;
    if (wish) *wish = static_cast<int>(i);
  }
  return largest;
}

}  // namespace limber::motion::detail
