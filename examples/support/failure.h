#pragma once

/// The exit status of every example when memory ends.
constexpr int exitNoMemory = 3;

/// Called in a catch block: says on standard error what went wrong, in one line, and returns the exit status:
/// exitNoMemory when memory ended, otherwise 1.
int reportException(const char* program);

/// While it exists, the library's reports of failed allocations are counted instead of printed: the program
/// says once, at the end, what came of them. All other reports go to standard error as usual. One at a time.
class QuietAllocations {
 public:
  QuietAllocations();
  ~QuietAllocations();
  QuietAllocations(const QuietAllocations&) = delete;
  QuietAllocations& operator=(const QuietAllocations&) = delete;

  /// Some allocation failed.
  static bool failed();
};
