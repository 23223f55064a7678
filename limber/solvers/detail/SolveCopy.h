#pragma once

/// @file
/// The copy of a matrix that a long solve multiplies by.

#include "limber/solvers/CGMultiply.h"

class HSpMat;

namespace limber::detail {

/// While it lives, a solve with A is under way, during which A does not change. After the first products with
/// a row-sparse matrix a copy of it that is laid out for products takes its place; the bits stay the same.
/// The copy ends with the object; its storage stays for later solves. Any other matrix, and a solve within a
/// solve, goes without.
class SolveCopy {
 public:
  explicit SolveCopy(const SpMat* A);
  /// For a product of the caller's own, which may do with A what it likes, there is no copy.
  SolveCopy(const SpMat* A, CGMultFun operation);
  ~SolveCopy();
  SolveCopy(const SolveCopy&) = delete;
  SolveCopy& operator=(const SolveCopy&) = delete;

  /// out = A v, out = A^T v, and t = A v + shift with out = A^T t, by the copy. False, and nothing is done,
  /// when there is none of A.
  static bool mult(const SpMat* A, const Vector* v, Vector* out);
  static bool multT(const SpMat* A, const Vector* v, Vector* out);
  static bool normalMult(const SpMat* A, const Vector* v, double shift, Vector* t, Vector* out);

 private:
  /// So many more products with A: whether there is a copy for them.
  static bool ready(const SpMat* A, int products);

  const HSpMat* A_;
  int products_ = 0, width_ = 0;
  bool copied_ = false;
};

}  // namespace limber::detail
