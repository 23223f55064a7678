#include "limber/foundation/Report.h"

#include "limber/foundation/Output.h"

void errReport(const char* message, const char* file, int line) {
  stderrPrintf("ERR: %s @ (%s:%d)\n", message, file, line);
}

void warnReport(const char* format, const char* argument, const char* file, int line) {
  stderrPrintf("WARNING @ (%s:%d) :", file, line);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
  stderrPrintf(format, argument);
#pragma GCC diagnostic pop
  stderrPrintf("\n");
}

void FATAL_ERROR(const char* message) { stderrPrintf("FATAL ERROR:%s\n", message); }

void FATAL_ERROR(const char* file, int line, const char* message) {
  stderrPrintf("FATAL ERROR@(%s:%d):%s\n", file, line, message);
}
