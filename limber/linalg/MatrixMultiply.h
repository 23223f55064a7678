#pragma once

/// @file
/// The dense product, by BLAS.

#include "limber/Api.h"

class FullMatrix;

/// C = A B, overwriting C, which must have its shape already. C may be A or B. Sizes that do not fit are
/// reported, one by one; the product is then that of the parts that do: the leading min(columns(A), rows(B))
/// terms of each sum, in the leading part of C. Not reentrant: a C that is also an operand goes through the
/// shared work array.
LIMBER_API void matrixMultiply(const FullMatrix* A, const FullMatrix* B, FullMatrix* C);
