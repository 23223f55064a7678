#include "tests/support/CapturedOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <numeric>
#include <sstream>

#include "limber/foundation/Output.h"
#include "tests/support/TemporaryFile.h"

namespace {

// The texts of one channel, one after the other, each with its terminator. They are stored with malloc, so
// that tests that count or fail the library's allocations do not see them.
struct Texts {
  char* bytes = nullptr;
  std::size_t size = 0;
  std::vector<std::string> calls;

  int collect(const char* text) {
    const std::size_t length = std::strlen(text) + 1;
    bytes = static_cast<char*>(std::realloc(bytes, size + length));
    std::memcpy(bytes + size, text, length);
    size += length;
    return 0;
  }
  const std::vector<std::string>& read() {
    calls.clear();
    for (std::size_t i = 0; i < size; i += calls.back().size() + 1) calls.emplace_back(bytes + i);
    return calls;
  }
  void clear() {
    std::free(bytes);
    bytes = nullptr;
    size = 0;
  }
};

Texts outTexts, errTexts;
OutputFunction savedOut, savedErr;

int collectOut(const char* text) { return outTexts.collect(text); }
int collectErr(const char* text) { return errTexts.collect(text); }

std::string joined(const std::vector<std::string>& texts) {
  return std::accumulate(texts.begin(), texts.end(), std::string());
}

}  // namespace

CapturedOutput::CapturedOutput() {
  savedOut = stdoutF;
  savedErr = stderrF;
  clear();
  stdoutF = collectOut;
  stderrF = collectErr;
}

CapturedOutput::~CapturedOutput() {
  stdoutF = savedOut;
  stderrF = savedErr;
  clear();
}

const std::vector<std::string>& CapturedOutput::outCalls() const { return outTexts.read(); }
const std::vector<std::string>& CapturedOutput::errCalls() const { return errTexts.read(); }
std::string CapturedOutput::out() const { return joined(outCalls()); }
std::string CapturedOutput::err() const { return joined(errCalls()); }

void CapturedOutput::clear() {
  outTexts.clear();
  errTexts.clear();
}

namespace capture_detail {

int redirect(int fd, std::string& path) {
  std::fflush(nullptr);
  path = temporaryName();
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
  const int saved = dup(fd);
  dup2(file, fd);
  close(file);
  return saved;
}

std::string restore(int fd, int saved, const std::string& path) {
  std::fflush(nullptr);
  dup2(saved, fd);
  close(saved);
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  std::remove(path.c_str());
  return text.str();
}

}  // namespace capture_detail
