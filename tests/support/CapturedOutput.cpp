#include "tests/support/CapturedOutput.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <numeric>
#include <sstream>

#include "limber/foundation/Output.h"

namespace {

std::vector<std::string> outTexts, errTexts;
OutputFunction savedOut, savedErr;

int collectOut(const char* text) {
  outTexts.emplace_back(text);
  return 0;
}
int collectErr(const char* text) {
  errTexts.emplace_back(text);
  return 0;
}

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
}

const std::vector<std::string>& CapturedOutput::outCalls() const { return outTexts; }
const std::vector<std::string>& CapturedOutput::errCalls() const { return errTexts; }
std::string CapturedOutput::out() const { return joined(outTexts); }
std::string CapturedOutput::err() const { return joined(errTexts); }

void CapturedOutput::clear() {
  outTexts.clear();
  errTexts.clear();
}

namespace capture_detail {

int redirect(int fd, std::string& path) {
  std::fflush(nullptr);
  char name[] = "/tmp/limber_capture_XXXXXX";
  const int file = mkstemp(name);
  path = name;
  const int saved = dup(fd);
  dup2(file, fd);
  close(file);
  return saved;
}

std::string restore(int fd, int saved, const std::string& path) {
  std::fflush(nullptr);
  dup2(saved, fd);
  close(saved);
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  std::remove(path.c_str());
  return text.str();
}

}  // namespace capture_detail
