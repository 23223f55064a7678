// Writes 100000 line segments, and the same bytes by plain fprintf. The ratio is the writer's bytes per
// second over those of fprintf. The goal is at least 0.95.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "limber/foundation/Output.h"
#include "limber/graphics/AIPS.h"

namespace {

constexpr int segments = 100000;

struct Points {
  std::vector<double> xy;
  Points() : xy(4 * segments) {
    for (std::size_t i = 0; i < xy.size(); ++i) xy[i] = 300 + 250 * std::sin(0.37 * static_cast<double>(i));
  }
};

const Points& points() {
  static const Points made;
  return made;
}

int silent(const char*) { return 0; }

void Limber(benchmark::State& state) {
  const std::vector<double>& xy = points().xy;
  stdoutF = silent;
  for (auto _ : state) {
    AIPSWriter writer(std::fopen("/dev/null", "w"), nullptr, 0, 0, 576, 720);
    for (int i = 0; i < segments; ++i) writer.line2(xy[4 * i], xy[4 * i + 1], xy[4 * i + 2], xy[4 * i + 3]);
  }
}
BENCHMARK(Limber)->Unit(benchmark::kMillisecond);

void Fprintf(benchmark::State& state) {
  const std::vector<double>& xy = points().xy;
  for (auto _ : state) {
    FILE* const file = std::fopen("/dev/null", "w");
    for (int i = 0; i < segments; ++i) {
      std::fprintf(file, "%g %g m ", xy[4 * i], xy[4 * i + 1]);
      std::fprintf(file, "%g %g L ", xy[4 * i + 2], xy[4 * i + 3]);
      std::fprintf(file, "S\n");
    }
    std::fclose(file);
  }
}
BENCHMARK(Fprintf)->Unit(benchmark::kMillisecond);

}  // namespace
