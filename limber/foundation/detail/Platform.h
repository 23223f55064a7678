#pragma once

/// @file
/// Everything in this room that differs between systems.

#include <cstdint>
#include <cstdio>
#if !defined(_WIN32)
#include <locale.h>
#endif

namespace limber::detail {

/// Ticks per second of the performance counter: 10,000,000 on systems that let the program choose; 0 if there
/// is no counter.
std::int64_t counterFrequency();
/// The counter's reading. Only meaningful while counterFrequency is not 0.
std::int64_t counterTicks();
/// The runtime's clock() in milliseconds, for systems without a counter.
std::int64_t clockMilliseconds();

/// The kind of file that a path names. Other: a directory, a FIFO, a socket, a block device.
enum class FileKind { None, Regular, CharacterDevice, Other };
FileKind fileKind(const char* path);
bool isDirectory(const char* path);
/// True if `path` names the file that `stream` has open. False on Windows, which cannot tell but does not let
/// an open file be removed.
bool isSameFile(std::FILE* stream, const char* path);

/// The locale that enterCLocale replaced.
#if defined(_WIN32)
struct SavedLocale {
  int threadMode;
  char numeric[128];
};
#else
struct SavedLocale {
  locale_t previous;
};
#endif

/// Switches only the calling thread to the "C" locale; leaveCLocale restores the previous locale.
SavedLocale enterCLocale();
void leaveCLocale(const SavedLocale& saved);

}  // namespace limber::detail
