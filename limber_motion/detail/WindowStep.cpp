#include "limber_motion/detail/WindowStep.h"

#include <algorithm>
#include <cmath>

#include "limber_motion/detail/Memory.h"

namespace limber::motion::detail {

namespace {

constexpr int border = 3;  // times: further apart, neither the measure of smoothness nor knots couple
constexpr double borderFirmness = 1e6;  // weight of the border, relative to what pulls at it
constexpr int boundRounds = 4;  // largest number of rounds of a step that find unknowns that turn too far

double squared(double x) { return x * x; }

}  // namespace

void showChanges(const Clip& original, const Window& window, Changes* changes) {
  const int n = static_cast<int>(changes->channels.size());
  const auto [first, end] = framesOf(window, changes->curves, original.frames);
  for (int f = first; f < end; ++f) {
    const Curves::Basis basis = changes->curves.at(f);
    for (int c = 0; c < n; ++c) {
      double sum = 0.0;
      for (int k = 0; k < basis.count; ++k) {
        const int i = (basis.first + k) * n + c;
        sum += basis.weight[k] * (changes->before[i] + changes->now[i]);
      }
      const int channel = changes->channels[static_cast<std::size_t>(c)];
      changes->clip.frame(f)[channel] = original.frame(f)[channel] + sum;
    }
  }
}

WindowStep::WindowStep(const Task& task, const Stage& stage, const Window& window,
                       const std::vector<Hold>& holds, Changes* changes, TurnBounds* turns)
    : task_(task),
      stage_(stage),
      window_(window),
      wide_(withBorder(window)),
      holds_(holds),
      changes_(*changes),
      turns_(*turns),
      channels_(static_cast<int>(changes->channels.size())),
      before_(part(changes->before, wide_)),
      now_(part(changes->now, wide_)),
      measure_(stage.measure.part(wide_.first, wide_.end)),
      step_(zeros(now_.size())) {}

Window WindowStep::withBorder(const Window& window) const {
  return {std::max(window.first - border, 0), std::min(window.end + border, stage_.measure.times())};
}

Vector WindowStep::part(const Vector& whole, const Window& window) const {
  Vector values = zeros((window.end - window.first) * channels_);
  std::copy_n(whole.begin() + window.first * channels_, values.size(), values.begin());
  return values;
}

double WindowStep::take(double least) {
  findStep();
  const double costBefore = cost(0.0);
  for (double scale = 1.0; scale > least; scale *= 0.5) {
    if (!turns_.allow(total(scale))) continue;
    show(scale);
    if (cost(scale) < costBefore) return scale;
  }
  show(0.0);
  return 0.0;
}

// Unknowns that would turn too far are bound, and the others near them make up for them.
void WindowStep::findStep() {
  turns_.release(stage_, wide_, total(0.0));
  std::vector<Window> open = {window_};
  for (int round = 0; round < boundRounds && !open.empty(); ++round) {
    for (const Window& window : open) {
      if (!solve(window)) return;
    }
    open = windowsAround(turns_.bind(stage_, wide_, total(1.0)), wide_.first, stage_.reach);
    for (Window& window : open) {
      window.first = std::max(window.first, window_.first);
      window.end = std::min(window.end, window_.end);
    }
  }
}

// Computes the part of the step in a window, which may be smaller than that of this object; the rest of the
// step keeps its values. Returns false if that is not possible.
bool WindowStep::solve(const Window& window) {
  const Window wide = withBorder(window);
  const Curves curves = changes_.curves.part(wide.first, wide.end);
  const Smoothness measure = stage_.measure.part(wide.first, wide.end);
  const auto [first, end] = framesOf(window, changes_.curves, task_.original.frames);
  std::vector<Hold> held;
  for (const Hold& hold : holds_) {
    if (hold.frame >= first && hold.frame < end) held.push_back(hold);
  }
  Holds holds(task_.skeleton, curves, changes_.channels);
  holds.linearize(held, changes_.clip);
  std::vector<Bound> bounds = turns_.bounds(stage_, wide, part(changes_.before, wide));
  for (const Bound& bound : keptBorder(window, wide)) bounds.push_back(bound);
  StepSystem system(measure, holds, window_.damping, bounds);
  if (!system.factored()) return false;
  Vector step(0);
  system.solve(part(changes_.now, wide), stage_.exact && window_.damping == 0.0 ? 6 : 1, &step);
  std::copy_n(step.begin() + (window.first - wide.first) * channels_, (window.end - window.first) * channels_,
              step_.begin() + (window.first - wide_.first) * channels_);
  return true;
}

// Bounds that keep the times of `wide` outside the window.
std::vector<Bound> WindowStep::keptBorder(const Window& window, const Window& wide) const {
  const double height = task_.skeleton.height();
  std::vector<Bound> bounds;
  for (int t = wide.first; t < wide.end; ++t) {
    if (t >= window.first && t < window.end) continue;
    for (int c = 0; c < channels_; ++c) {
      const int local = (t - wide_.first) * channels_ + c, i = t * channels_ + c;
      const double firmness = stage_.measure.acc(i, i) + stage_.pull * squared(height);
      const double step = t >= wide_.first && t < wide_.end ? step_[local] : 0.0;
      bounds.push_back({i - wide.first * channels_, changes_.now[i] + step, borderFirmness * firmness});
    }
  }
  return bounds;
}

// Sets the changes to those so far plus a part of the step.
void WindowStep::show(double scale) {
  double* const now = changes_.now.begin() + wide_.first * channels_;
  for (int i = 0; i < now_.size(); ++i) now[i] = now_[i] + scale * step_[i];
  showChanges(task_.original, window_, &changes_);
}

// The clip shows the changes with the same part of the step. A bound counts only for what is past it, so that
// it draws nothing towards itself; angles that are kept as they were have a bound on both sides.
double WindowStep::cost(double scale) const {
  Vector change = zeros(now_.size());
  for (int i = 0; i < now_.size(); ++i) change[i] = now_[i] + scale * step_[i];
  double sum = 0.0;
  for (const Bound& b : turns_.bounds(stage_, wide_, before_)) {
    const double past = change[b.unknown] - b.value, kept = before_[b.unknown] + b.value;
    if (past * kept >= 0.0) sum += b.weight * squared(past);
  }
  if (!stage_.exact) {
    Vector size(0);
    measure_.mult(&change, &size);
    for (int i = 0; i < change.size(); ++i) sum += change[i] * size[i];
  }
  Pose pose;
  for (std::size_t i = 0; i < holds_.size(); ++i) {
    const Hold& hold = holds_[i];
    if (i == 0 || hold.frame != holds_[i - 1].frame)
      task_.skeleton.pose(changes_.clip.frame(hold.frame), &pose);
    const Pnt3 miss = hold.target - pose.position[static_cast<std::size_t>(hold.joint)];
    sum += hold.weight * (hold.heightOnly ? miss.y * miss.y : miss.lengthSq());
  }
  return sum;
}

// The changes of all stages, with a part of the step.
Vector WindowStep::total(double scale) const {
  Vector sum = zeros(now_.size());
  for (int i = 0; i < now_.size(); ++i) sum[i] = before_[i] + now_[i] + scale * step_[i];
  return sum;
}

}  // namespace limber::motion::detail
