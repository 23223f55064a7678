#pragma once

/// @file
/// The matrices of a known shape.
///
/// In all four classes height, width and acc are new, non-const operations. They hide SpMat's operations of
/// the same names and do not override them: through an SpMat* these three print SpMat's warning and return 0.
/// Calls on a const matrix of these classes do not compile, because the hidden operations are private there.

#include "limber/linalg/BandedMatrix.h"
#include "limber/linalg/DiagonalMatrix.h"
#include "limber/linalg/IdentityMatrix.h"
#include "limber/linalg/SQPMatrix.h"
