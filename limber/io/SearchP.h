#pragma once

/// @file
/// Opening a file by trying it in each directory of a search path, as a stdio stream or as a zlib stream
/// (which reads plain and gzip-compressed files alike).
///
/// Every function writes each candidate into `pathOut`, which must have room for the longest: the sum of the
/// lengths of the list, the sub-paths and the name, plus three. Afterwards it holds the last candidate, which
/// on success is the path that was opened, or the last base if that is not a directory. A directory does not
/// count as found. An empty list means one empty element; an empty element at the end of a longer list is not
/// tried.

#include <cstdio>

#include "limber/Api.h"

/// Tries `name` in each element of `searchPath`; null when nothing opens. Elements are separated by ';' and
/// by ':', but a ':' that is the second character of an element belongs to it (a drive letter), unless the
/// first is '.'. A name that begins with '/' is tried once, unchanged; so is any name if `searchPath` is
/// null.
LIMBER_API FILE* fopenp(const char* searchPath, const char* name, char* pathOut, const char* mode);
/// The same through gzopen; the result is a gzFile. A mode without 'b' is reported and still used.
LIMBER_API void* gzopenp(const char* searchPath, const char* name, char* pathOut, const char* mode);

/// Tries `name` in each sub-path (separated by ';') of each base directory (separated by ';' or ','), and
/// prints a trace of it on the standard-output channel. With null `baseDirs`, fopenp along `subPaths`.
LIMBER_API FILE* findPath(const char* baseDirs, const char* subPaths, const char* name, char* pathOut,
                          const char* mode);
/// The same through gzopen; the result is a gzFile. A mode without 'b' is reported and still used.
LIMBER_API void* gzFindPath(const char* baseDirs, const char* subPaths, const char* name, char* pathOut,
                            const char* mode);
