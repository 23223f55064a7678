#include "output_file.h"

#include <cerrno>
#include <cstring>

#include "input_error.h"

OutputFile::OutputFile(const std::string& path)
    : path_(path), temporary_(path + ".part"), stream_(std::fopen(temporary_.c_str(), "wb")) {
  if (!stream_) throw InputError(path_, 0, std::string("cannot be written: ") + std::strerror(errno));
}

OutputFile::~OutputFile() {
  if (stream_) std::fclose(stream_);
  std::remove(temporary_.c_str());
}

void OutputFile::complete() {
  if (!stream_) return;
  const bool failed = std::ferror(stream_) != 0;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (failed || !closed) throw InputError(path_, 0, "could not be written completely");
}

void OutputFile::finish() {
  complete();
  if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
    throw InputError(path_, 0, std::string("cannot be written: ") + std::strerror(errno));
  }
}
