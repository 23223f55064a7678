#pragma once

/// @file
/// The dense matrix that is reshaped in place.

#include "limber/linalg/FullMatrix.h"

/// A FullMatrix that knows how many doubles its storage holds, so that a loop can give it shape after shape
/// without allocating while they fit.
class LIMBER_API ResizeMatrix : public FullMatrix {
 public:
  /// How many doubles data can hold, without the spare element. Every member keeps it correct, also when
  /// called through a FullMatrix reference.
  int allocated;

  /// Room for n doubles, no rows or columns. The first n bytes are cleared, the rest is undefined.
  explicit ResizeMatrix(int n);
  /// An r x c matrix of zeros.
  ResizeMatrix(int r, int c);
  /// The capacity of a copy is that of the storage it allocated or took over.
  ResizeMatrix(const ResizeMatrix& other);
  explicit ResizeMatrix(const FullMatrix& other);
  /// Like FullMatrix's, which keeps the previous storage alive. In loops, use grow() and fill the matrix.
  ResizeMatrix& operator=(const ResizeMatrix& other);
  ResizeMatrix& operator=(const FullMatrix& other);
  ~ResizeMatrix() override;

  /// Sets the shape to r x c; kind becomes 0, or 1 when r c < 1. Fill the matrix afterwards: values do not
  /// keep their places, and storage that is too small is replaced by storage with undefined contents.
  void grow(int r, int c);
};
