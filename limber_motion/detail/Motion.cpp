#include "limber_motion/detail/Motion.h"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "limber_motion/StepSystem.h"
#include "limber_motion/Stiffness.h"

namespace limber::motion::detail {

namespace {

constexpr double restSeconds = 0.02;               // time constant of the exact stage
double R1=getenv("R1")?atof(getenv("R1")):0.05,R2=getenv("R2")?atof(getenv("R2")):0.02,T=getenv("T")?atof(getenv("T")):0.02;
constexpr double typicalChange = 0.006;            // heights: what a clip needs where its feet slide
constexpr double leastPull = 1e2, mostPull = 1e8;  // of a miss^2 in heights
constexpr double shortRun = 0.1;                   // seconds: what is held for a shorter time pulls harder
constexpr double nothing = 1e-6;                   // heights: a miss that needs no further step
constexpr int smoothSteps = 3;

double secondsNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::vector<int> movingChannels(const Skeleton& skeleton, const std::vector<Constraint>& wishes,
                                const std::vector<int>& feet) {
  std::vector<bool> held(static_cast<std::size_t>(skeleton.joints()), false);
  for (const Constraint& wish : wishes) held[static_cast<std::size_t>(wish.joint)] = true;
  for (const int j : feet) held[static_cast<std::size_t>(j)] = true;
  std::vector<int> channels;
  for (int j = 0; j < skeleton.joints(); j++) {
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

}  // namespace

Motion::Motion(const Clip& original, const Skeleton& skeleton, const std::vector<Constraint>& wishes,
               const Floor& floor, const EditOptions& options)
    : original_(original),
      skeleton_(skeleton),
      wishes_(wishes),
      floor_(floor),
      options_(options),
      curves_(original.frames, spacingOf(original, options.knots)),
      channels_(movingChannels(skeleton, wishes, floor.feet)),
      clip_(original),
      holds_(skeleton, curves_, channels_),
      masses_(pick(channelMasses(original, skeleton, jointStiffness(original, skeleton, options.stiffness)),
                   channels_)),
      base_(curves_.times() * static_cast<int>(channels_.size())) {}

// A recorded joint trembles by about the third difference of its place over sqrt(20), in each direction, were
// the errors of its frames independent.
double Motion::trembling() const {
  double sum = 0.0;
  int count = 0;
  for (int j = 0; j < skeleton_.joints(); j++) {
    std::vector<int> frames;
    for (const Constraint& wish : wishes_) {
      if (wish.joint == j && wish.weight >= 1.0) frames.push_back(wish.frame);
    }
    for (std::size_t i = 0; i + 3 < frames.size(); i++) {
      if (frames[i + 3] != frames[i] + 3) continue;
      Pnt3 at[4];
      for (int k = 0; k < 4; k++) at[k] = skeleton_.position(j, original_.frame(frames[i] + k));
      sum += (at[3] - at[2] * 3.0 + at[1] * 3.0 - at[0]).lengthSq() / 60.0;
      count++;
    }
  }
  return count ? std::sqrt(sum / count) / skeleton_.height() : 0.0;
}

bool Motion::run() {
  const double dt = original_.frameTime * curves_.spacing(), height = skeleton_.height();
  const auto squared = [](double x) { return x * x; };
  const Smoothness smooth(curves_.times(), masses_, dt, options_.smooth, R1);
  const Smoothness brief(curves_.times(), masses_, dt, T, R2);
  const double ratio = squared(typicalChange / std::max(trembling(), 1e-9)) / smooth.flexibility();
  Stage stages[] = {
      {smooth, false, std::clamp(ratio, leastPull, mostPull) / squared(height), 1, base_},
      {brief, true, 1e4 * (1.0 + 6.0 * std::pow(T / dt, 4)+20.0 * std::pow(R2 / dt, 6)) / squared(height), 3, base_}};
  for (Stage& stage : stages) {
    double damping = 0.0;
    const int last = stage.exact ? options_.mostSteps : std::min(smoothSteps, options_.mostSteps);
    while (static_cast<int>(steps_.size()) < last) {
      if (stage.exact && largestMiss() <= nothing) break;
      const double before = cost(stage, stage.change, holds(stage));
      const bool better = step(&stage, damping);
      if (options_.observer && !options_.observer(steps_.back())) {
        stopped_ = "the edit was ended before it was done";
        return false;
      }
      if (!stopped_.empty()) return true;
      if (!better) {
        damping = damping == 0.0 ? 1.0 : 100.0 * damping;
        if (damping > 1e6) break;
        continue;
      }
      if (!stage.exact && cost(stage, stage.change, holds(stage)) > 0.9 * before) break;
    }
    base_ += stage.change;
  }
  return true;
}

bool Motion::step(Stage* stage, double damping) {
  const double begun = secondsNow();
  EditStep done;
  done.number = static_cast<int>(steps_.size()) + 1;
  done.exact = stage->exact;
  done.before = largestMiss();
  const std::vector<Hold> wanted = holds(*stage);
  holds_.linearize(wanted, clip_);
  Vector step(0), trial(0);
  StepSystem system(stage->measure, holds_, damping);
  bool better = false;
  if (system.factored()) {
    system.solve(stage->change, damping > 0.0 ? 1 : stage->rounds, &step);
    const double cost0 = cost(*stage, stage->change, wanted);
    for (done.scale = 1.0; done.scale > 0.05 && !better; done.scale *= 0.5) {
      trial = stage->change;
      trial.scaleAdd(done.scale, &step);
      show(trial);
      if (largestTurn(trial) > options_.mostTurn) continue;
      better = cost(*stage, trial, wanted) < cost0;
      if (better) break;
    }
  }
  if (better) {
    stage->change = trial;
  } else {
    done.scale = 0.0;
    show(stage->change);
  }
  done.after = largestMiss();
  done.turn = largestTurn(stage->change);
  done.seconds = secondsNow() - begun;
  steps_.push_back(done);
  return better;
}

std::vector<Hold> Motion::holds(const Stage& stage) const {
  std::vector<Hold> list;
  for (const Constraint& wish : wishes_) {
    if (stage.exact && wish.weight < 1.0) continue;
    const double weight = stage.exact ? stage.pull : stage.pull * wish.weight * wish.weight;
    list.push_back({wish.frame, wish.joint, wish.target, weight, stage.exact, false});
  }
  addFloor(&list, stage.pull);
  return list;
}

void Motion::addFloor(std::vector<Hold>* list, double weight) const {
  const double margin = 1e-5 * skeleton_.height();
  std::vector<Hold> low;
  std::size_t next = 0;
  Pose now, was;
  for (int f = 0; f < original_.frames; f++) {
    skeleton_.pose(clip_.frame(f), &now);
    skeleton_.pose(original_.frame(f), &was);
    while (next < list->size() && (*list)[next].frame < f) next++;
    for (const int j : floor_.feet) {
      bool held = false;
      for (std::size_t i = next; i < list->size() && (*list)[i].frame == f; i++)
        held |= (*list)[i].joint == j;
      if (held) continue;
      const double before = was.position[static_cast<std::size_t>(j)].y;
      const double least = options_.ground ? floor_.ground : std::min(floor_.ground, before + margin);
      Pnt3 place = now.position[static_cast<std::size_t>(j)];
      if (place.y >= least) continue;
      place.y = least;
      low.push_back({f, j, place, weight, true, true});
    }
  }
  if (low.empty()) return;
  list->insert(list->end(), low.begin(), low.end());
  std::stable_sort(list->begin(), list->end(),
                   [](const Hold& a, const Hold& b) { return a.frame < b.frame; });
}

double Motion::cost(const Stage& stage, const Vector& change, const std::vector<Hold>& list) const {
  double sum = 0.0;
  if (!stage.exact) {
    Vector size(0);
    stage.measure.mult(&change, &size);
    for (int i = 0; i < change.size(); i++) sum += change[i] * size[i];
  }
  Pose pose;
  for (std::size_t i = 0; i < list.size(); i++) {
    if (i == 0 || list[i].frame != list[i - 1].frame) skeleton_.pose(clip_.frame(list[i].frame), &pose);
    const Pnt3 miss = list[i].target - pose.position[static_cast<std::size_t>(list[i].joint)];
    sum += list[i].weight * (list[i].heightOnly ? miss.y * miss.y : miss.lengthSq());
  }
  return sum;
}

void Motion::show(const Vector& change) {
  const int n = static_cast<int>(channels_.size());
  for (int f = 0; f < clip_.frames; f++) {
    const Curves::Basis basis = curves_.at(f);
    for (int c = 0; c < n; c++) {
      double sum = 0.0;
      for (int k = 0; k < basis.count; k++) {
        const int i = (basis.first + k) * n + c;
        sum += basis.weight[k] * (base_[i] + change[i]);
      }
      const int channel = channels_[static_cast<std::size_t>(c)];
      clip_.frame(f)[channel] = original_.frame(f)[channel] + sum;
    }
  }
}

double Motion::largestTurn(const Vector& change) const {
  const int n = static_cast<int>(channels_.size());
  double largest = 0.0;
  for (int i = 0; i < change.size(); i++) {
    if (!skeleton_.isRotation(channels_[static_cast<std::size_t>(i % n)])) continue;
    largest = std::max(largest, std::fabs(base_[i] + change[i]));
  }
  return largest;
}

double Motion::largestMiss(int* wish) const {
  double largest = 0.0;
  if (wish) *wish = -1;
  for (std::size_t i = 0; i < wishes_.size(); i++) {
    if (wishes_[i].weight < 1.0) continue;
    const Pnt3 at = skeleton_.position(wishes_[i].joint, clip_.frame(wishes_[i].frame));
    const double miss = (wishes_[i].target - at).length() / skeleton_.height();
    if (miss <= largest) continue;
    largest = miss;
    if (wish) *wish = static_cast<int>(i);
  }
  return largest;
}

}  // namespace limber::motion::detail
