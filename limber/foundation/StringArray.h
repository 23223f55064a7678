#pragma once

#include "limber/Api.h"

/// A growable array that owns its strings.
class LIMBER_API StringArray {
 public:
  int count;     ///< number of strings
  int capacity;  ///< how many pointers the array has room for
  char** items;

  LIMBER_INLINE StringArray() : count(0), capacity(0), items(nullptr) {}
  /// Releases every string, then the array.
  ~StringArray();
  StringArray(const StringArray&) = delete;
  StringArray& operator=(const StringArray&) = delete;

  /// Appends a copy of `s` and returns the copy. A full array grows to 2 count + 6 pointers. After a failed
  /// allocation, which is reported, nothing is added and the result is null.
  char* add(const char* s);
};
