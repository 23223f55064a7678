#include "limber/foundation/Output.h"

#include <cstdarg>

namespace {

int defaultStdoutF(const char* text) { return std::fputs(text, stmStdOut ? stmStdOut : stdout); }

// Contract: stmStdOut is read again for the flush. If it changes in between, the new stream is flushed.
int defaultStderrF(const char* text) {
  const int result = std::fputs(text, stmStdOut ? stmStdOut : stderr);
  std::fflush(stmStdOut ? stmStdOut : stderr);
  return result;
}

char defaultNumberFormat[] = "%g ";

constexpr int messageSize = 500;

}  // namespace

OutputFunction stdoutF = defaultStdoutF;
OutputFunction stderrF = defaultStderrF;
FILE* stmStdOut = nullptr;
char* numberPrintFormat = defaultNumberFormat;
void* errPtrZero = nullptr;

int stdoutPrintf(const char* format, ...) {
  char message[messageSize];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  return stdoutF(message);
}

int stderrPrintf(const char* format, ...) {
  char message[messageSize];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);
  return stderrF(message);
}
