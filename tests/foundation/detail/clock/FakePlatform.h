#pragma once

#include <cstdint>

/// The platform under the clocks of this program: its counter's frequency (0: none), the counter and the
/// runtime clock read what a test puts here.
struct FakePlatform {
  std::int64_t frequency;
  std::int64_t counter;
  std::int64_t milliseconds;
};
extern FakePlatform fakePlatform;
