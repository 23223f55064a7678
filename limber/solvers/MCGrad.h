#pragma once

/// @file
/// Conjugate gradients with restarts.

#include "limber/Api.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGStatus.h"

class Preconditioner;

/// Runs up to cg_maxRestarts passes of pureCGrad, each from the x of the previous one. rsq and rsqOut both
/// receive the final squared residual, totalIters the iterations of all passes, status the status of the last
/// pass. Contract: after a pass whose best iterate was its start, the next pass starts from 0.5 x + 0.5 b;
/// nothing else perturbs x.
///
/// The work vectors are shared by all solves of the process: the first solve creates them, they grow on
/// demand and are never released. After the first solve of a size, in rows, columns and entries, nothing is
/// allocated, up to 2^24 entries.
///
/// A must not change during the solve; the effect of a change is undefined. Long solves multiply by a copy of
/// A that is laid out for products, with the same numbers. This is so with one of the multiply functions of
/// this library and an HSpMat of at least 32 rows, from the tenth product on, or from the fourth one with
/// 2^17 entries or more. The storage of the copy takes up to 15 bytes per entry and 30 per row. It is kept
/// for later solves and lent to one solve at a time; a copy of more than 2^24 entries is released after its
/// solve. A solve that does not get a copy multiplies by A.
LIMBER_API CGStatus mcgradI(SpMat* A, Vector* x, Vector* b, double& rsq, double& rsqOut, int& totalIters,
                            CGIStatus& status, CGMultFun mult, Preconditioner* precond);
