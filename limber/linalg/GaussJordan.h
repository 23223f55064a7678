#pragma once

/// @file
/// Gauss-Jordan elimination with full pivoting.

#include "limber/Api.h"

class FullMatrix;
class Vector;

/// Eliminates the first n rows and columns of A, n being the smaller of height and width: that block is
/// replaced by its inverse. The second argument is not read.
///
/// `b` is the first of an array of n vectors. Its own n elements follow the row exchanges and reductions, but
/// where a pivot row of column k is divided by the pivot, it is deliberately b[k], the k-th vector of the
/// array, that is scaled as a whole. Only for n = 1 is *b the solution of A x = b.
///
/// Singular matrices are reported ("GAUSSJ: Singular Matrix-1", "-2") and eliminated to the end, with
/// infinities. Not reentrant: the bookkeeping is shared.
LIMBER_API void gaussj(FullMatrix& A, Vector* unused, Vector* b);
