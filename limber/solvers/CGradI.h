#pragma once

/// @file
/// The core of the older conjugate-gradient family.

#include "limber/Api.h"

class SpMat;
class Vector;

/// Conjugate gradients with the ratio of Polak and Ribiere (1969), for the operator M given by two functions:
/// `residual` writes r = the residual of M x = b, grown to its length, and returns |r|^2; `curvature` returns
/// d^T M d. The residual is computed anew in each iteration, and the direction starts again from it whenever
/// its square grew.
///
/// Returns the iteration at which the change of the squared residual fell below cgradEps or cgradTol; 0 when
/// x or b is empty, or when earlyExit is set and the start's squared residual is below cgradEps^2; -1 for a
/// singular system (reported when earlyExit is set); -9, reported, after maxCGradPasses times the length of x
/// iterations. *rsqOut (may be null) receives the last squared residual on every return.
///
/// Contract: a step that hits the exact solution is a large change, so it is no convergence; the iteration
/// after it finds no curvature and returns -1. x holds the solution then, and a *rsqOut next to 0 tells this
/// from a singular system.
LIMBER_API int cgradI(SpMat* A, Vector* x, Vector* b, double* rsqOut,
                      double (*residual)(SpMat* A, Vector* x, Vector* b, Vector* r),
                      double (*curvature)(SpMat* A, Vector* d), int earlyExit);
