#pragma once

#include <cstdio>
#include <string>

/// A file that appears under its name only when it is complete: it is written under a temporary name beside
/// it, and finish() renames it. Without finish() nothing is left behind. A symbolic link stays, and the file
/// that it leads to is replaced. A pipe or a device cannot be replaced and is written directly; so is
/// standard output, under whatever name.
class OutputFile {
 public:
  /// Throws InputError when the file cannot be made.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::FILE* stream() const { return stream_; }
  const std::string& path() const { return path_; }
  /// Closes it; throws InputError when not all could be written. Several files that belong together are
  /// completed before the first is finished.
  void complete();
  /// Completes and renames; throws InputError when the name cannot be taken.
  void finish();

 private:
  std::string path_;
  std::string target_;     // what temporary_ becomes: path_, or the file that a link of this name leads to
  std::string temporary_;  // empty: written directly
  std::FILE* stream_;
};

/// Whether both names lead to the same file, which need not exist.
bool sameFile(const std::string& a, const std::string& b);
/// Whether the name leads to what the process writes its standard output to.
bool isStandardOutput(const std::string& path);
/// Throws InputError, which names `program`, when something that was printed on standard output was not
/// written.
void requireStandardOutput(const std::string& program);
