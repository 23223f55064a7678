#pragma once

/// @file
/// The normal matrix J W J^T + diag(damp) + shift I of a row-sparse J, as a dense matrix or a band.
///
/// W is the diagonal matrix of the weights, which *multiply* here, while the operator of ncgradJVJt *divides*
/// by its mass: for a solve with masses the weights are 1/mass. Null weights mean 1, null damping means 0.
/// Sums run in ascending column order.
///
/// If `out` is null, each builder creates a matrix, which the caller deletes; otherwise `out` gets the shape,
/// is completely overwritten and returned. Null, after a report, if there is no memory for a new one.

#include "limber/Api.h"

class HSpMat;
class ResizeMatrix;
class Vector;

/// The whole symmetric matrix, n x n.
LIMBER_API ResizeMatrix* buildJJt(const HSpMat* J, ResizeMatrix* out, Vector* weights, Vector* damp,
                                  double shift);

/// n x (bandwidth + 1): the diagonal in the last column, and the dot product of rows i and i + 1 + k in
/// column bandwidth - 1 - k of row i + 1. Contract: the row is i + 1 for every k. For a bandwidth of 0 or 1
/// this gives the band that cholFactorBanded takes. For a larger bandwidth it gives the band of another
/// matrix, which may not be positive definite: see buildJJtBand.
LIMBER_API ResizeMatrix* buildJJtBanded(const HSpMat* J, int bandwidth, ResizeMatrix* out, Vector* weights,
                                        Vector* damp, double shift);

/// n x (bandwidth + 1), the upper band of the matrix as cholFactorBanded takes it: the diagonal in the last
/// column, and the dot product of rows i and j = i + 1 + k in row j, column bandwidth - 1 - k. Entries
/// further from the diagonal are left out.
LIMBER_API ResizeMatrix* buildJJtBand(const HSpMat* J, int bandwidth, ResizeMatrix* out, Vector* weights,
                                      Vector* damp, double shift);

/// The half bandwidth of J J^T, exactly: the largest j - i of two rows i < j that have an entry at the same
/// index; 0 if there are none. Values are not read. With this bandwidth buildJJtBand leaves nothing out, and
/// JJtCholeskyPrecond is a direct solver. If there is no memory, that is reported, and the result is the
/// number of rows - 1, with which nothing is left out either.
LIMBER_API int halfBandwidth(const HSpMat* J);
