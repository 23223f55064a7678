#pragma once

#include <string>
#include <vector>

#include "tests/support/DecimalPoint.h"

/// Collects the library's output on its two channels while it exists, and restores the channels at the end.
/// Numbers are printed with a decimal point. Only one may exist at a time.
class CapturedOutput {
 public:
  CapturedOutput();
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  /// The calls of each channel, one string per call.
  const std::vector<std::string>& outCalls() const;
  const std::vector<std::string>& errCalls() const;
  /// All text of a channel.
  std::string out() const;
  std::string err() const;
  void clear();

 private:
  DecimalPoint point_;
};

/// The text that stdout (file descriptor 1) receives while `f` runs, for the few routines that do not print
/// through the channels.
template <class F>
std::string capturedStdout(F f);
/// The same for stderr (file descriptor 2).
template <class F>
std::string capturedStderr(F f);

namespace capture_detail {
int redirect(int fd, std::string& path);
std::string restore(int fd, int saved, const std::string& path);
}  // namespace capture_detail

template <class F>
std::string capturedStdout(F f) {
  const DecimalPoint point;
  std::string path;
  const int saved = capture_detail::redirect(1, path);
  f();
  return capture_detail::restore(1, saved, path);
}

template <class F>
std::string capturedStderr(F f) {
  const DecimalPoint point;
  std::string path;
  const int saved = capture_detail::redirect(2, path);
  f();
  return capture_detail::restore(2, saved, path);
}
