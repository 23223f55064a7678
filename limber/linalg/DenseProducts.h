#pragma once

/// @file
/// Free products into a dense matrix that already has its shape.

#include "limber/Api.h"

class FullMatrix;
class SpMat;

/// c(i, j) = sum over k of a(i, k) b(k, j), from 0.0 in ascending k, for every place of c. Sizes are not
/// checked: an element outside an operand has the value that the operand's operator() returns for it.
LIMBER_API void mult(FullMatrix& a, FullMatrix& b, FullMatrix& c);

/// The product through the virtual interface: for r < c.width() and s < c.height(), the value stored at r
/// columns + s of c becomes the sum over k < a.height() of a.acc(r, k) b.acc(k, s). Contract: these are the
/// bounds, although only for square matrices they give c = a b. Places beyond the storage of c are skipped.
LIMBER_API void nmult(SpMat& a, SpMat& b, FullMatrix& c);
