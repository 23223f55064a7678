#pragma once

/// @file
/// The two output channels. Every message of the library goes through one of them.

#include <cstdio>

#include "limber/Api.h"

/// Receives one finished text. stdoutPrintf or stderrPrintf returns its result.
typedef int (*OutputFunction)(const char* text);

/// The standard-output channel. A program may replace it. Initially it writes to stmStdOut, or to stdout if
/// that is null.
extern LIMBER_API OutputFunction stdoutF;
/// The standard-error channel, used by all reports. Initially it writes to stmStdOut, or to stderr if that is
/// null, and flushes after each text.
extern LIMBER_API OutputFunction stderrF;
/// While this is not null, both default channels write to it.
extern LIMBER_API FILE* stmStdOut;
/// The printf format of each element when vectors and points print their numbers; initially "%g ".
extern LIMBER_API char* numberPrintFormat;
/// A null pointer, kept for callers; the library does not use it.
extern LIMBER_API void* errPtrZero;

/// Formats at most 499 characters (the rest is cut off), passes them to the channel and returns the channel's
/// result. Allocates nothing.
LIMBER_API int stdoutPrintf(const char* format, ...) LIMBER_PRINTF(1, 2);
LIMBER_API int stderrPrintf(const char* format, ...) LIMBER_PRINTF(1, 2);
