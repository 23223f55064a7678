#pragma once

/// @file
/// Conjugate gradients with restarts.

#include "limber/Api.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGStatus.h"

class Preconditioner;

/// Runs up to cg_maxRestarts passes of pureCGrad, each from the x of the one before it; after a pass whose
/// best was its start, from 0.5 x + 0.5 b. (Contract: that is the only perturbation.) rsq and rsqOut both
/// receive the final squared residual, totalIters the iterations of all passes, status how the last pass
/// ended.
///
/// The work vectors are shared by all solves of the process: the first solve creates them, they grow on
/// demand and are never released. After the first solve of a size, in rows, columns and entries, nothing is
/// allocated.
///
/// A must not change during the solve; what a change does is undefined. With one of the multiply functions of
/// this library, a solve with an HSpMat of 32 rows or more and 2^24 entries or fewer makes its tenth and
/// later products by a copy of A that is laid out for products. The numbers are the same. The storage of the
/// copy, up to 15 bytes an entry and 30 a row, is kept for later solves and lent to one solve at a time; a
/// solve that cannot have it multiplies by A.
LIMBER_API CGStatus mcgradI(SpMat* A, Vector* x, Vector* b, double& rsq, double& rsqOut, int& totalIters,
                            CGIStatus& status, CGMultFun mult, Preconditioner* precond);
