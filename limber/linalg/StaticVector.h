#pragma once

/// @file
/// A view of an array of doubles.

#include "limber/Api.h"

/// Views the caller's array and never owns it. Its fields are the first three of Vector.
class LIMBER_API StaticVector {
 public:
  int count;
  int capacity;
  double* data;

  StaticVector(int n, double* array);
  StaticVector(const StaticVector& src);
  /// Views the same array as src.
  StaticVector& operator=(const StaticVector& src);

  LIMBER_INLINE int size() const { return count; }
  LIMBER_INLINE double& operator[](int i) const { return data[i]; }
};
