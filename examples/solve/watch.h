#pragma once

#include <chrono>

/// Watches a solve while it exists. On a terminal it shows a line with the iteration if the solve takes
/// longer than half a second. Ctrl-C ends the solve, and a second Ctrl-C ends the program. Only one object
/// may exist at a time.
class Watch {
 public:
  Watch();
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  /// The library's observer; `watch` is the Watch. It returns 0 to continue the solve.
  static int observe(int iteration, double rsq, void* watch);
  /// True if Ctrl-C has ended a solve.
  bool stopped() const { return stopped_; }

 private:
  using Clock = std::chrono::steady_clock;
  void show(int iteration, double rsq);

  const bool terminal_;
  bool shown_ = false, stopped_ = false;
  Clock::time_point next_;
  void (*earlier_)(int);
};
