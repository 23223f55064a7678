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

// Passes at most 499 characters to the channel, without an allocation.
int print(OutputFunction channel, const char* format, va_list arguments) {
  char message[500];
  std::vsnprintf(message, sizeof message, format, arguments);
  return channel(message);
}

}  // namespace

OutputFunction stdoutF = defaultStdoutF;
OutputFunction stderrF = defaultStderrF;
FILE* stmStdOut = nullptr;
char* numberPrintFormat = defaultNumberFormat;
void* errPtrZero = nullptr;

int stdoutPrintf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = print(stdoutF, format, arguments);
  va_end(arguments);
  return result;
}

int stderrPrintf(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int result = print(stderrF, format, arguments);
  va_end(arguments);
  return result;
}
