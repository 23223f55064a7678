#pragma once

/// @file
/// An array of ints with range queries.

#include "limber/Api.h"

/// Owns `data` and releases it with delete[]. Contract: copying and assignment are shallow. Both objects then
/// hold the same array, and only one of the two may be destroyed (set `data` of the other to null first).
/// Assignment does not release the target's previous array.
class LIMBER_API IntVec {
 public:
  int count;
  int capacity;
  int* data;

  /// n uninitialised elements with room for maxSize; no array when both are 0.
  IntVec(int n = 0, int maxSize = 0);
  IntVec(const IntVec& src);
  IntVec& operator=(const IntVec& src);
  ~IntVec();

  LIMBER_INLINE int size() const { return count; }
  LIMBER_INLINE int& operator[](int i) const { return data[i]; }

  /// Prints "[", each element with "%d ", and "]".
  void print() const;
  /// The smallest and the largest element; both 0 for an empty vector.
  void range(int& lo, int& hi) const;
  /// The same with the indices of their first occurrences; all four 0 for an empty vector.
  void range(int& lo, int& loIndex, int& hi, int& hiIndex) const;
};
