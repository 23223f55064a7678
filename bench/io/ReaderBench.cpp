// Reads 20 MB of reals with 6 and with 17 digits, separated by whitespace, with getReal. For a plain file the
// peer is ifstream >> double (goal: a ratio of at most 0.25). For a compressed file it is zlib, which only
// inflates the same file with large reads (goal: at most 1.8).
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "bench/support/Ratio.h"
#include "limber/io/Reader.h"

namespace {

constexpr std::size_t bytes = 20u << 20;

// A file that the destructor removes.
struct File {
  std::string path;
  File(const std::string& text, bool compress) : path("/tmp/limber_reader_XXXXXX") {
    close(mkstemp(path.data()));
    const gzFile out = gzopen(path.c_str(), compress ? "wb6" : "wbT");
    gzwrite(out, text.data(), static_cast<unsigned>(text.size()));
    gzclose(out);
  }
  ~File() { std::remove(path.c_str()); }
};

std::string numbers(int digits) {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> value(-1000.0, 1000.0);
  std::string text;
  text.reserve(bytes + 100);
  char word[40];
  for (int k = 1; text.size() < bytes; ++k) {
    std::snprintf(word, sizeof word, "%.*g%c", digits, value(random), k % 4 ? ' ' : '\n');
    text += word;
  }
  return text;
}

double sumOfReader(const std::string& path) {
  Reader reader(path.c_str(), static_cast<const char*>(nullptr));
  double sum = 0.0, value;
  while (reader.getReal(value, 0)) sum += value;
  return sum;
}

double sumOfStream(const std::string& path) {
  std::ifstream in(path);
  double sum = 0.0, value;
  while (in >> value) sum += value;
  return sum;
}

long inflated(const std::string& path) {
  std::vector<char> buffer(1u << 16);
  const gzFile in = gzopen(path.c_str(), "rb");
  gzbuffer(in, 1u << 17);
  long total = 0;
  for (int n; (n = gzread(in, buffer.data(), static_cast<unsigned>(buffer.size()))) > 0;) total += n;
  gzclose(in);
  return total;
}

void report(benchmark::State& state, const Turns& turns) {
  state.counters["ratio"] = turns.ratio;
  state.counters["ours_MB_s"] = static_cast<double>(bytes) / turns.ours * 1e3;
  state.counters["peer_MB_s"] = static_cast<double>(bytes) / turns.peer * 1e3;
}

void plain(benchmark::State& state) {
  const File file(numbers(static_cast<int>(state.range(0))), false);
  if (sumOfReader(file.path) != sumOfStream(file.path)) state.SkipWithError("the sums differ");
  for (auto _ : state)
    report(state, byTurns(
                      9, 1, [&] { benchmark::DoNotOptimize(sumOfReader(file.path)); },
                      [&] { benchmark::DoNotOptimize(sumOfStream(file.path)); }));
}

void compressed(benchmark::State& state) {
  const File file(numbers(static_cast<int>(state.range(0))), true);
  for (auto _ : state)
    report(state, byTurns(
                      9, 1, [&] { benchmark::DoNotOptimize(sumOfReader(file.path)); },
                      [&] { benchmark::DoNotOptimize(inflated(file.path)); }));
}

}  // namespace

BENCHMARK(plain)->Name("getReal/ifstream")->ArgName("digits")->Arg(6)->Arg(17)->Iterations(1);
BENCHMARK(compressed)->Name("getReal_gz/inflate")->ArgName("digits")->Arg(6)->Arg(17)->Iterations(1);
