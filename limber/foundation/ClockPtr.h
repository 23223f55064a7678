#pragma once

#include "limber/Api.h"

class Clock;
template <class T>
class List;

/// A handle to a clock that may be empty, so that timing points can stay in code that runs with timing off.
/// Copies share the clock, and no handle releases it: a clock made by init lives as long as the process.
class LIMBER_API ClockPtr {
 public:
  Clock* clock;

  LIMBER_INLINE constexpr ClockPtr(const Clock* c = nullptr) : clock(const_cast<Clock*>(c)) {}
  LIMBER_INLINE constexpr ClockPtr(const ClockPtr& other) : clock(other.clock) {}
  LIMBER_INLINE ClockPtr& operator=(const ClockPtr& other) {
    clock = other.clock;
    return *this;
  }

  /// Makes a clock of that name when the handle is empty. A failed allocation is reported and leaves it
  /// empty.
  void init(const char* name);
  /// The same, then puts the handle's clock in front of `clocks`, on every call: a repeated init lists the
  /// same clock again. A handle left empty is not listed.
  void init(const char* name, List<Clock*>& clocks);

  /// These do nothing while the handle is empty.
  void start();
  void stop();
  void reset();
  void print();
};

/// Times the compaction routines once a caller inits it; empty at load.
extern LIMBER_API ClockPtr ncompact_clock;
