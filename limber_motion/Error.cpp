#include "limber_motion/Error.h"

namespace limber::motion {

namespace {

std::string place(const std::string& file, int line) {
  if (file.empty()) return "";
  return line < 1 ? file + ": " : file + ":" + std::to_string(line) + ": ";
}

}  // namespace

Error::Error(const std::string& message) : std::runtime_error(message) {}

Error::Error(const std::string& file, int line, const std::string& message)
    : std::runtime_error(place(file, line) + message), file_(file), line_(line) {}

Error::~Error() = default;

}  // namespace limber::motion
