#pragma once

#include "limber_motion/motion.h"

/// Watches an edit while it exists: a line with the step on a terminal, and Ctrl-C ends the edit with the
/// best motion so far. A second Ctrl-C ends the program. One at a time.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows the step; false when the edit shall end.
  bool goesOn(const limber::motion::EditStep& step);
  bool stopped() const { return stopped_; }

 private:
  const bool terminal_;
  bool shown_ = false, stopped_ = false;
  void (*earlier_)(int);
};
