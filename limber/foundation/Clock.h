#pragma once

#include <cstdint>

#include "limber/Api.h"

/// A named stopwatch that accumulates start-stop intervals. It counts ticks of the platform's performance
/// counter, or milliseconds of the runtime's clock() if there is no counter.
class LIMBER_API Clock {
 public:
  int count;                ///< completed intervals
  std::int64_t total;       ///< sum of the intervals, in ticks
  std::int64_t startTicks;  ///< reading of the last start
  std::int64_t stopTicks;   ///< reading of the last stop
  std::int64_t frequency;   ///< ticks per second; 0: no counter, the readings are milliseconds
  const char* name;         ///< not copied: the caller's text must outlive the clock
  std::int64_t maxTicks;    ///< longest interval
  std::int64_t minTicks;    ///< shortest interval; after 0, the next one becomes the shortest

  /// All fields are 0 except the name and minTicks. Contract: minTicks starts at 60000000, so until a reset,
  /// intervals longer than that never become the shortest.
  explicit Clock(const char* name = "UnNamed");
  Clock(const Clock&);
  Clock& operator=(const Clock&);

  /// Reads the counter's frequency again and takes the start reading.
  void start();
  /// Takes the stop reading and adds the interval since the last start.
  void stop();
  /// Zeroes all fields except stopTicks, frequency and name. minTicks becomes 0, not 60000000: the next
  /// interval becomes the shortest, whatever its length.
  void reset();
  /// Prints one line through stdoutPrintf: total ticks, count, and the mean, shortest and longest interval in
  /// seconds.
  void print() const;
};
