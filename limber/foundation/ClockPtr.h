#pragma once

#include "limber/Api.h"

class Clock;
template <class T>
class List;

/// A handle to a clock. It may be empty, so that timing points can stay in code that runs with timing off.
/// Copies share the clock, and no handle releases it: a clock created by init lives as long as the process.
class LIMBER_API ClockPtr {
 public:
  Clock* clock;

  LIMBER_INLINE constexpr ClockPtr(const Clock* c = nullptr) : clock(const_cast<Clock*>(c)) {}
  LIMBER_INLINE constexpr ClockPtr(const ClockPtr& other) : clock(other.clock) {}
  LIMBER_INLINE ClockPtr& operator=(const ClockPtr& other) {
    clock = other.clock;
    return *this;
  }

  /// If the handle is empty, creates a clock with that name. A failed allocation is reported and leaves the
  /// handle empty.
  void init(const char* name);
  /// The same, and then adds the handle's clock at the front of `clocks`. Every call does so: a repeated init
  /// lists the same clock again. A handle that is still empty is not listed.
  void init(const char* name, List<Clock*>& clocks);

  /// These do nothing while the handle is empty.
  void start();
  void stop();
  void reset();
  void print();
};

/// Times the compaction routines once a caller has called init. Empty at load.
extern LIMBER_API ClockPtr ncompact_clock;
