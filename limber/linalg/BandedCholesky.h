#pragma once

/// @file
/// Cholesky factorization of symmetric positive definite band matrices, by LAPACK.
///
/// `band` has a row for each column of the matrix, N of them, and KD + 1 columns: index t of row j holds
/// element (j - KD + t, j) of the upper triangle. The diagonal is therefore the last element of each row.
/// Places whose matrix row would be negative are not read. (BandedMatrix has another layout: its diagonal is
/// in the middle of a row.)
///
/// Results are LAPACK's INFO: 0, k > 0 when the leading minor of order k is not positive definite, -k when
/// the k-th argument of the LAPACK routine named at each function is illegal (a missing or short operand). A
/// null band counts as an empty one, which gives 0. If the BLAS gets no memory, that is reported and the
/// result is minus the position of INFO itself: -6 or -8.

#include "limber/Api.h"

class FullMatrix;
class Vector;

/// Factors in place (DPBTRF): the band then holds the upper factor in the same layout.
LIMBER_API int cholFactorBanded(FullMatrix* band);
/// Solves in place in b, with cholFactorBanded's output (DPBTRS). b needs N elements.
LIMBER_API int cholSolveBanded(FullMatrix* band, Vector* b);
/// An estimate of the reciprocal condition number of the factored matrix (DPBCON). Contract: the norm of the
/// matrix is not computed but taken as 1. Divide the result by the norm for a true estimate. 0 for a missing
/// band.
LIMBER_API double cholCondEst(FullMatrix* band);
/// Fills the upper band of a symmetric matrix: band(j, kd - (j - i)) = full(i, j) for max(0, j - kd) <= i <=
/// j < n. `band` must already have its shape, n x (kd + 1). Places outside either matrix are skipped; all
/// other places of `band` keep their values.
LIMBER_API void compactBanded(FullMatrix* full, FullMatrix* band, int n, int kd);
