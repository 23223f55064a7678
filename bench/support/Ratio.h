#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

/// Times two pieces of work by turns, so that both see the same machine, and shows the medians: nanoseconds a
/// call of each, and `ratio`, ours over the peer's (below 1: ours is faster). One iteration of the benchmark
/// is one round of `calls` calls of each.
template <class Ours, class Peer>
void compareByTurns(benchmark::State& state, int calls, Ours ours, Peer peer) {
  const auto nanoseconds = [calls](auto& work) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; i++) work();
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
    return elapsed.count() / calls;
  };
  std::vector<double> ourTimes, peerTimes, ratios;
  for (auto _ : state) {
    // Who goes first changes from round to round.
    const bool oursFirst = ratios.size() % 2 == 0;
    double a = oursFirst ? nanoseconds(ours) : 0.0;
    const double b = nanoseconds(peer);
    if (!oursFirst) a = nanoseconds(ours);
    ourTimes.push_back(a);
    peerTimes.push_back(b);
    ratios.push_back(a / b);
  }
  const auto median = [](std::vector<double>& v) {
    const auto middle = v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2);
    std::nth_element(v.begin(), middle, v.end());
    return *middle;
  };
  state.counters["limber_ns"] = median(ourTimes);
  state.counters["peer_ns"] = median(peerTimes);
  state.counters["ratio"] = median(ratios);
}
