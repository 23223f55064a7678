#pragma once

/// @file
/// The one place that knows how a row-major matrix looks to LAPACK, and the working space of its callers.

class FullMatrix;

namespace limber::detail {

/// A row-major matrix as LAPACK takes it: the storage as it is, read column by column, is the transpose. So
/// LAPACK has a row for each of our columns, and our row length is its leading dimension.
struct LapackMatrix {
  double* data;
  int m;   ///< LAPACK's rows: the width
  int n;   ///< LAPACK's columns: the height
  int ld;  ///< the width, and at least 1
};

/// What LAPACK sees of `matrix`; 0 x 0 for a null pointer or a matrix without storage.
LapackMatrix asLapack(const FullMatrix* matrix);

/// The length passed as LWORK, and of the array that every wrapper works in.
constexpr int lapackWorkspaceLength = 400000;

/// The shared work array, with room for n doubles: static up to lapackWorkspaceLength, above that allocated,
/// kept and grown. Null, after a report, when there is no memory, for it or for the BLAS. A later call with a
/// larger n may move it.
double* lapackWorkspace(long long n);
/// Likewise for n ints: pivots and IWORK.
int* lapackIntegers(int n);

/// Copies n of the caller's pivots, each of which must lie in 1 ... largest, into the shared ints. Null for a
/// missing array and for a pivot outside, with which LAPACK would leave the storage of the matrix.
const int* pivotsToLapack(const long* pivots, int n, int largest);

}  // namespace limber::detail
