#include "limber_motion/detail/TurnBounds.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "limber_motion/detail/SwingingAxes.h"

namespace limber::motion::detail {

namespace {

constexpr double boundPart = 0.97;      // fraction of the largest turn, for firm bounds
constexpr double boundFirmness = 10.0;  // weight of a firm bound, relative to what pulls against it
constexpr double plantTurn = 0.34;      // radians: preferred largest turn for holding feet
constexpr double ofPlantTurn = 0.88;    // fraction of it for the stages before the last one
constexpr double plantFirmness = 4.0;   // weight of a gentle bound, relative to that of one unknown
constexpr double swingFirmness = 30.0;  // the same for the angles of swinging axes
constexpr double cameBack = 0.99;       // fraction of a bound below which its unknown is released

// How far each channel of a clip should turn: not far if it only helps to hold feet, without limit if a joint
// must reach something else.
std::vector<double> plantTurns(const Task& task) {
  std::vector<double> turns(static_cast<std::size_t>(task.skeleton.channels()), plantTurn);
  for (std::size_t i = 0; i < task.wishes.size(); ++i) {
    if (task.rank[i] == 0) continue;
    for (const int c : task.skeleton.chain(task.wishes[i].joint))
      turns[static_cast<std::size_t>(c)] = std::numeric_limits<double>::infinity();
  }
  return turns;
}

}  // namespace

TurnBounds::TurnBounds(const Task& task, const std::vector<int>& channels)
    : task_(task),
      channels_(channels),
      preferred_(plantTurns(task)),
      swinging_(swingingAxes(task.original)) {}

double TurnBounds::most(const Stage& stage, int unknown, bool firm) const {
  const double allowed = task_.options.mostTurn;
  if (firm) return allowed;
  const double preferred = preferred_[static_cast<std::size_t>(channelOf(unknown))];
  return std::min(preferred * (stage.exact ? 1.0 : ofPlantTurn), allowed);
}

// Firm bounds keep away from the largest turn, which no step may exceed.
double TurnBounds::keptAt(const Stage& stage, const Bind& bind) const {
  return (bind.firm ? boundPart : 1.0) * most(stage, bind.unknown, bind.firm);
}

void TurnBounds::release(const Stage& stage, const Vector& change) {
  const auto isBack = [&](const Bind& b) { return b.sign * change[b.unknown] < cameBack * keptAt(stage, b); };
  binds_.erase(std::remove_if(binds_.begin(), binds_.end(), isBack), binds_.end());
}

bool TurnBounds::bind(const Stage& stage, const Vector& change) {
  std::vector<bool> bound[2];  // [0] for gentle bounds, [1] for firm ones
  for (std::vector<bool>& some : bound) some.assign(static_cast<std::size_t>(change.size()), false);
  for (const Bind& b : binds_) bound[b.firm][static_cast<std::size_t>(b.unknown)] = true;
  bool news = false;
  for (int i = 0; i < change.size(); ++i) {
    if (!task_.skeleton.isRotation(channelOf(i))) continue;
    for (const bool firm : {false, true}) {
      if (!(std::fabs(change[i]) > most(stage, i, firm)) || bound[firm][static_cast<std::size_t>(i)])
        continue;
      binds_.push_back({i, std::copysign(1.0, change[i]), firm});
      news = true;
      turnedTooFar_ = turnedTooFar_ || firm;
    }
  }
  return news;
}

std::vector<Bound> TurnBounds::bounds(const Stage& stage, const Vector& before) const {
  const double height = task_.skeleton.height(), pull = stage.pull * (height * height);
  const int n = static_cast<int>(channels_.size());
  std::vector<Bound> bounds;
  for (const Bind& b : binds_) {
    const double weight =
        b.firm ? boundFirmness * (stage.measure.acc(b.unknown, b.unknown) + pull)
               : plantFirmness * stage.measure.massOf(b.unknown % n) / stage.measure.flexibility();
    bounds.push_back({b.unknown, b.sign * keptAt(stage, b) - before[b.unknown], weight});
  }
  keepSwinging(stage, before, &bounds);
  return bounds;
}

// Curves with knots change several frames by one unknown, so they leave swinging axes alone.
void TurnBounds::keepSwinging(const Stage& stage, const Vector& before, std::vector<Bound>* bounds) const {
  const int n = static_cast<int>(channels_.size());
  const std::size_t channels = static_cast<std::size_t>(task_.original.channels);
  if (before.size() != task_.original.frames * n) return;
  for (int i = 0; i < before.size(); ++i) {
    const std::size_t frame = static_cast<std::size_t>(i / n);
    if (!swinging_[frame * channels + static_cast<std::size_t>(channelOf(i))]) continue;
    bounds->push_back(
        {i, -before[i], swingFirmness * stage.measure.massOf(i % n) / stage.measure.flexibility()});
  }
}

double TurnBounds::largestTurn(const Vector& change) const {
  double largest = 0.0;
  for (int i = 0; i < change.size(); ++i) {
    if (task_.skeleton.isRotation(channelOf(i))) largest = std::max(largest, std::fabs(change[i]));
  }
  return largest;
}

bool TurnBounds::allow(const Vector& change) {
  const bool allowed = largestTurn(change) <= task_.options.mostTurn;
  turnedTooFar_ = turnedTooFar_ || !allowed;
  return allowed;
}

}  // namespace limber::motion::detail
