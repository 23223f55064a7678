#pragma once

#include <stdexcept>
#include <string>

/// Input that cannot be used: the message names file, line and what was expected.
class InputError : public std::runtime_error {
 public:
  explicit InputError(const std::string& message) : std::runtime_error(message) {}
  /// "file:line: message"; without a line (below 1), "file: message".
  InputError(const std::string& file, int line, const std::string& message);
};

/// The word in quotes, shortened if it is very long, with unprintable bytes replaced; "the end of the file"
/// for null.
std::string quoted(const char* word);
