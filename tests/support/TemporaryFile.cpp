#include "tests/support/TemporaryFile.h"

#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace fs = std::filesystem;

std::string temporaryName() {
  std::random_device random;
  const std::string digits = std::to_string(random()) + "_" + std::to_string(random());
  return (fs::temp_directory_path() / ("limber_test_" + digits)).generic_string();
}

TemporaryDirectory::TemporaryDirectory() {
  do path_ = temporaryName();
  while (!fs::create_directory(path_));
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryDirectory::write(const std::string& name, const std::string& bytes) const {
  const std::string file = *this / name;
  std::ofstream(file, std::ios::binary) << bytes;
  return file;
}

std::string TemporaryDirectory::writeGz(const std::string& name, const std::string& bytes) const {
  const std::string file = *this / name;
  const gzFile gz = gzopen(file.c_str(), "wb");
  gzwrite(gz, bytes.data(), static_cast<unsigned>(bytes.size()));
  gzclose(gz);
  return file;
}

namespace {

std::string readAs(const std::string& path, std::ios::openmode mode) {
  std::ifstream in(path, mode);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

}  // namespace

std::string readFile(const std::string& path) { return readAs(path, std::ios::in | std::ios::binary); }
std::string readText(const std::string& path) { return readAs(path, std::ios::in); }

std::string sourceFile(const std::string& name) { return std::string(LIMBER_SOURCE_DIR) + "/" + name; }

std::string sharedData(const std::string& name) {
  const fs::path file = fs::path(LIMBER_SOURCE_DIR) / ".." / "shared" / "data" / name;
  return fs::exists(file) ? file.lexically_normal().string() : std::string();
}
