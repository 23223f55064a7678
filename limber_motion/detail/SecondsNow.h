#pragma once

#include <chrono>

namespace limber::motion::detail {

/// The time of a steady clock in seconds.
inline double secondsNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace limber::motion::detail
