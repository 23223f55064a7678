#pragma once

/// @file
/// A row-sparse matrix laid out for products.

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

class HSpMat;
namespace limber::detail {
class SlicedAccess;
}

LIMBER_FIXED_TABLE_BEGIN

/// A copy of a sparse matrix for many products: rows of the same length are stored side by side, once for A
/// and once for A^T. Its products have the bits of HSpMat's and take a third to two thirds of their time.
/// Making it takes the time of 25 to 60 of its products. It holds 24 bytes for each entry and 24 for each row
/// and column. It does not follow later changes of the matrix that it was made from.
///
/// The restarted conjugate gradients multiply by it as it is and make no copy. The front door (Solve.h)
/// copies its entries, as those of every matrix, because it scales them and builds preconditioners and
/// factors from them. Up to the first factor it takes about 40 bytes for each entry of a matrix with five
/// entries per row in least squares, and 60 for a positive definite matrix.
///
/// If there is no memory, that is reported, and the matrix has no rows and no columns. Copies are deep.
class LIMBER_API SlicedMatrix : public SpMat {
 public:
  /// A copy of the rows of A, with A's width.
  explicit SlicedMatrix(const HSpMat& A);
  /// A copy of the elements of A that are not 0.0. The rows of an HSpMat are copied; any other class is read
  /// through acc, element by element. Only the band of a BandedMatrix and the diagonal of a DiagonalMatrix or
  /// an IdentityMatrix are read. These classes and SQPMatrix hide the sizes and elements of SpMat; this
  /// constructor uses their own.
  explicit SlicedMatrix(const SpMat& A);
  SlicedMatrix(const SlicedMatrix& other);
  SlicedMatrix& operator=(const SlicedMatrix& other);
  virtual ~SlicedMatrix();

  int height() const override;
  int width() const override;
  /// y = A x, as HSpMat::mult: y grows to the height, each y_i is summed from 0.0 in entry order, entries
  /// outside the storage of x are left out, and the slot behind y becomes 0.0. Allocates only to grow y.
  void mult(const Vector* x, Vector* y) const override;
  /// y = A^T x, as HSpMat::multT: y grows to the width, rows with x_i in [-1e-12, 1e-12] and entries outside
  /// the width are left out, and the slot behind y becomes 0.0. Allocates only to grow y.
  void multT(const Vector* x, Vector* y) const override;
  /// The value of the first entry at column j of row i, or 0.0 if there is none.
  double acc(int i, int j) const override;
  /// Multiplies every entry by s.
  void scalar(double s) override;

 private:
  friend class limber::detail::SlicedAccess;
  struct Layout;

  template <class Fill>
  void make(int width, Fill fill);
  template <class Take>
  void layOut(int width, Take take);

  int width_ = 0;  // 0 without a layout
  /// Null without memory.
  Layout* layout_ = nullptr;
};

LIMBER_FIXED_TABLE_END
