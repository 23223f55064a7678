// Runs a fuzz target over the files of a folder. An empty or missing folder is an error, because a replay of
// nothing tests nothing.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/support/TemporaryFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::error_code error;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1], error)) {
    const std::string bytes = readFile(entry.path().string());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++files;
  }
  std::printf("%d files\n", files);
  return files > 0 ? 0 : 1;
}
