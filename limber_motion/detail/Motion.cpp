#include "limber_motion/detail/Motion.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "limber_motion/detail/HeldJoints.h"
#include "limber_motion/detail/Memory.h"
#include "limber_motion/detail/SecondsNow.h"

namespace limber::motion::detail {

namespace {

constexpr double floorFirmness = 100.0;  // pull of the floor, relative to that of the targets
constexpr double nothing = 5e-6;         // heights: such a miss needs no further step
constexpr double nearEnough = 0.01;      // heights: the next stage can remove such a miss
constexpr double nearer = 0.95;          // fraction of a miss that a worthwhile step leaves at most
constexpr double goodPart = 0.3;         // fraction of a step: if less of it is taken, the next one is damped
constexpr double trembles = 0.05;        // seconds: what is faster than this is trembling
constexpr double slackening = 0.03;      // factor for the pull of a contact per 1 of looseness above 1
constexpr double mostStilled = 4.0;      // looseness up to which trembling is removed

double squared(double x) { return x * x; }

int spacingOf(const Clip& clip, double knots) {
  return static_cast<int>(std::lrint(std::min(knots / clip.frameTime, 1e6)));
}

bool same(const Hold& a, const Hold& b) {
  return a.weight == b.weight && a.target.x == b.target.x && a.target.y == b.target.y &&
         a.target.z == b.target.z;
}

}  // namespace

Motion::Motion(const Task& task, const std::vector<bool>& givenUp, double pull, Floor floor)
    : task_(task),
      givenUp_(givenUp),
      givenUpPull_(pull),
      curves_(task.original.frames, spacingOf(task.original, task.options.knots)),
      channels_(movingChannels(task, floor.feet())),
      urgency_(urgencies(task)),
      all_{0, curves_.times()},
      floor_(std::move(floor)),
      turns_(task, channels_, curves_.times()),
      stages_(stagesOf(task, curves_, channels_, floor_.first(), pull)),
      looseness_(task.constraints.size(), 0.0),
      misses_(task.constraints.size(), 0.0),
      changes_{curves_, channels_, zeros(curves_.times() * static_cast<int>(channels_.size())),
               zeros(curves_.times() * static_cast<int>(channels_.size())), task.original},
      done_(stages_.size(), Done{{}, changes_.now}) {}

void Motion::run(const std::vector<double>& looseness) {
  const bool again = !steps_.empty() && pullsAsBefore(looseness);
  looseness_ = looseness;
  stepsOfRun_ = again ? stepsBeforeLast_ : 0;
  std::vector<Window> windows;
  for (std::size_t s = again ? lastStage() : 0; s < stages_.size() && !interrupted_; ++s) {
    if (s == lastStage()) stepsBeforeLast_ = stepsOfRun_;
    begin(s);
    windows = windowsOf(s, windows);
    restore(done_[s].change, windows);
    run(stages_[s], windows, std::min(stages_[s].mostSteps, task_.options.mostSteps));
    assign(&done_[s].change, changes_.now);
  }
}

void Motion::goOn() {
  run(stages_[lastStage()], open_, stepsOfRun_ + task_.options.mostSteps);
  assign(&done_[lastStage()].change, changes_.now);
}

bool Motion::turnsTooFar(int frame) const {
  const Curves::Basis basis = curves_.at(frame);
  const int reach = stages_.back().reach;
  return turns_.isBoundFirmly(
      {std::max(basis.first - reach, 0), std::min(basis.first + basis.count + reach, all_.end)});
}

bool Motion::pullsAsBefore(const std::vector<double>& looseness) const {
  for (std::size_t i = 0; i < looseness.size(); ++i) {
    if (std::max(looseness[i], 1.0) != std::max(looseness_[i], 1.0)) return false;
  }
  return true;
}

// Shows the result of the previous stages, and decides from it what is aimed at.
void Motion::begin(std::size_t s) {
  changes_.before = 0.0;
  changes_.now = 0.0;
  for (std::size_t earlier = 0; earlier < s; ++earlier) changes_.before += done_[earlier].change;
  showChanges(task_.original, all_, &changes_);
  measureMisses(all_);
  if (stages_[s].exact) aimBetween();
}

// Takes over the change that a stage made in an earlier run, but not in the windows, where it begins anew.
void Motion::restore(const Vector& change, const std::vector<Window>& windows) {
  const int n = static_cast<int>(channels_.size());
  assign(&changes_.now, change);
  for (const Window& window : windows)
    std::fill(changes_.now.begin() + window.first * n, changes_.now.begin() + window.end * n, 0.0);
  showChanges(task_.original, all_, &changes_);
  measureMisses(all_);
}

// The last stage holds loose constraints between their targets and where the joints are now, without their
// trembling as long as they are not too loose for that: the shortest bones may have to follow it.
void Motion::aimBetween() {
  aims_.clear();
  for (const Constraint& constraint : task_.constraints) aims_.push_back(constraint.target);
  if (std::all_of(looseness_.begin(), looseness_.end(), [](double l) { return l == 0.0; })) return;
  const Places places(changes_.clip, task_.skeleton);
  const double height = task_.skeleton.height();
  const int half = static_cast<int>(std::lrint(std::min(trembles / task_.original.frameTime, 1e6)));
  for (std::size_t i = 0; i < aims_.size(); ++i) {
    if (looseness_[i] == 0.0) continue;
    const Constraint& constraint = task_.constraints[i];
    const Pnt3& now = places.at(constraint.joint, constraint.frame);
    const Pnt3 still = places.stilled(constraint.joint, constraint.frame, half, floor_.first());
    const Pnt3 place = still + (now - still) * std::clamp(looseness_[i] - mostStilled, 0.0, 1.0);
    aims_[i] += (place * height - constraint.target) * std::min(looseness_[i], 1.0);
    keepBone(i, places);
    aims_[i].y = std::max(aims_[i].y, std::min(constraint.target.y, floor_.least(constraint.joint)));
  }
}

// If the parent of a joint is held in the same frame, moves the joint's aim along the bone between them until
// the bone has its length. The parent may be less loose. `places` are in heights.
void Motion::keepBone(std::size_t i, const Places& places) {
  const Constraint& own = task_.constraints[i];
  const int parent = task_.original.joints[static_cast<std::size_t>(own.joint)].parent;
  for (std::size_t k = i; k-- > 0 && task_.constraints[k].frame == own.frame;) {
    if (task_.constraints[k].joint != parent || givenUp_[k]) continue;
    const double length = (places.at(own.joint, own.frame) - places.at(parent, own.frame)).length();
    const Pnt3 bone = aims_[i] - aims_[k];
    if (bone.length() > 0.0) aims_[i] = aims_[k] + bone * (length * task_.skeleton.height() / bone.length());
  }
}

// What the stage asks of each constraint; the weight is 0 if it asks nothing.
std::vector<Hold> Motion::asks(const Stage& stage) const {
  std::vector<Hold> list;
  for (std::size_t i = 0; i < task_.constraints.size(); ++i) {
    const Constraint& constraint = task_.constraints[i];
    double weight = stage.pull;
    if (stage.exact) {
      if (constraint.weight < 1.0 || givenUp_[i]) weight = 0.0;
    } else {
      weight = givenUp_[i] ? stage.gentlePull * squared(std::min(constraint.weight, 1.0))
                           : stage.pull * urgency_[i] * squared(constraint.weight);
      if (looseness_[i] > 1.0) weight *= std::pow(slackening, looseness_[i] - 1.0);
    }
    list.push_back({constraint.frame, constraint.joint, stage.exact ? aims_[i] : constraint.target, weight,
                    stage.exact, false});
  }
  return list;
}

// The windows in which a stage works: those in which the previous stages have just worked, and those around
// the frames whose constraints were different when this stage ran before.
std::vector<Window> Motion::windowsOf(std::size_t s, std::vector<Window> windows) {
  const std::vector<Hold> asked = asks(stages_[s]);
  const bool first = done_[s].asked.empty();
  std::vector<bool> differs(static_cast<std::size_t>(task_.original.frames), false);
  for (std::size_t i = 0; i < asked.size(); ++i) {
    if (first || !same(asked[i], done_[s].asked[i])) differs[static_cast<std::size_t>(asked[i].frame)] = true;
  }
  done_[s].asked = asked;
  if (first) return {all_};
  std::vector<bool> times(static_cast<std::size_t>(all_.end), false);
  for (const Window& own : around(differs, all_, stages_[s].reach)) windows.push_back(own);
  for (const Window& window : windows) {
    std::fill(times.begin() + window.first, times.begin() + window.end, true);
  }
  return windowsAround(times, 0, 0);
}

// `mostSteps` counts the steps of the previous stages too.
void Motion::run(const Stage& stage, std::vector<Window> windows, int mostSteps) {
  open_ = std::move(windows);
  while (!open_.empty() && stepsOfRun_ < mostSteps && !interrupted_) {
    open_ = step(stage, open_);
    interrupted_ = task_.options.observer && !task_.options.observer(steps_.back());
  }
}

// Takes a step in each window. Returns the windows that need another one.
std::vector<Window> Motion::step(const Stage& stage, const std::vector<Window>& windows) {
  const double begun = secondsNow();
  const std::vector<double> missesBefore = misses_;
  ++stepsOfRun_;
  EditStep done;
  done.number = static_cast<int>(steps_.size()) + 1;
  done.exact = stage.exact;
  done.before = largestMiss(all_);
  done.scale = 1.0;
  int counted = 0;
  std::vector<Window> rest;
  for (const Window& window : windows) {
    const double scale = step(stage, window);
    const std::vector<Window> open = unfinished(stage, window, scale, missesBefore);
    rest.insert(rest.end(), open.begin(), open.end());
    done.scale = std::min(done.scale, scale);
    const auto [first, end] = framesOf(window);
    done.frames += end - std::max(first, counted);  // with knots, windows share frames
    counted = end;
  }
  done.after = largestMiss(all_);
  Vector change(0);
  assign(&change, changes_.before);
  change += changes_.now;
  done.turn = turns_.largestTurn(change);
  done.seconds = secondsNow() - begun;
  steps_.push_back(done);
  return rest;
}

// Takes a step in one window. Returns the fraction that was taken.
double Motion::step(const Stage& stage, const Window& window) {
  const auto [first, end] = framesOf(window);
  std::vector<Hold> wanted = holdsIn(stage, window);
  const bool sinks = !floor_.watch(changes_.clip, first, end, wanted).empty();
  floor_.addTo(changes_.clip, first, end, stage.exact ? stage.pull : floorFirmness * stage.pull, &wanted);
  // If the motion is good enough already, only large parts are tried, because a small part of a bad step
  // could make it worse elsewhere.
  const double least = stage.exact && !sinks && largestMiss(window) <= task_.options.goal ? 0.75 : 0.05;
  const double scale = WindowStep(task_, stage, window, wanted, &changes_, &turns_).take(least);
  measureMisses(window);
  return scale;
}

// The parts of a window that need another step of the same stage, after one of which the fraction `scale` was
// taken.
std::vector<Window> Motion::unfinished(const Stage& stage, const Window& window, double scale,
                                       const std::vector<double>& missesBefore) {
  const double damping = scale > goodPart ? 0.0 : 1.0;
  if (!stage.exact && stepsOfRun_ < stage.leastSteps) return {{window.first, window.end, damping}};
  const auto [first, last] = framesOf(window);
  std::vector<int> low;  // frames in which a foot is too low
  if (stage.exact) low = floor_.watch(changes_.clip, first, last, holdsIn(stage, window));
  if (stage.exact && scale == 0.0 && low.empty() && largestMiss(window) <= task_.options.goal) return {};
  const auto [begin, end] = constraintsOf(window);
  std::vector<bool> open(static_cast<std::size_t>(last - first), false);
  for (std::size_t i = begin; i < end; ++i) {
    bool another = isExact(i) && misses_[i] > std::min(nothing, task_.options.goal);
    if (!stage.exact)
      another = isExact(i) && misses_[i] > nearEnough && misses_[i] < nearer * missesBefore[i];
    if (!stage.exact && givenUp_[i] && givenUpPull_ > 0.0) another = scale > 0.0;
    if (another) open[static_cast<std::size_t>(task_.constraints[i].frame - first)] = true;
  }
  for (const int f : low) open[static_cast<std::size_t>(f - first)] = true;
  std::vector<Window> windows = around(open, window, stage.reach);
  for (Window& rest : windows) rest.damping = damping;
  return windows;
}

std::vector<Hold> Motion::holdsIn(const Stage& stage, const Window& window) const {
  const std::vector<Hold>& asked = done_[static_cast<std::size_t>(&stage - stages_.data())].asked;
  const auto [begin, end] = constraintsOf(window);
  std::vector<Hold> list;
  for (std::size_t i = begin; i < end; ++i) {
    if (asked[i].weight > 0.0) list.push_back(asked[i]);
  }
  return list;
}

// The windows around those times of a window on which the marked ones of its frames depend.
std::vector<Window> Motion::around(const std::vector<bool>& marks, const Window& window, int margin) const {
  const int first = framesOf(window).first;
  std::vector<bool> times(static_cast<std::size_t>(window.end - window.first), false);
  for (std::size_t i = 0; i < marks.size(); ++i) {
    if (!marks[i]) continue;
    const Curves::Basis basis = curves_.at(first + static_cast<int>(i));
    const int begin = std::max(basis.first, window.first);
    const int end = std::min(basis.first + basis.count, window.end);
    std::fill(times.begin() + (begin - window.first), times.begin() + (end - window.first), true);
  }
  return windowsAround(times, window.first, margin);
}

// The indices of the constraints in the window's frames.
std::pair<std::size_t, std::size_t> Motion::constraintsOf(const Window& window) const {
  const auto [first, end] = framesOf(window);
  const auto indexOf = [&](int frame) {
    const auto isBefore = [](const Constraint& constraint, int f) { return constraint.frame < f; };
    const auto at = std::lower_bound(task_.constraints.begin(), task_.constraints.end(), frame, isBefore);
    return static_cast<std::size_t>(at - task_.constraints.begin());
  };
  return {indexOf(first), indexOf(end)};
}

void Motion::measureMisses(const Window& window) {
  const auto [begin, end] = constraintsOf(window);
  const std::vector<Constraint> constraints(task_.constraints.begin() + static_cast<std::ptrdiff_t>(begin),
                                            task_.constraints.begin() + static_cast<std::ptrdiff_t>(end));
  const std::vector<double> misses = missesOf(constraints, changes_.clip, task_.skeleton);
  std::copy(misses.begin(), misses.end(), misses_.begin() + static_cast<std::ptrdiff_t>(begin));
}

// The largest miss of a constraint that must be met, in the window's frames.
double Motion::largestMiss(const Window& window) const {
  double largest = 0.0;
  const auto [begin, end] = constraintsOf(window);
  for (std::size_t i = begin; i < end; ++i) {
    if (isExact(i)) largest = std::max(largest, misses_[i]);
  }
  return largest;
}

}  // namespace limber::motion::detail
