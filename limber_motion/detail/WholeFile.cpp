#include "limber_motion/detail/WholeFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "limber_motion/Error.h"

namespace limber::motion::detail {

void writeWhole(const std::string& path, const std::string& text) {
  std::error_code unknown;
  const std::filesystem::file_status found = std::filesystem::status(path, unknown);
  const bool device = std::filesystem::exists(found) && !std::filesystem::is_regular_file(found);
  const std::string name = device ? path : path + ".part";
  const std::filesystem::path part(name), whole(path);  // made here: renaming then needs no memory
  std::FILE* const out = std::fopen(name.c_str(), "wb");
  if (!out) throw Error(path, 0, std::string("cannot be written: ") + std::strerror(errno));
  const bool written = std::fwrite(text.data(), 1, text.size(), out) == text.size();
  const bool complete = std::fclose(out) == 0 && written;
  std::error_code problem(complete ? 0 : errno, std::generic_category());
  // std::rename does not replace a file on Windows.
  if (complete && !device) std::filesystem::rename(part, whole, problem);
  if (!problem && complete) return;
  if (!device) std::remove(name.c_str());
  throw Error(path, 0, "could not be written completely: " + problem.message());
}

}  // namespace limber::motion::detail
