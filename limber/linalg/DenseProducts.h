#pragma once

/// @file
/// Free products into a dense matrix that has its shape already.

#include "limber/Api.h"

class FullMatrix;
class SpMat;

/// c(i, j) = sum over k of a(i, k) b(k, j), from 0.0 in ascending k, for every place of c. Sizes are not
/// checked: what an operand lacks is what its operator() says of places out of bounds.
LIMBER_API void mult(FullMatrix& a, FullMatrix& b, FullMatrix& c);

/// The product through the virtual interface: for r < c.width() and s < c.height(), the value stored at
/// r columns + s of c becomes the sum over k < a.height() of a.acc(r, k) b.acc(k, s). The bounds are
/// deliberately these: for square matrices it is c = a b. Places behind the storage of c are left out.
LIMBER_API void nmult(SpMat& a, SpMat& b, FullMatrix& c);
