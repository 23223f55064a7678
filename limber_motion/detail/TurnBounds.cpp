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
  for (std::size_t i = 0; i < task.constraints.size(); ++i) {
    if (task.rank[i] == 0) continue;
    for (const int c : task.skeleton.chain(task.constraints[i].joint))
      turns[static_cast<std::size_t>(c)] = std::numeric_limits<double>::infinity();
  }
  return turns;
}

}  // namespace

TurnBounds::TurnBounds(const Task& task, const std::vector<int>& channels, int times)
    : task_(task),
      channels_(channels),
      preferred_(plantTurns(task)),
      swinging_(swingingAxes(task.original)),
      eachFrame_(times == task.original.frames) {
  for (std::vector<int>& signs : bound_) signs.assign(static_cast<std::size_t>(times) * channels.size(), 0);
}

double TurnBounds::largestChange(const Stage& stage, int unknown, bool firm) const {
  const double allowed = task_.options.mostTurn;
  if (firm) return allowed;
  const double preferred = preferred_[static_cast<std::size_t>(channelOf(unknown))];
  return std::min(preferred * (stage.exact ? 1.0 : ofPlantTurn), allowed);
}

// Firm bounds keep away from the largest turn, which no step may exceed.
double TurnBounds::keptAt(const Stage& stage, int unknown, bool firm) const {
  return (firm ? boundPart : 1.0) * largestChange(stage, unknown, firm);
}

// Curves with knots change several frames by one unknown, so they leave swinging axes alone.
bool TurnBounds::isSwinging(int unknown) const {
  const std::size_t frame = static_cast<std::size_t>(unknown) / channels_.size();
  const std::size_t channels = static_cast<std::size_t>(task_.original.channels);
  return eachFrame_ && swinging_[frame * channels + static_cast<std::size_t>(channelOf(unknown))];
}

void TurnBounds::release(const Stage& stage, const Window& window, const Vector& change) {
  const int begin = window.first * static_cast<int>(channels_.size());
  for (const bool firm : {false, true}) {
    for (int i = 0; i < change.size(); ++i) {
      int& sign = bound_[firm][static_cast<std::size_t>(begin + i)];
      if (sign * change[i] < cameBack * keptAt(stage, i, firm)) sign = 0;
    }
  }
}

std::vector<bool> TurnBounds::bind(const Stage& stage, const Window& window, const Vector& change) {
  const int n = static_cast<int>(channels_.size()), begin = window.first * n;
  std::vector<bool> news(static_cast<std::size_t>(window.end - window.first), false);
  for (int i = 0; i < change.size(); ++i) {
    if (!task_.skeleton.isRotation(channelOf(i))) continue;
    for (const bool firm : {false, true}) {
      int& sign = bound_[firm][static_cast<std::size_t>(begin + i)];
      if (!(std::fabs(change[i]) > largestChange(stage, i, firm)) || sign != 0) continue;
      sign = change[i] < 0.0 ? -1 : 1;
      news[static_cast<std::size_t>(i / n)] = true;
    }
  }
  return news;
}

std::vector<Bound> TurnBounds::bounds(const Stage& stage, const Window& window, const Vector& before) const {
  const double height = task_.skeleton.height(), pull = stage.pull * (height * height);
  const int n = static_cast<int>(channels_.size()), begin = window.first * n;
  std::vector<Bound> bounds;
  for (int i = 0; i < before.size(); ++i) {
    const double spring = stage.measure.massOf(i % n) / stage.measure.flexibility();
    for (const bool firm : {false, true}) {
      const int sign = bound_[firm][static_cast<std::size_t>(begin + i)];
      if (sign == 0) continue;
      const double weight =
          firm ? boundFirmness * (stage.measure.acc(begin + i, begin + i) + pull) : plantFirmness * spring;
      bounds.push_back({i, sign * keptAt(stage, i, firm) - before[i], weight});
    }
    if (isSwinging(begin + i)) bounds.push_back({i, -before[i], swingFirmness * spring});
  }
  return bounds;
}

double TurnBounds::largestTurn(const Vector& change) const {
  double largest = 0.0;
  for (int i = 0; i < change.size(); ++i) {
    if (task_.skeleton.isRotation(channelOf(i))) largest = std::max(largest, std::fabs(change[i]));
  }
  return largest;
}

bool TurnBounds::allow(const Vector& change) const { return largestTurn(change) <= task_.options.mostTurn; }

bool TurnBounds::isBoundFirmly(const Window& window) const {
  const int n = static_cast<int>(channels_.size());
  const auto begin = bound_[true].begin() + window.first * n, end = bound_[true].begin() + window.end * n;
  return std::any_of(begin, end, [](int sign) { return sign != 0; });
}

}  // namespace limber::motion::detail
