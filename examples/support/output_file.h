#pragma once

#include <cstdio>
#include <string>

/// A file that appears under its name only when it is complete: it is written to a temporary name beside it,
/// and finish() renames it. Without finish() nothing is left behind.
class OutputFile {
 public:
  /// Throws InputError when the temporary file cannot be made.
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
  std::string path_, temporary_;
  std::FILE* stream_;
};
