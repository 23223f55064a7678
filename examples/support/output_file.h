#pragma once

#include <cstdio>
#include <string>

/// A file that appears under its name only when it is complete: it is written under a temporary name in the
/// same folder, and finish() renames it. Without finish() no file remains, also when Ctrl-C or another signal
/// ends the program. A symbolic link is kept, and the file that it points to is replaced. A pipe or a device
/// cannot be replaced and is written directly, and so is standard output under any name.
class OutputFile {
 public:
  /// Throws InputError if the file cannot be created.
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Throws InputError if the file could not be created; writes nothing. For programs that compute for long.
  static void requireWritable(const std::string& path);

  std::FILE* stream() const { return stream_; }
  const std::string& path() const { return path_; }
  /// Closes the file; throws InputError if not everything could be written. Complete all files that belong
  /// together before you finish the first.
  void complete();
  /// Completes and renames the file; throws InputError if it cannot be renamed.
  void finish();

 private:
  std::string path_;
  std::string target_;  // the final name of temporary_: path_, or the file that a link of this name points to
  std::string temporary_;  // empty: written directly
  std::FILE* stream_;
};

/// True if both names denote the same file, which need not exist.
bool sameFile(const std::string& a, const std::string& b);
/// True if the name denotes the standard output of the process.
bool isStandardOutput(const std::string& path);
/// Throws InputError, which names `program`, if something printed on standard output could not be written.
void requireStandardOutput(const std::string& program);
