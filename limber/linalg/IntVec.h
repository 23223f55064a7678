#pragma once

/// @file
/// An array of ints with range queries.

#include "limber/Api.h"

/// Owns `data` and releases it with delete[]. Copying and assignment are deliberately shallow: both objects
/// then hold the same array, and only one of the two may be destroyed (set `data` of the other to null
/// before). The array that the target of an assignment held before is not released.
class LIMBER_API IntVec {
 public:
  int count;
  int capacity;
  int* data;

  /// n elements, not set, with room for maxSize; nothing at all when both are 0.
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
