#pragma once

#include "limber/Api.h"

/// A growable array of strings of its own.
class LIMBER_API StringArray {
 public:
  int count;     ///< strings held
  int capacity;  ///< pointers there is room for
  char** items;

  LIMBER_INLINE StringArray() : count(0), capacity(0), items(nullptr) {}
  /// Releases every string, then the array.
  ~StringArray();
  StringArray(const StringArray&) = delete;
  StringArray& operator=(const StringArray&) = delete;

  /// Stores a copy of `s` behind the others and returns the copy. A full array grows to 2 count + 6 pointers.
  /// After a failed allocation, which is reported, nothing is added and the result is null.
  char* add(const char* s);
};
