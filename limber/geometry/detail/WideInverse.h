#pragma once

namespace limber::detail {

/// The full-pivoting elimination of one row-major 4x4 matrix with 256-bit vectors, to the bits of
/// gaussJordan(). False, with `m` untouched, where this machine has no such vectors and where a pivot is zero
/// or a NaN turns up: these are gaussJordan()'s, with its reports.
bool invertWide(double* m);

}  // namespace limber::detail
