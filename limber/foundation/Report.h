#pragma once

/// @file
/// Error, warning and fatal-error reports. All go to the standard-error channel, and all return. A program
/// that wants a report to end the process installs a stderrF that does so.

#include "limber/Api.h"

/// Prints "ERR: message @ (file:line)".
LIMBER_API void errReport(const char* message, const char* file, int line);
/// Prints "WARNING @ (file:line) :", then `format` with its one %s replaced by `argument`, then a line end:
/// three writes.
LIMBER_API void warnReport(const char* format, const char* argument, const char* file, int line);
/// Prints "FATAL ERROR:message" and returns.
LIMBER_API void FATAL_ERROR(const char* message);
/// Prints "FATAL ERROR@(file:line):message" and returns.
LIMBER_API void FATAL_ERROR(const char* file, int line, const char* message);
