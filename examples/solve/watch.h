#pragma once

#include <chrono>

/// Watches a solve while it exists: shows a line with the iteration on a terminal, once the solve takes
/// longer than half a second, and ends the solve at Ctrl-C. A second Ctrl-C ends the program. One at a time.
class Watch {
 public:
  Watch();
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  /// The library's observer; `watch` is the Watch. It returns 0 to continue the solve.
  static int observe(int iteration, double rsq, void* watch);
  /// A solve was ended.
  bool stopped() const { return stopped_; }

 private:
  using Clock = std::chrono::steady_clock;
  void show(int iteration, double rsq);

  const bool terminal_;
  bool shown_ = false, stopped_ = false;
  Clock::time_point next_;
  void (*earlier_)(int);
};
