#include "memory.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#if !defined(_WIN32)
#include <sys/resource.h>
#endif

namespace {

constexpr double unlimited = std::numeric_limits<double>::infinity();

// The number after `key` in a file of the system, in bytes; infinite if there is none.
double systemValue(const char* file, const char* key, double unit) {
  std::FILE* const in = std::fopen(file, "r");
  if (!in) return unlimited;
  double value = unlimited;
  char line[256];
  const std::string format = std::string(key) + "%lf";
  while (std::fgets(line, sizeof line, in)) {
    if (std::sscanf(line, format.c_str(), &value) == 1) break;
  }
  std::fclose(in);
  return value * unit;
}

// The difference of a limit and its use; infinite if one of them is unknown.
double left(double limit, double used) { return used < unlimited ? std::max(limit - used, 0.0) : unlimited; }

double controlGroup() {
  const double unit = 1.0;
  const double newer = left(systemValue("/sys/fs/cgroup/memory.max", "", unit),
                            systemValue("/sys/fs/cgroup/memory.current", "", unit));
  const double older = left(systemValue("/sys/fs/cgroup/memory/memory.limit_in_bytes", "", unit),
                            systemValue("/sys/fs/cgroup/memory/memory.usage_in_bytes", "", unit));
  return std::min(newer, older);
}

double addressSpace() {
#if defined(_WIN32)
  return unlimited;
#else
  rlimit limit;
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return unlimited;
  return left(static_cast<double>(limit.rlim_cur), systemValue("/proc/self/status", "VmSize:", 1024.0));
#endif
}

std::string inWords(double bytes) {
  const char* const units[] = {"bytes", "kB", "MB", "GB", "TB", "PB"};
  int unit = 0;
  for (; bytes >= 1000.0 && unit < 5; ++unit) bytes /= 1000.0;
  char text[40];
  std::snprintf(text, sizeof text, "%.3g %s", bytes, units[unit]);
  return text;
}

}  // namespace

double memoryAtHand() {
  const double machine = systemValue("/proc/meminfo", "MemAvailable:", 1024.0);
  return std::min({machine, controlGroup(), addressSpace()});
}

void requireMemory(const std::string& file, double bytes) {
  const double atHand = memoryAtHand();
  if (bytes <= atHand) return;
  throw OutOfMemory(file + ": needs about " + inWords(bytes) + " of memory, but " + inWords(atHand) +
                    " are available");
}
