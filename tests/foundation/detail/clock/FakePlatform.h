#pragma once

#include <cstdint>

/// Replaces the platform of the clocks in this program. The test sets the frequency of the counter (0: no
/// counter), the counter and the runtime clock.
struct FakePlatform {
  std::int64_t frequency;
  std::int64_t counter;
  std::int64_t milliseconds;
};
extern FakePlatform fakePlatform;
