#pragma once

/// @file
/// The dense product.

#include "limber/Api.h"

class FullMatrix;

/// C = A B. C must have its shape already. Sizes that do not fit are reported one by one.
LIMBER_API void matrixMultiply(const FullMatrix* A, const FullMatrix* B, FullMatrix* C);
