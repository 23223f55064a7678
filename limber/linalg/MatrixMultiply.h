#pragma once

/// @file
/// The dense product, by BLAS.

#include "limber/Api.h"

class FullMatrix;

/// C = A B, overwriting C, which must already have its shape. C may be A or B. Sizes that do not fit are
/// reported, one by one. The product then takes the parts that fit: the leading min(columns(A), rows(B))
/// terms of each sum, in the leading part of C. Not reentrant: if C is also an operand, the product goes
/// through the shared work array.
LIMBER_API void matrixMultiply(const FullMatrix* A, const FullMatrix* B, FullMatrix* C);
