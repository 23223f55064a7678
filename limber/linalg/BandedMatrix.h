#pragma once

/// @file
/// The square band matrix.

#include "limber/Api.h"
#include "limber/linalg/SpMat.h"

LIMBER_FIXED_TABLE_BEGIN

/// A square matrix with one array per row. Element (i, j) is stored in row i at place bw - i + j, valid from
/// 0 to 2 bw - 1. Contract: the band is asymmetric; it reaches bw places left of the diagonal and bw - 1
/// right of it.
///
/// Copies share the row arrays; the last one releases them. Every operation skips rows and places that are
/// not allocated, also after it has reported them.
///
/// height, width and acc hide SpMat's operations of the same names and do not override them; see
/// WierdMatrices.h.
class LIMBER_API BandedMatrix : public SpMat {
 public:
  /// Rows allocated and rows in use.
  int maxRows, rows;
  /// Doubles allocated for each row.
  int maxWidth;
  /// Half the bandwidth.
  int bw;
  double** data;

  /// bw becomes maxWidth / 2. The elements are zeros.
  BandedMatrix(int rows, int maxWidth);
  BandedMatrix(const BandedMatrix& other);
  BandedMatrix& operator=(const BandedMatrix& other);
  ~BandedMatrix();

  virtual int height();
  virtual int width();
  /// The stored element, 0.0 outside the band.
  virtual double acc(int i, int j);
  /// y = A x; y grows to the number of rows. Each y_i is summed from 0.0 in ascending j.
  void mult(const Vector* x, Vector* y) const override;
  /// y = A^T x; y grows to the number of rows. Each y_j is summed from 0.0 in ascending i.
  void multT(const Vector* x, Vector* y) const override;
  /// The row-sparse image of A + diagAdd I, in the matrix that naiveCompact shares. b is naiveCompact's
  /// `reset`.
  SpMat* compact(double diagAdd, int a, int b) override;
  /// A = s A.
  void scalar(double s) override;

  /// Clears the band of every row in use. Too many rows or too wide a band is reported.
  void zero();
  /// Prints the 2 bw stored places of every row.
  void printVals();
  /// The stored element, for writing. Outside the band: a spare element shared by all matrices. Contract:
  /// that is reported only for a place that lies right of the band and further right than any reported
  /// before.
  double& e(int i, int j);
  /// Sets the size and the half bandwidth. If newRows exceeds maxRows, newRows + 10 rows are allocated; the
  /// new ones are zeros. Rows never get longer: a band that does not fit is reported, and its size is set
  /// nevertheless. Values keep their places in the arrays, so call zero() afterwards.
  void growbw(int newRows, int newBw);

 private:
  using SpMat::acc;
  using SpMat::height;
  using SpMat::width;
};

LIMBER_FIXED_TABLE_END
