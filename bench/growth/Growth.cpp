#include "bench/growth/Growth.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>

namespace growth {

namespace {

double wallClock() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double freeMemory() {
  double kilobytes = 0.0;
  if (FILE* const file = std::fopen("/proc/meminfo", "r")) {
    char line[200];
    while (std::fgets(line, sizeof line, file)) {
      if (std::sscanf(line, "MemAvailable: %lf", &kilobytes) == 1) break;
    }
    std::fclose(file);
  }
  return 1024.0 * kilobytes;
}

// Runs one measurement in a new process, so that all of them find the memory in the same state.
Cost inOwnProcess(const Work& work, int size) {
  int pipe[2];
  if (::pipe(pipe) != 0) std::abort();
  const pid_t child = fork();
  if (child < 0) std::abort();
  if (child == 0) {
    const double before = bytesNow();
    Cost cost = work.measure(size);
    cost.bytes -= before;
    const bool written = write(pipe[1], &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost);
    _exit(written ? 0 : 1);
  }
  close(pipe[1]);
  Cost cost{};
  const bool whole = read(pipe[0], &cost, sizeof cost) == static_cast<ssize_t>(sizeof cost);
  close(pipe[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!whole || status != 0) {
    std::fprintf(stderr, "%s of size %d failed\n", work.name.c_str(), size);
    std::exit(1);
  }
  return cost;
}

double exponent(const Series& series, double fewestBytes, double mostBytes, double Cost::*part) {
  double n = 0.0, x = 0.0, y = 0.0, xx = 0.0, xy = 0.0;
  for (std::size_t i = 0; i < series.sizes.size(); ++i) {
    // at small sizes, what the process holds beside the data would count too
    const double data = series.costs.back().bytes * series.sizes[i] / series.sizes.back();
    if (!(data >= fewestBytes && data <= mostBytes)) continue;
    const double u = std::log(series.sizes[i]), v = std::log(series.costs[i].*part);
    n += 1.0, x += u, y += v, xx += u * u, xy += u * v;
  }
  if (n < 2.0) return std::numeric_limits<double>::quiet_NaN();
  return (n * xy - x * y) / (n * xx - x * x);
}

}  // namespace

double processorTime() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double bytesNow() {
  long all = 0, resident = 0;
  if (FILE* const file = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(file, "%ld %ld", &all, &resident) != 2) resident = 0;
    std::fclose(file);
  }
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

double bytesAtMost() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

double secondsOf(const std::function<void()>& call) {
  call();
  double begin = processorTime();
  call();
  const double once = processorTime() - begin;
  const int calls = static_cast<int>(std::min(1e5, std::max(1.0, 0.01 / (once + 1e-9))));
  double least = once;
  for (int batch = 0; batch < 9; ++batch) {
    begin = processorTime();
    for (int i = 0; i < calls; ++i) call();
    least = std::min(least, (processorTime() - begin) / calls);
  }
  return least;
}

Series measure(const Work& work, int largest, int rounds, double patience) {
  Series series;
  const double begin = wallClock();
  double last = 0.0;
  for (int k = 0;; ++k) {
    const double size = std::round(1000.0 * std::pow(10.0, 0.25 * k));
    if (size > largest) break;
    const double growing = std::pow(10.0, 0.25);
    const bool fits = series.costs.empty() || growing * series.costs.back().bytes < 0.25 * freeMemory();
    const double left = patience - (wallClock() - begin);
    if (!fits || growing * last > left) break;
    const double start = wallClock();
    series.sizes.push_back(static_cast<int>(size));
    series.costs.push_back(inOwnProcess(work, series.sizes.back()));
    last = wallClock() - start;
  }
  for (int round = 1; round < rounds && wallClock() - begin < patience; ++round) {
    for (std::size_t i = 0; i < series.sizes.size(); ++i) {
      const Cost again = inOwnProcess(work, series.sizes[i]);
      series.costs[i].seconds = std::min(series.costs[i].seconds, again.seconds);
      series.costs[i].bytes = std::min(series.costs[i].bytes, again.bytes);
    }
  }
  return series;
}

double timeExponent(const Series& series, double fewestBytes, double mostBytes) {
  return exponent(series, fewestBytes, mostBytes, &Cost::seconds);
}

double memoryExponent(const Series& series, double fewestBytes, double mostBytes) {
  return exponent(series, fewestBytes, mostBytes, &Cost::bytes);
}

}  // namespace growth
