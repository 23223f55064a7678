#pragma once

/// The exit status of every example when there is not enough memory.
constexpr int exitNoMemory = 3;

/// Called in a catch block. Prints what went wrong on standard error, in one line, and returns the exit
/// status: exitNoMemory if memory ran out, otherwise 1.
int reportException(const char* program);

/// While it exists, the library's reports of failed allocations are counted instead of printed, because the
/// program prints one message at the end. All other reports go to standard error as usual. Only one may exist
/// at a time.
class QuietAllocations {
 public:
  QuietAllocations();
  ~QuietAllocations();
  QuietAllocations(const QuietAllocations&) = delete;
  QuietAllocations& operator=(const QuietAllocations&) = delete;

  /// True if an allocation has failed.
  static bool failed();
};
