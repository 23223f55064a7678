#pragma once

/// @file
/// The matrix that stands before the caller's matrix while one of the library's own operations multiplies.

#include "limber/linalg/SpMat.h"

class HSpMat;

namespace limber::detail {

/// A matrix as the solvers multiply by it. It lives on the stack of a solve and holds the caller's matrix A,
/// which may be null as long as nothing is asked.
///
/// - The structured matrices hide height, width and acc instead of overriding them. Here they answer with
///   their true sizes, a DiagonalMatrix or an IdentityMatrix multiplies by its diagonal, both ways, and the
///   blocks of an SQPMatrix may be such matrices.
/// - A solve with an HSpMat counts its products. The tenth and later ones, or the fourth and later ones with
///   2^18 entries or more, use a copy of the matrix that is laid out for products (SlicedRows). The bits are
///   the same.
///
/// A class derived from one of these may override anything, so SpMat's operations multiply by it, as by any
/// other class.
class SolveMatrix final : public SpMat {
 public:
  /// A solve makes `many` products, a single call of an operation `few`, for which a copy would not pay.
  enum class Products { few, many };

  explicit SolveMatrix(const SpMat* A, Products products = Products::many);
  ~SolveMatrix();
  SolveMatrix(const SolveMatrix&) = delete;
  SolveMatrix& operator=(const SolveMatrix&) = delete;

  int height() const override;
  int width() const override;
  /// out = A v, where out takes the height of A as its size. The elements of out behind its count become 0.0
  /// where its count shrinks, here and below.
  void mult(const Vector* v, Vector* out) const override;
  /// out = A^T v, where out takes the width of A as its size.
  void multT(const Vector* v, Vector* out) const override;
  /// t = A v + shift, out = A^T t. t and out are sized as above.
  void normalMult(const Vector* v, double shift, Vector* t, Vector* out) const;

 private:
  enum class Kind { rows, diagonal, identity, banded, quadratic, other };

  static Kind kindOf(const SpMat* A);
  const HSpMat& rows() const;
  void multiplyDiagonal(const Vector* v, Vector* out) const;
  void multiplyBlocks(const Vector* v, Vector* out) const;
  /// out = A v = A^T v for the kinds of which the solvers make the product themselves; false for the others.
  bool multiplySymmetric(const Vector* v, Vector* out) const;
  void countProducts(int products) const;

  const SpMat* const A_;
  const Kind kind_;
  /// Number of products so far that count towards a copy; rows of many entries start above 0.
  mutable int products_;
  /// Tells this solve's copy from others; 0 while there is none.
  mutable unsigned long long ticket_ = 0;
};

}  // namespace limber::detail
