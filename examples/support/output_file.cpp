#include "output_file.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "input_error.h"

#if !defined(_WIN32)
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace files = std::filesystem;

namespace {

// The temporary files to remove if a signal ends the program.
const char* volatile unfinished[8];

#if defined(_WIN32)
constexpr int endings[] = {SIGINT, SIGTERM};
void erase(const char* path) { std::remove(path); }
#else
constexpr int endings[] = {SIGINT, SIGTERM, SIGHUP};
void erase(const char* path) { unlink(path); }
#endif

extern "C" void eraseUnfinished(int signal) {
  for (const char* const path : unfinished) {
    if (path) erase(path);
  }
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

// Stores the pointer to the name, which must stay valid until forget(). Does not change a signal that is
// already handled or ignored.
void watchOver(const std::string& path) {
  const auto place = std::find(std::begin(unfinished), std::end(unfinished), nullptr);
  if (place == std::end(unfinished)) return;
  *place = path.c_str();
  for (const int signal : endings) {
    const auto earlier = std::signal(signal, eraseUnfinished);
    if (earlier != SIG_DFL && earlier != SIG_ERR) std::signal(signal, earlier);
  }
}

void forget(const std::string& path) {
  for (const char* volatile& place : unfinished) {
    if (place == path.c_str()) place = nullptr;
  }
}

[[noreturn]] void cannotWrite(const std::string& path) {
  throw InputError(path, 0, std::string("cannot be written: ") + std::strerror(errno));
}

// True if the bytes are on the disk, as far as the system can tell.
bool isStored(std::FILE* stream) {
  if (std::fflush(stream) != 0 || std::ferror(stream) != 0) return false;
#if !defined(_WIN32)
  if (fsync(fileno(stream)) != 0 && errno != EINVAL && errno != EROFS) return false;
#endif
  return true;
}

const char part[] = ".part";

// True for a regular file or a new one. Pipes and devices are written directly.
bool isReplaced(const files::file_status& status) {
  return files::is_regular_file(status) || !files::exists(status);
}

// The path that a finished file is renamed to.
std::string targetOf(const std::string& path, const files::file_status& status) {
  std::error_code error;
  const files::path resolved = files::weakly_canonical(path, error);
  return files::is_regular_file(status) && !error ? resolved.string() : path;
}

}  // namespace

// A temporary file that already exists belongs to another run and is not touched.
void OutputFile::requireWritable(const std::string& path) {
  std::error_code error;
  const files::file_status status = files::status(path, error);
  if (files::is_directory(status)) {
    errno = EISDIR;
    cannotWrite(path);
  }
  if (isStandardOutput(path) || !isReplaced(status)) return;
  const std::string temporary = targetOf(path, status) + part;
  if (files::exists(files::symlink_status(temporary, error))) return;
  std::FILE* const tried = std::fopen(temporary.c_str(), "wb");
  if (!tried) cannotWrite(path);
  std::fclose(tried);
  std::remove(temporary.c_str());
}

OutputFile::OutputFile(const std::string& path) : path_(path), target_(path) {
  if (isStandardOutput(path)) {
    stream_ = stdout;
    return;
  }
  std::error_code error;
  const files::file_status status = files::status(path, error);
  const bool replaces = files::is_regular_file(status);
  if (isReplaced(status)) {
    target_ = targetOf(path, status);
    temporary_ = target_ + part;
  }
  if (!temporary_.empty()) watchOver(temporary_);
  stream_ = std::fopen((temporary_.empty() ? path_ : temporary_).c_str(), "wb");
  if (!stream_) {
    forget(temporary_);
    temporary_.clear();
    cannotWrite(path_);
  }
  if (replaces) files::permissions(temporary_, status.permissions(), error);
}

OutputFile::~OutputFile() {
  if (stream_ && stream_ != stdout) std::fclose(stream_);
  if (!temporary_.empty()) std::remove(temporary_.c_str());
  forget(temporary_);
}

void OutputFile::complete() {
  if (!stream_) return;
  bool written = temporary_.empty() ? std::fflush(stream_) == 0 && !std::ferror(stream_) : isStored(stream_);
  if (stream_ != stdout && std::fclose(stream_) != 0) written = false;
  stream_ = nullptr;
  if (!written) throw InputError(path_, 0, "could not be written completely");
}

void OutputFile::finish() {
  complete();
  if (temporary_.empty()) return;
  // std::rename does not replace a file on Windows.
  std::error_code problem;
  files::rename(temporary_, target_, problem);
  if (problem) throw InputError(path_, 0, "cannot be written: " + problem.message());
  forget(temporary_);
  temporary_.clear();
}

bool sameFile(const std::string& a, const std::string& b) {
  if (a == b) return true;
#if !defined(_WIN32)
  struct stat one, other;
  if (stat(a.c_str(), &one) == 0 && stat(b.c_str(), &other) == 0) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
  }
#endif
  std::error_code noA, noB;
  const files::path first = files::weakly_canonical(a, noA), second = files::weakly_canonical(b, noB);
  return !noA && !noB && first == second;
}

bool isStandardOutput(const std::string& path) {
#if defined(_WIN32)
  return path == "CONOUT$";
#else
  struct stat named, output;
  return stat(path.c_str(), &named) == 0 && fstat(STDOUT_FILENO, &output) == 0 &&
         named.st_dev == output.st_dev && named.st_ino == output.st_ino;
#endif
}

void requireStandardOutput(const std::string& program) {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw InputError(program + ": standard output could not be written completely");
  }
}
