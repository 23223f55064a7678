#pragma once

/// @file
/// QR factorization by Householder reflections, and triangular solves, by LAPACK and BLAS. With
///
///     qrFactor(A, tau);  qtransTimes(A, tau, b);  solveUTri(A, b);
///
/// the leading width(A) elements of b become the least-squares solution of A x = b. Results are LAPACK's
/// INFO: 0, or -k when the k-th argument of the routine that stands beside each function is illegal (a
/// missing or short operand); nothing is written then. Not reentrant: the work array is shared.

#include "limber/Api.h"

class FullMatrix;
class Vector;

/// Factors A = Q R in place (DGEQRF between two transpositions): R in the upper triangle, the reflectors
/// below it. tau grows to min(height, width). Prints "Enter factor height width" first.
LIMBER_API int qrFactor(FullMatrix* A, Vector* tau);
/// b = Q^T b (DORMQR) with qrFactor's output, which stays as it is. b needs height(QR) elements.
LIMBER_API int qtransTimes(FullMatrix* QR, Vector* tau, Vector* b);
/// B = Q^T B likewise, for every column of B.
LIMBER_API int qtransTimes(FullMatrix* QR, Vector* tau, FullMatrix* B);
/// Replaces the leading min(height, width) columns by those of the explicit Q (DORGQR between two
/// transpositions); in a wide matrix the columns behind them stay. Prints "Enter qObtain height width" first.
LIMBER_API int qObtain(FullMatrix* QR, Vector* tau);

/// Solves R x = b in place in b, for the upper triangle of the common leading part of R and b (DTRSM).
/// Nothing looks for zeros on the diagonal.
LIMBER_API void solveUTri(FullMatrix* R, Vector* b);
/// Solves R X = B in place, for every column of B, with the leading order x order triangle of R; with order
/// <= 0 all of it. Rows of B beyond the order stay.
LIMBER_API void solveUTri(FullMatrix* R, FullMatrix* B, int order);
