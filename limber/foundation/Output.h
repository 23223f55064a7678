#pragma once

/// @file
/// The two output channels through which every message of the library leaves.

#include <cstdio>

#include "limber/Api.h"

/// Receives one finished text; its result is handed back to the caller of stdoutPrintf or stderrPrintf.
typedef int (*OutputFunction)(const char* text);

/// The standard-output channel. A program may replace it; initially writes to stmStdOut, or else to stdout.
extern LIMBER_API OutputFunction stdoutF;
/// The standard-error channel, used by all reports. Initially writes to stmStdOut, or else to stderr, and
/// flushes after each text.
extern LIMBER_API OutputFunction stderrF;
/// While not null, both default channels write to this stream.
extern LIMBER_API FILE* stmStdOut;
/// The printf format of each element when vectors and points print their numbers; initially "%g ".
extern LIMBER_API char* numberPrintFormat;
/// A null pointer, kept for callers; the library neither reads nor writes it.
extern LIMBER_API void* errPtrZero;

/// Formats at most 499 characters (the rest is cut), hands them to the channel and returns the channel's
/// result. Nothing is allocated.
LIMBER_API int stdoutPrintf(const char* format, ...) LIMBER_PRINTF(1, 2);
LIMBER_API int stderrPrintf(const char* format, ...) LIMBER_PRINTF(1, 2);
