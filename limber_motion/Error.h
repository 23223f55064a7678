#pragma once

#include <stdexcept>
#include <string>

#include "limber_motion/Api.h"

namespace limber::motion {

/// The only exception class of this component: the input is not valid, or a file cannot be read or written.
/// what() is "file:line: message", or "file: message" without a line, or only the message without a file
/// name.
class LIMBER_MOTION_API Error : public std::runtime_error {
 public:
  explicit Error(const std::string& message);
  /// `line` counts from 1. It is 0 if the message concerns the whole file.
  Error(const std::string& file, int line, const std::string& message);
  ~Error() override;

  const std::string& file() const { return file_; }
  int line() const { return line_; }

 private:
  std::string file_;
  int line_ = 0;
};

}  // namespace limber::motion
