#pragma once

/// @file
/// The operator M of a solve.

#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/detail/SolveMatrix.h"

namespace limber::detail {

// The library's own operators over a SolveMatrix. CGMultiply.h has the formulas.
void applyA(const SolveMatrix& A, const Vector* v, Vector* w);
void applyJJt(const SolveMatrix& A, const Vector* v, Vector* w);
void applyAtA(const SolveMatrix& A, const Vector* v, Vector* w);
/// w = A A^T v.
void applyAAt(const SolveMatrix& A, const Vector* v, Vector* w);

/// The operator of a solve: one of the library's own over a SolveMatrix, or the caller's over the caller's
/// matrix.
class SolveOperator {
 public:
  typedef void (*Own)(const SolveMatrix& A, const Vector* v, Vector* w);

  /// The library's operations are recognised by their addresses. If these differ in a program, because it is
  /// not position-independent, its operation counts as the caller's.
  SolveOperator(SpMat* A, CGMultFun mult);
  SolveOperator(SpMat* A, Own own);

  /// The sizes of A.
  int height() const { return matrix_.height(); }
  int width() const { return matrix_.width(); }
  const SolveMatrix& matrix() const { return matrix_; }
  bool isCallers() const { return own_ == nullptr; }
  /// out = M v. If out becomes shorter, the elements after its new end become 0.0.
  void apply(const Vector* v, Vector* out) const;

 private:
  SpMat* const A_;
  const CGMultFun callers_;
  const Own own_;
  const SolveMatrix matrix_;
};

}  // namespace limber::detail
