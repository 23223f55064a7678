#include "limber/io/SearchP.h"

#include <zlib.h>

#include <cstring>

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/Platform.h"
#include "limber/foundation/detail/ReportSite.h"
#include "limber/io/detail/PathList.h"

using namespace limber::detail;

namespace {

// Opens a file: stdio's or zlib's stream.
using Opener = void* (*)(const char* path, const char* mode);

void* openFile(const char* path, const char* mode) { return std::fopen(path, mode); }
void* openGz(const char* path, const char* mode) { return gzopen(path, mode); }

// On some systems a directory can be opened for reading, but it does not count as a file.
void* tryOpen(Opener open, const char* path, const char* mode) {
  return isDirectory(path) ? nullptr : open(path, mode);
}

void* openAlong(Opener open, const char* searchPath, const char* name, char* pathOut, const char* mode) {
  if (!name || !pathOut || !mode) return nullptr;
  // Contract: only a leading '/' makes a name absolute; a drive letter or a backslash does not.
  PathList list(name[0] == '/' ? "" : searchPath, PathSyntax::Search);
  void* stream;
  do {
    char* const end = appendSlash(pathOut, list.next(pathOut));
    appendText(end, name);
    stream = tryOpen(open, pathOut, mode);
  } while (!stream && !list.used());
  return stream;
}

// Tries each sub-path of the directory in pathOut, which ends at `baseEnd`.
void* openBelow(Opener open, const char* subPaths, const char* name, char* pathOut, char* baseEnd,
                const char* mode) {
  PathList subs(subPaths, PathSyntax::SubPaths);
  do {
    char* const end = appendSlash(baseEnd, subs.next(baseEnd));
    appendText(end, name);
    stdoutPrintf("   Trying ``%s''\n", pathOut);
    if (void* const stream = tryOpen(open, pathOut, mode)) {
      stdoutPrintf("Found! %s\n", pathOut);
      return stream;
    }
  } while (!subs.used());
  return nullptr;
}

void* findAlong(Opener open, const char* baseDirs, const char* subPaths, const char* name, char* pathOut,
                const char* mode) {
  if (!name || !pathOut || !mode) return nullptr;
  PathList bases(baseDirs, PathSyntax::Bases);
  do {
    char* const end = bases.next(pathOut);
    if (!isDirectory(pathOut)) {
      stdoutPrintf("%s is NOT a directory!\n", pathOut);
      continue;
    }
    stdoutPrintf("%s IS a directory!\n", pathOut);
    // Contract: a '/' always follows, even if the base ends in one.
    char* const baseEnd = appendText(end, "/");
    if (void* const stream = openBelow(open, subPaths, name, pathOut, baseEnd, mode)) return stream;
  } while (!bases.used());
  return nullptr;
}

void wantBinary(const char* mode, ReportSite site, const char* message) {
  if (mode && !std::strchr(mode, 'b')) site.error(message);
}

}  // namespace

FILE* fopenp(const char* searchPath, const char* name, char* pathOut, const char* mode) {
  return static_cast<FILE*>(openAlong(openFile, searchPath, name, pathOut, mode));
}

void* gzopenp(const char* searchPath, const char* name, char* pathOut, const char* mode) {
  wantBinary(mode, {"SearchP", 227}, "Non-Binary mode to gz openp!");
  return openAlong(openGz, searchPath, name, pathOut, mode);
}

FILE* findPath(const char* baseDirs, const char* subPaths, const char* name, char* pathOut,
               const char* mode) {
  if (!baseDirs) return fopenp(subPaths, name, pathOut, mode);
  return static_cast<FILE*>(findAlong(openFile, baseDirs, subPaths, name, pathOut, mode));
}

void* gzFindPath(const char* baseDirs, const char* subPaths, const char* name, char* pathOut,
                 const char* mode) {
  // Contract: if this calls gzopenp, a text mode is reported twice, once by each function.
  wantBinary(mode, {"SearchP", 159}, "Non-Binary mode to gz find path!");
  if (!baseDirs) return gzopenp(subPaths, name, pathOut, mode);
  return findAlong(openGz, baseDirs, subPaths, name, pathOut, mode);
}
