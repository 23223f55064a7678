#pragma once

/// @file
/// The copy of a matrix that a long solve multiplies by.

#include "limber/solvers/CGMultiply.h"

class HSpMat;

namespace limber::detail {

/// While it lives, a solve with A is under way, during which A does not change. After the first products with
/// a row-sparse matrix a copy of it that is laid out for products takes its place; the bits stay the same.
/// The copy ends with the object; its storage stays for later solves. Any other matrix goes without, and so
/// does another one that is solved within the solve.
class SolveCopy {
 public:
  explicit SolveCopy(const SpMat* A);
  /// For an operation of the caller's own, which may do with A what it likes, there is no copy, also not the
  /// one of a solve around this one. (This library's operations are known by their addresses. A program that
  /// is not position-independent may have others for them: then its operation counts as the caller's.)
  SolveCopy(const SpMat* A, CGMultFun operation);
  ~SolveCopy();
  SolveCopy(const SolveCopy&) = delete;
  SolveCopy& operator=(const SolveCopy&) = delete;

  /// out = A v, out = A^T v, and t = A v + shift with out = A^T t, by the copy. False, and nothing is done,
  /// when there is none of A as it is now, and where a vector has no room.
  static bool mult(const SpMat* A, const Vector* v, Vector* out);
  static bool multT(const SpMat* A, const Vector* v, Vector* out);
  static bool normalMult(const SpMat* A, const Vector* v, double shift, Vector* t, Vector* out);

 private:
  /// The solve under way: none where A is null. Static, not in the objects, so that a caller who leaves a
  /// solve by a jump leaves no address behind.
  struct Solve {
    const HSpMat* A = nullptr;
    int products = 0;
    bool copied = false;
    /// A solve around this one has the copy.
    bool taken = false;
  };

  void begin(const SpMat* A);
  /// Counts so many products with A, and copies it when it is time: whether they are by the copy.
  static bool copied(const SpMat* A, int products);

  static Solve running_;
  /// What this one took the place of, if it did.
  const Solve around_;
  bool active_ = false;
};

}  // namespace limber::detail
