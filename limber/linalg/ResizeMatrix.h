#pragma once

/// @file
/// The dense matrix that is reshaped in place.

#include "limber/linalg/FullMatrix.h"

/// A FullMatrix that knows how many doubles its storage holds, so that a loop can give it shape after shape
/// without allocating while they fit.
class LIMBER_API ResizeMatrix : public FullMatrix {
 public:
  /// Doubles that data can hold, the spare element behind them not counted. Kept true by every member,
  /// also when they are called through a FullMatrix reference.
  int allocated;

  /// Room for n doubles, no rows or columns. The contents are undefined but for the first n bytes.
  explicit ResizeMatrix(int n);
  /// An r x c matrix of zeros.
  ResizeMatrix(int r, int c);
  /// Copies have the capacity of their own storage: what they copied, or what they took over.
  ResizeMatrix(const ResizeMatrix& other);
  explicit ResizeMatrix(const FullMatrix& other);
  /// As FullMatrix's, the storage kept alive included; grow and fill in loops.
  ResizeMatrix& operator=(const ResizeMatrix& other);
  ResizeMatrix& operator=(const FullMatrix& other);
  ~ResizeMatrix() override;

  /// Takes the shape r x c; kind becomes 0, or 1 when r c < 1. Values are not kept in place: when the storage
  /// is too small it is replaced and its contents are undefined. Fill afterwards.
  void grow(int r, int c);
};
