#pragma once

/// @file
/// Conjugate gradients with restarts.

#include "limber/Api.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGStatus.h"

class Preconditioner;

/// Runs up to cg_maxRestarts passes of pureCGrad, each from the x of the one before it; after a pass whose
/// best was its start, from 0.5 x + 0.5 b, deliberately the only perturbation. rsq and rsqOut both receive
/// the final squared residual, totalIters the iterations of all passes, status how the last pass ended.
///
/// The work vectors are shared by all solves of the process: created on first use, grown on demand, never
/// released. After the first solve of a size, in rows, columns and entries, nothing is allocated.
///
/// A must not change during the solve: with one of the multiply functions of this library, a long solve with
/// an HSpMat of 32 rows or more and 2^24 entries or fewer makes a copy of it, 12 bytes an entry and 24 a row,
/// which is laid out for products. The numbers stay the same; the copy's storage is kept like the work
/// vectors.
LIMBER_API CGStatus mcgradI(SpMat* A, Vector* x, Vector* b, double& rsq, double& rsqOut, int& totalIters,
                            CGIStatus& status, CGMultFun mult, Preconditioner* precond);
