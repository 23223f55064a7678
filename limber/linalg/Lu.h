#pragma once

/// @file
/// LU factorization with partial pivoting, by LAPACK. Results are LAPACK's INFO: 0, k > 0 when the k-th pivot
/// is exactly 0, -k when the k-th argument of the LAPACK routine named at each function is illegal (a missing
/// or short operand, a pivot out of range); then nothing is written. A null A counts as an empty matrix,
/// which gives 0. Not reentrant: the work array is shared.

#include "limber/Api.h"

class FullMatrix;
class Vector;

/// Factors the transpose of A, which is what LAPACK sees of a row-major matrix, in place (DGETRF). `ipiv`
/// receives min(height, width) pivots, counted from 1.
LIMBER_API int luFactor(FullMatrix* A, long* ipiv);
/// Replaces luFactor's output by the inverse of A (DGETRI). The order and the leading dimension are both the
/// smaller of height and width: A is meant to be square.
LIMBER_API int luInvert(FullMatrix* A, long* ipiv);
/// Inverts A. Contract: returns the INFO of the inversion and ignores that of the factorization. After a
/// positive result A holds the factors.
LIMBER_API int luInvert(FullMatrix* A);
/// Solves A x = b in place in b, with luFactor's output (DGETRS). The order is the height of A, which is also
/// taken as the leading dimension: A is meant to be square, and b to have at least as many elements.
LIMBER_API int luSolve(FullMatrix* A, long* ipiv, Vector* b);
/// Solves A X = B in place in B, for every column of B (DGETRS between two transpositions of B). Rows of B
/// beyond the height of A keep their values.
LIMBER_API int luSolve(FullMatrix* A, long* ipiv, FullMatrix* B);
