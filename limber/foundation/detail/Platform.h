#pragma once

/// @file
/// Everything in this room that differs between systems.

#include <cstdint>
#include <cstdio>
#if !defined(_WIN32)
#include <locale.h>
#endif

namespace limber::detail {

/// Ticks a second of the performance counter: 10,000,000 on systems that leave the choice to us; 0 where
/// there is no counter.
std::int64_t counterFrequency();
/// The counter's reading. Only meaningful while counterFrequency is not 0.
std::int64_t counterTicks();
/// The runtime's clock() in milliseconds, for where there is no counter.
std::int64_t clockMilliseconds();

/// What a path names. Other: a directory, a FIFO, a socket, a block device.
enum class FileKind { None, Regular, CharacterDevice, Other };
FileKind fileKind(const char* path);
bool isDirectory(const char* path);
/// Whether `path` names the very file that `stream` has open. False where the system cannot tell; it then
/// does not let an open file be removed either.
bool isSameFile(std::FILE* stream, const char* path);

/// What enterCLocale replaced.
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

/// Puts the calling thread, and it alone, into the "C" locale; leaveCLocale puts back what was there.
SavedLocale enterCLocale();
void leaveCLocale(const SavedLocale& saved);

}  // namespace limber::detail
