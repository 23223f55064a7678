#pragma once

/// @file
/// Gauss-Jordan elimination with full pivoting.

#include "limber/Api.h"

class FullMatrix;
class Vector;

/// Eliminates the first n rows and columns of A, n being the smaller of height and width: that block is
/// replaced by its inverse. The second argument is not read.
///
/// `b` is the first of an array of n vectors. The row exchanges and reductions are applied to the n elements
/// of *b. Contract: when the pivot row of column k is divided by the pivot, the whole vector b[k], the k-th
/// of the array, is scaled instead of element k of *b. *b is the solution of A x = b only for n = 1.
///
/// Singular matrices are reported ("GAUSSJ: Singular Matrix-1", "-2") and eliminated to the end, with
/// infinities. Not reentrant: the bookkeeping is shared.
LIMBER_API void gaussj(FullMatrix& A, Vector* unused, Vector* b);
