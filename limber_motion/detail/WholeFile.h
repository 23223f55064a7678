#pragma once

#include <string>

namespace limber::motion::detail {

/// Writes `text` to the file `path`. The file appears complete or not at all: the text is written to another
/// file beside it, which is then renamed. Something that is not a regular file (a device, a pipe) is written
/// to directly. On failure, throws Error and leaves an existing regular file unchanged. If a signal ends the
/// process meanwhile, PATH.part stays until the next call replaces it: a library must not handle the signals
/// of its program.
void writeWhole(const std::string& path, const std::string& text);

}  // namespace limber::motion::detail
