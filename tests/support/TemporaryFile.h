#pragma once

#include <cstddef>
#include <string>

/// A new name below the system's folder for temporary files, with '/' between its parts.
std::string temporaryName();

/// A new directory, which the destructor removes with its contents.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::string& path() const { return path_; }
  /// The path of `name` inside.
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }
  /// Writes `bytes` to a file inside, plain or gzip-compressed, and returns its path.
  std::string write(const std::string& name, const std::string& bytes) const;
  std::string writeGz(const std::string& name, const std::string& bytes) const;

 private:
  std::string path_;
};

/// The bytes of a file; empty if it cannot be read.
std::string readFile(const std::string& path);
/// The same for a text file; its lines end in '\n' here, whatever the system ends them with.
std::string readText(const std::string& path);

/// The path of a file of this checkout, for instance "examples/data/walk.bvh".
std::string sourceFile(const std::string& name);

/// The path of a file of the real input data that is beside some checkouts, empty if it is absent. Tests that
/// need one begin with LIMBER_NEEDS_DATA(path, "name").
std::string sharedData(const std::string& name);

#define LIMBER_NEEDS_DATA(path, name)        \
  const std::string path = sharedData(name); \
  if (path.empty()) GTEST_SKIP() << "no shared data beside this checkout: " << (name)
