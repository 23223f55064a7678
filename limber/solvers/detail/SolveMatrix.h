#pragma once

/// @file
/// A wrapper for the caller's matrix, by which the library's own operations multiply.

#include "limber/linalg/SpMat.h"

class HSpMat;

namespace limber::detail {

/// The matrix by which the solvers multiply. It lives on the stack of a solve and refers to the caller's
/// matrix A, which may be null as long as no function is called.
///
/// - The structured matrices hide height, width and acc instead of overriding them. Here they have their
///   true sizes, a DiagonalMatrix or an IdentityMatrix multiplies by its diagonal in both directions, and the
///   blocks of an SQPMatrix may be such matrices.
/// - A solve with an HSpMat counts its products. The tenth and later ones, or the fourth and later ones with
///   2^17 entries or more, use a copy of the matrix that is laid out for products (SlicedRows). The bits are
///   the same.
///
/// A class that is derived from one of these may override anything, so it is treated like any other class:
/// its SpMat functions are called.
class SolveMatrix final : public SpMat {
 public:
  /// A solve makes `many` products. A single call of an operation makes `few`, so a copy would not pay off.
  enum class Products { few, many };

  explicit SolveMatrix(const SpMat* A, Products products = Products::many);
  ~SolveMatrix();
  SolveMatrix(const SolveMatrix&) = delete;
  SolveMatrix& operator=(const SolveMatrix&) = delete;

  int height() const override;
  int width() const override;
  /// out = A v. The size of out becomes the height of A. If that is smaller than before, the elements after
  /// the new end become 0.0. This also holds for the functions below.
  void mult(const Vector* v, Vector* out) const override;
  /// out = A^T v. The size of out becomes the width of A.
  void multT(const Vector* v, Vector* out) const override;
  /// t = A v + shift, out = A^T t. t and out are sized as above.
  void normalMult(const Vector* v, double shift, Vector* t, Vector* out) const;

 private:
  enum class Kind { rows, diagonal, identity, banded, quadratic, other };

  static Kind kindOf(const SpMat* A);
  const HSpMat& rows() const;
  void multiplyDiagonal(const Vector* v, Vector* out) const;
  void multiplyBlocks(const Vector* v, Vector* out) const;
  /// out = A v = A^T v for the symmetric kinds, whose product the solvers compute themselves; false for the
  /// others.
  bool multiplySymmetric(const Vector* v, Vector* out) const;
  void countProducts(int products) const;

  const SpMat* const A_;
  const Kind kind_;
  /// The number of products so far; with many entries it starts above 0, so that the copy is made earlier.
  mutable int products_;
  /// The ticket of this solve's copy, or 0 if there is none.
  mutable unsigned long long ticket_ = 0;
};

}  // namespace limber::detail
