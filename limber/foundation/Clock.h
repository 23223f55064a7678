#pragma once

#include <cstdint>

#include "limber/Api.h"

/// A named stopwatch that accumulates start-stop intervals. It counts ticks of the platform's performance
/// counter, or milliseconds of the runtime's clock() where there is none.
class LIMBER_API Clock {
 public:
  int count;                ///< completed intervals
  std::int64_t total;       ///< sum of the intervals, in ticks
  std::int64_t startTicks;  ///< reading of the last start
  std::int64_t stopTicks;   ///< reading of the last stop
  std::int64_t frequency;   ///< ticks a second; 0: no counter, the readings are milliseconds
  const char* name;         ///< not copied: the caller's text outlives the clock
  std::int64_t maxTicks;    ///< longest interval
  std::int64_t minTicks;    ///< shortest interval; 0: none since reset

  /// All fields 0 but the name and minTicks, which deliberately starts at 60000000: until a reset, intervals
  /// longer than that never become the shortest.
  explicit Clock(const char* name = "UnNamed");
  Clock(const Clock&);
  Clock& operator=(const Clock&);

  /// Asks for the counter's frequency anew and takes the start reading.
  void start();
  /// Takes the stop reading and adds the interval since the last start.
  void stop();
  /// Zeroes all but stopTicks, frequency and name. minTicks becomes 0, not 60000000: the next interval is the
  /// shortest whatever its length.
  void reset();
  /// One line through stdoutPrintf: total ticks, count, and the mean, shortest and longest interval in
  /// seconds.
  void print() const;
};
