#pragma once

#include "limber_motion/motion.h"

/// Watches an edit as long as this object exists. On a terminal it shows a line for the current step. Ctrl-C
/// ends the edit with the best motion so far, and a second Ctrl-C ends the program. Only one object may exist
/// at a time.
class Progress {
 public:
  Progress();
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows the step. Returns false if the edit must end.
  bool goesOn(const limber::motion::EditStep& step);
  bool stopped() const { return stopped_; }

 private:
  const bool terminal_;
  bool shown_ = false, stopped_ = false;
  void (*earlier_)(int);
};
