#include "tests/support/TemporaryFile.h"

#include <zlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory() {
  char name[] = "/tmp/limber_test_XXXXXX";
  path_ = mkdtemp(name);
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

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

std::string sourceFile(const std::string& name) { return std::string(LIMBER_SOURCE_DIR) + "/" + name; }

std::string sharedData(const std::string& name) {
  const fs::path file = fs::path(LIMBER_SOURCE_DIR) / ".." / "shared" / "data" / name;
  return fs::exists(file) ? file.lexically_normal().string() : std::string();
}
