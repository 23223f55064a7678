#pragma once

/// @file
/// The one place that knows how a row-major matrix looks to LAPACK, and the working space of its callers.

class FullMatrix;

namespace limber::detail {

/// A row-major matrix as LAPACK sees it: the same storage, read column by column, is the transpose. So LAPACK
/// has a row for each of our columns, and our row length is its leading dimension.
struct LapackMatrix {
  double* data;
  int m;   ///< LAPACK's rows: the width
  int n;   ///< LAPACK's columns: the height
  int ld;  ///< the width, and at least 1
};

/// What LAPACK sees of `matrix`; 0 x 0 for a null pointer or a matrix without storage.
LapackMatrix asLapack(const FullMatrix* matrix);

/// The length that is passed as LWORK, and the length of the array that every wrapper works in.
constexpr int lapackWorkspaceLength = 400000;

/// The shared work array, with room for n doubles: a static one up to lapackWorkspaceLength, beyond that an
/// allocated one that is kept and grown. Null, after a report, when there is no memory for it or for the
/// BLAS. A later call with a larger n may move it.
double* lapackWorkspace(long long n);
/// The same for n ints, which hold pivots and IWORK.
int* lapackIntegers(int n);

/// Copies n of the caller's pivots, each of which must lie in 1 ... largest, into the shared ints. Null if
/// the array is missing or a pivot is out of range: LAPACK would then write outside the matrix.
const int* pivotsToLapack(const long* pivots, int n, int largest);

}  // namespace limber::detail
