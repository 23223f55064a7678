#pragma once

/// @file
/// QR factorization by Householder reflections, and triangular solves, by LAPACK and BLAS. With
///
///     qrFactor(A, tau);  qtransTimes(A, tau, b);  solveUTri(A, b);
///
/// the leading width(A) elements of b become the least-squares solution of A x = b. Results are LAPACK's
/// INFO: 0, or -k when the k-th argument of the LAPACK routine named at each function is illegal (a missing
/// or short operand); then nothing is written. A null matrix counts as an empty one, which gives 0. Not
/// reentrant: the work array is shared.

#include "limber/Api.h"

class FullMatrix;
class Vector;

/// Factors A = Q R in place (DGEQRF between two transpositions): R in the upper triangle, the reflectors
/// below it. tau grows to min(height, width). Prints "Enter factor height width" first.
LIMBER_API int qrFactor(FullMatrix* A, Vector* tau);
/// b = Q^T b (DORMQR) with qrFactor's output, which does not change. b needs height(QR) elements.
LIMBER_API int qtransTimes(FullMatrix* QR, Vector* tau, Vector* b);
/// B = Q^T B: the same for every column of B.
LIMBER_API int qtransTimes(FullMatrix* QR, Vector* tau, FullMatrix* B);
/// Replaces the leading min(height, width) columns by those of the explicit Q (DORGQR between two
/// transpositions); in a wide matrix the remaining columns keep their values. Prints "Enter qObtain height
/// width" first.
LIMBER_API int qObtain(FullMatrix* QR, Vector* tau);

/// Solves R x = b in place in b, for the upper triangle of the common leading part of R and b (DTRSM). Zeros
/// on the diagonal are not checked for.
LIMBER_API void solveUTri(FullMatrix* R, Vector* b);
/// Solves R X = B in place, for every column of B, with the leading order x order triangle of R; with order
/// <= 0, with the whole triangle. Rows of B beyond the order keep their values.
LIMBER_API void solveUTri(FullMatrix* R, FullMatrix* B, int order);
