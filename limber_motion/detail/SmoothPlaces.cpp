#include "limber_motion/detail/SmoothPlaces.h"

#include <algorithm>

#include "limber/linalg/BandedCholesky.h"
#include "limber/linalg/ResizeMatrix.h"
#include "limber/linalg/Vector.h"
#include "limber_motion/Smoothness.h"
#include "limber_motion/detail/Memory.h"

namespace limber::motion::detail {

namespace {

constexpr double smooth = 0.12, rounding = 0.06;  // seconds: time constants of the measure
constexpr int reach = 3;  // frames further apart than this have no element in the measure

// For each frame, the index of the unknown that is its place. All frames of a contact share one unknown.
std::vector<int> unknownsOf(int frames, const std::vector<Contact*>& contacts) {
  std::vector<int> unknown(static_cast<std::size_t>(frames), 1);
  unknown[0] = 0;
  for (const Contact* contact : contacts) {
    for (int f = contact->first + 1; f <= contact->last; ++f) unknown[static_cast<std::size_t>(f)] = 0;
  }
  for (std::size_t f = 1; f < unknown.size(); ++f) unknown[f] += unknown[f - 1];
  return unknown;
}

}  // namespace

void smoothPlaces(const Tracks& tracks, const std::vector<Contact*>& contacts) {
  if (contacts.empty()) return;
  const int frames = tracks.frames(), joint = contacts.front()->joint;
  const Smoothness measure(frames, {1.0}, tracks.frameTime(), smooth, rounding);
  const std::vector<int> unknown = unknownsOf(frames, contacts);
  ResizeMatrix band(unknown.back() + 1, reach + 1);
  if (band.kind != 0) return;
  for (int f = 0; f < frames; ++f) {
    for (int g = f; g <= std::min(f + reach, frames - 1); ++g) {
      const int a = unknown[static_cast<std::size_t>(f)], b = unknown[static_cast<std::size_t>(g)];
      const double both = f != g && a == b ? 2.0 : 1.0;
      band.data[b * (reach + 1) + reach - (b - a)] += both * measure.acc(f, g);
    }
  }
  if (cholFactorBanded(&band) != 0) return;
  for (int axis = 0; axis < 3; ++axis) {
    Vector own = zeros(frames), pull(0), place = zeros(unknown.back() + 1);
    for (int f = 0; f < frames; ++f) own[f] = tracks.at(joint, f).v()[axis];
    measure.mult(&own, &pull);
    for (int f = 0; f < frames; ++f) place[unknown[static_cast<std::size_t>(f)]] += pull[f];
    cholSolveBanded(&band, &place);
    for (Contact* contact : contacts) {
      contact->place.v()[axis] = place[unknown[static_cast<std::size_t>(contact->first)]];
    }
  }
}

}  // namespace limber::motion::detail
