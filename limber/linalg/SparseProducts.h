#pragma once

/// @file
/// Row-sparse matrices into dense ones.

#include "limber/Api.h"

class FullMatrix;
class HSpMat;
class ResizeMatrix;

/// dst becomes the dense copy of src, in src's shape.
LIMBER_API void convertMat(HSpMat& src, ResizeMatrix& dst);
/// out = a b^T: out(i, j) is the dot product of row i of a and row j of b, for every place of out. out must
/// already have its shape; a place for which a or b has no row becomes 0.0.
LIMBER_API void multT(HSpMat& a, HSpMat& b, FullMatrix& out);
LIMBER_API void multT(FullMatrix& a, HSpMat& b, FullMatrix& out);
