#pragma once

/// @file
/// The linear maps and approximate inverses that the methods of Solve.h work with.

#include "limber/linalg/Vector.h"
#include "limber/linalg/detail/SlicedRows.h"
#include "limber/solvers/detail/SparseRows.h"
#include "limber/solvers/detail/Wide.h"

class Preconditioner;
class SpMat;

namespace limber::detail {

/// A linear map, given by its products, which it counts.
class LinearMap {
 public:
  virtual ~LinearMap() = default;
  virtual int height() const = 0;
  virtual int width() const = 0;
  /// The number of entries that a product reads, or 0 if it is not known.
  virtual double entries() const { return 0.0; }
  /// y = A x and y = A^T x. x and y are different vectors.
  virtual void multiply(const double* x, double* y) = 0;
  virtual void multiplyTransposed(const double* x, double* y) = 0;
  /// u = A v - s u, then w = A^T u. Returns |u|^2.
  virtual double multiplyBothWays(const double* v, double s, double* u, double* w);
  /// r = b - A x and, unless g is null, g = A^T r, in twice the precision if the map supports that.
  virtual void preciseResidual(const double* b, const double* x, double* r, double* g);
  /// A x or A^T x. Classes that know the entries compute with wide numbers.
  virtual Wides wideProduct(const Wides& x, bool transposed);

  int products = 0;

 private:
  Doubles product_;
};

/// The product with compressed rows. After several products A x the rows are copied to a layout that makes
/// these faster.
class RowsMap final : public LinearMap {
 public:
  explicit RowsMap(const SparseRows& rows) : RowsMap(rows, rows, 0) {}
  /// The same, where some entries have lost digits: they are those of `exact` times 2^power.
  RowsMap(const SparseRows& rows, const SparseRows& exact, int power)
      : rows_(rows), exact_(exact), power_(power) {}
  int height() const override { return rows_.height; }
  int width() const override { return rows_.width; }
  double entries() const override { return rows_.entries(); }
  void multiply(const double* x, double* y) override;
  void multiplyTransposed(const double* x, double* y) override;
  double multiplyBothWays(const double* v, double s, double* u, double* w) override;
  void preciseResidual(const double* b, const double* x, double* r, double* g) override;
  Wides wideProduct(const Wides& x, bool transposed) override;

 private:
  const SparseRows &rows_, &exact_;
  const int power_;
  SlicedRows slices_;        // the copy, once there is one
  int multiplications_ = 0;  // calls of multiply
};

/// x -> A S x for compressed rows A and a diagonal S.
class ScaledColumnsMap final : public LinearMap {
 public:
  ScaledColumnsMap(const SparseRows& rows, const Doubles& scale)
      : rows_(rows), scale_(scale), work_(rows.width) {}
  int height() const override { return rows_.height; }
  int width() const override { return rows_.width; }
  void multiply(const double* x, double* y) override;
  void multiplyTransposed(const double* x, double* y) override;
  double multiplyBothWays(const double* v, double s, double* u, double* w) override;

 private:
  const SparseRows& rows_;
  const Doubles& scale_;
  Doubles work_;
};

/// x -> A^T A x. A counts the products.
class NormalMap final : public LinearMap {
 public:
  explicit NormalMap(LinearMap& A) : A_(A), work_(A.height()) {}
  int height() const override { return A_.width(); }
  int width() const override { return A_.width(); }
  void multiply(const double* x, double* y) override;
  void multiplyTransposed(const double* x, double* y) override { multiply(x, y); }

 private:
  LinearMap& A_;
  Doubles work_;
};

/// The product with a user-defined matrix. Each vector is scaled so that its largest magnitude is near 2^100,
/// or as near as the product allows without overflow. So a class that drops tiny numbers drops nothing that
/// matters.
class ForeignMap final : public LinearMap {
 public:
  ForeignMap(const SpMat& A, int height, int width) : A_(A), height_(height), width_(width) {}
  int height() const override { return height_; }
  int width() const override { return width_; }
  void multiply(const double* x, double* y) override { product(x, width_, y, height_, false); }
  void multiplyTransposed(const double* x, double* y) override { product(x, height_, y, width_, true); }
  /// From now on, the products are 2^k times those of the caller's matrix.
  void scaleBy(int k) { power_ = k; }

 private:
  void product(const double* x, int n, double* y, int m, bool transposed);
  const SpMat& A_;
  const int height_, width_;
  int power_ = 0;
  Vector in_, out_;
};

/// An approximate inverse of a square map.
class Inverse {
 public:
  virtual ~Inverse() = default;
  /// z = M^-1 r. r and z are different vectors. False if the result is not finite.
  virtual bool apply(const double* r, double* z) = 0;
  /// The diagonal of M^-1 if it is diagonal, otherwise null.
  virtual const double* diagonal() const { return nullptr; }
};

/// z_i = inverse_i r_i.
class DiagonalInverse final : public Inverse {
 public:
  explicit DiagonalInverse(const Doubles& inverse) : inverse_(inverse) {}
  bool apply(const double* r, double* z) override;
  const double* diagonal() const override { return inverse_.data(); }

 private:
  const Doubles& inverse_;
};

/// The caller's preconditioner.
class ForeignInverse final : public Inverse {
 public:
  ForeignInverse(Preconditioner* preconditioner, int n) : preconditioner_(preconditioner), n_(n) {}
  bool apply(const double* r, double* z) override;

 private:
  Preconditioner* const preconditioner_;
  const int n_;
  Vector r_, z_;
};

}  // namespace limber::detail
