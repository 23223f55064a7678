#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Medians over the rounds of byTurns: nanoseconds per call of each side, and the ratio of Limber's time to
/// the peer's (below 1: Limber is faster).
struct Turns {
  double ours, peer, ratio;
};

/// Measures two pieces of work in turns, so that both run under the same conditions. Each round calls both
/// `calls` times, and the one that goes first alternates.
template <class Ours, class Peer>
Turns byTurns(int rounds, int calls, Ours ours, Peer peer) {
  const auto nanoseconds = [calls](auto& work) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; ++i) work();
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / calls;
  };
  std::vector<double> ourTimes, peerTimes, ratios;
  for (int round = 0; round < rounds; ++round) {
    const bool oursFirst = round % 2 == 0;
    double a = oursFirst ? nanoseconds(ours) : 0.0;
    const double b = nanoseconds(peer);
    if (!oursFirst) a = nanoseconds(ours);
    ourTimes.push_back(a);
    peerTimes.push_back(b);
    ratios.push_back(a / b);
  }
  return {median(ourTimes), median(peerTimes), median(ratios)};
}
