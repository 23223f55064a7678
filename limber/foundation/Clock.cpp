#include "limber/foundation/Clock.h"

#include <cinttypes>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/Platform.h"

using namespace limber::detail;

namespace {

std::int64_t reading(std::int64_t frequency) { return frequency != 0 ? counterTicks() : clockMilliseconds(); }

}  // namespace

Clock::Clock(const char* label)
    : count(0),
      total(0),
      startTicks(0),
      stopTicks(0),
      frequency(0),
      name(label),
      maxTicks(0),
      minTicks(60000000) {}

Clock::Clock(const Clock&) = default;
Clock& Clock::operator=(const Clock&) = default;

void Clock::start() {
  frequency = counterFrequency();
  startTicks = reading(frequency);
}

void Clock::stop() {
  stopTicks = reading(frequency);
  const std::int64_t elapsed = stopTicks - startTicks;
  ++count;
  total += elapsed;
  if (minTicks == 0 || elapsed < minTicks) minTicks = elapsed;
  if (elapsed > maxTicks) maxTicks = elapsed;
}

void Clock::reset() {
  total = startTicks = maxTicks = minTicks = 0;
  count = 0;
}

void Clock::print() const {
  double mean = 0.0, shortest = 0.0, longest = 0.0;
  if (count >= 1) {
    const double perSecond = frequency != 0 ? static_cast<double>(frequency) : 1000.0;
    mean = static_cast<double>(total) / (count * perSecond);
    shortest = static_cast<double>(minTicks) / perSecond;
    longest = static_cast<double>(maxTicks) / perSecond;
  }
  stdoutPrintf("Clock <%s> %" PRId64 " ticks / %d times = %5.3f sec per (%5.3f - %5.3f)\n", name, total,
               count, mean, shortest, longest);
}
