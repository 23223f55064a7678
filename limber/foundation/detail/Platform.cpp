#include "limber/foundation/detail/Platform.h"

#include <sys/stat.h>

#include <ctime>

#if defined(_WIN32)
#include <locale.h>
#include <windows.h>

#include <cstring>

// Turns off the calls for each thread that starts or ends.
extern "C" BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(library);
  return TRUE;
}
#endif

namespace limber::detail {

std::int64_t clockMilliseconds() {
  return static_cast<std::int64_t>(std::clock()) / (static_cast<std::int64_t>(CLOCKS_PER_SEC) / 1000);
}

#if defined(_WIN32)

std::int64_t counterFrequency() {
  LARGE_INTEGER frequency;
  return QueryPerformanceFrequency(&frequency) ? frequency.QuadPart : 0;
}

std::int64_t counterTicks() {
  LARGE_INTEGER ticks;
  return QueryPerformanceCounter(&ticks) ? ticks.QuadPart : 0;
}

FileKind fileKind(const char* path) {
  struct _stat info;
  if (_stat(path, &info) != 0) return FileKind::None;
  const int type = info.st_mode & _S_IFMT;
  return type == _S_IFREG   ? FileKind::Regular
         : type == _S_IFCHR ? FileKind::CharacterDevice
                            : FileKind::Other;
}

// _stat does not know a directory whose path ends in a separator.
bool isDirectory(const char* path) {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// Always false. That does no harm, because an open file cannot be removed on Windows.
bool isSameFile(std::FILE*, const char*) { return false; }

// Of all that is read and written, only numbers depend on the locale, so only LC_NUMERIC is switched.
SavedLocale enterCLocale() {
  SavedLocale saved;
  saved.threadMode = _configthreadlocale(_ENABLE_PER_THREAD_LOCALE);
  const char* const name = setlocale(LC_NUMERIC, nullptr);
  std::strncpy(saved.numeric, name ? name : "C", sizeof saved.numeric - 1);
  saved.numeric[sizeof saved.numeric - 1] = '\0';
  setlocale(LC_NUMERIC, "C");
  return saved;
}

void leaveCLocale(const SavedLocale& saved) {
  setlocale(LC_NUMERIC, saved.numeric);
  _configthreadlocale(saved.threadMode);
}

#else

namespace {

constexpr std::int64_t ticksPerSecond = 10000000;

}  // namespace

std::int64_t counterFrequency() {
  timespec resolution;
  return clock_getres(CLOCK_MONOTONIC, &resolution) == 0 ? ticksPerSecond : 0;
}

std::int64_t counterTicks() {
  timespec now;
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) return 0;
  return now.tv_sec * ticksPerSecond + now.tv_nsec / (1000000000 / ticksPerSecond);
}

FileKind fileKind(const char* path) {
  struct stat info;
  if (stat(path, &info) != 0) return FileKind::None;
  return S_ISREG(info.st_mode)   ? FileKind::Regular
         : S_ISCHR(info.st_mode) ? FileKind::CharacterDevice
                                 : FileKind::Other;
}

bool isDirectory(const char* path) {
  struct stat info;
  return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

bool isSameFile(std::FILE* stream, const char* path) {
  struct stat open, named;
  return fstat(fileno(stream), &open) == 0 && stat(path, &named) == 0 && open.st_dev == named.st_dev &&
         open.st_ino == named.st_ino;
}

SavedLocale enterCLocale() {
  // Created once and kept, so that switching only stores a pointer. A null locale (no memory) does not change
  // the thread's locale.
  static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
  return {uselocale(cLocale)};
}

void leaveCLocale(const SavedLocale& saved) { uselocale(saved.previous); }

#endif

}  // namespace limber::detail
