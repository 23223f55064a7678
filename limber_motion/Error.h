#pragma once

#include <stdexcept>
#include <string>

#include "limber_motion/Api.h"

namespace limber::motion {

/// The one exception of this component: input that cannot be used, or a file that cannot be read or written.
/// what() is "file:line: message", "file: message" without a line, and the message alone without a file.
class LIMBER_MOTION_API Error : public std::runtime_error {
 public:
  explicit Error(const std::string& message);
  /// `line` counts from 1; 0 where the message concerns the whole file.
  Error(const std::string& file, int line, const std::string& message);
  ~Error() override;

  const std::string& file() const { return file_; }
  int line() const { return line_; }

 private:
  std::string file_;
  int line_ = 0;
};

}  // namespace limber::motion
