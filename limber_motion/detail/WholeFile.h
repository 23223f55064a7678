#pragma once

#include <string>

namespace limber::motion::detail {

/// Writes `text` to the file `path`, which appears whole or not at all: it is written under another name
/// beside it and renamed. What is not a regular file (a device, a pipe) is written to as it is. Throws Error
/// when that fails, and leaves what was there.
void writeWhole(const std::string& path, const std::string& text);

}  // namespace limber::motion::detail
