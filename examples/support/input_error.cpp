#include "input_error.h"

namespace {

std::string place(const std::string& file, int line) {
  return line < 1 ? file + ": " : file + ":" + std::to_string(line) + ": ";
}

}  // namespace

InputError::InputError(const std::string& file, int line, const std::string& message)
    : InputError(place(file, line) + message) {}

std::string quoted(const char* word) {
  if (!word) return "the end of the file";
  constexpr std::size_t shownLength = 40;
  std::string text = "'";
  for (const char* c = word; *c; ++c) {
    if (text.size() > shownLength) {
      text += "...";
      break;
    }
    text += *c > 32 && *c < 127 ? *c : '?';
  }
  return text + "'";
}
