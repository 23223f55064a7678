#include "program_name.h"

#include <filesystem>

namespace {

std::string name;

}  // namespace

const std::string& programName() { return name; }

void setProgramName(const char* argument, const char* usual) {
  std::filesystem::path path(argument ? argument : "");
  if (path.extension() == ".exe") path.replace_extension();
  name = path.filename().string();
  if (name.empty()) name = usual;
}
