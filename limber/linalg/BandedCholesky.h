#pragma once

/// @file
/// Cholesky factorization of symmetric positive definite band matrices, by LAPACK.
///
/// `band` has a row for each column of the matrix, N of them, and KD + 1 columns: at index t of row j stands
/// element (j - KD + t, j) of the upper triangle, so the diagonal is the last of each row and the places
/// before the matrix's first row are not read. (BandedMatrix has another layout: its diagonal is in the
/// middle of a row.)
///
/// Results are LAPACK's INFO: 0, k > 0 when the leading minor of order k is not positive definite, -k when
/// the k-th argument of the routine that stands beside each function is illegal (a missing or short operand).
/// The place of INFO itself, -6 or -8, after a report: no memory for the BLAS.

#include "limber/Api.h"

class FullMatrix;
class Vector;

/// Factors in place (DPBTRF): the band then holds the upper factor in the same layout.
LIMBER_API int cholFactorBanded(FullMatrix* band);
/// Solves in place in b, with cholFactorBanded's output (DPBTRS). b needs N elements.
LIMBER_API int cholSolveBanded(FullMatrix* band, Vector* b);
/// The reciprocal condition number of the factored matrix (DPBCON), were its norm 1: the norm is deliberately
/// not computed but taken as 1. Divide by the norm of the matrix for a true estimate. 0 for a missing band.
LIMBER_API double cholCondEst(FullMatrix* band);
/// Fills the upper band of a symmetric matrix: band(j, kd - (j - i)) = full(i, j) for max(0, j - kd) <= i <=
/// j < n. `band` has its shape, n x (kd + 1), already; places outside either matrix are left out, other
/// places stay.
LIMBER_API void compactBanded(FullMatrix* full, FullMatrix* band, int n, int kd);
