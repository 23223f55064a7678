#pragma once

/// @file
/// Singular value decomposition, by LAPACK.

#include "limber/Api.h"

class FullMatrix;

/// A = U diag(S) Vt for an m x n matrix A, by DGESVD. U is m x m, S is 1 x n with the singular values in
/// descending order (for m < n the last n - m are 0), Vt is n x n. A is destroyed, so U, S and Vt must be
/// other matrices.
///
/// Returns LAPACK's INFO: 0, k > 0 when k superdiagonals did not converge, -k when the k-th argument of
/// DGESVD is illegal. Shapes other than those above are reported, one by one. A matrix that is too large
/// receives the result in its leading part; if one is too small, nothing is written. Not reentrant: the work
/// array is shared.
LIMBER_API int svdDecomp(FullMatrix* A, FullMatrix* U, FullMatrix* S, FullMatrix* Vt);
