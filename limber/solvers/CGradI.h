#pragma once

/// @file
/// The core of the older conjugate-gradient family.

#include "limber/Api.h"

class SpMat;
class Vector;

/// Conjugate gradients with the ratio of Polak and Ribiere (1969), for the operator M given by two functions:
/// `residual` writes the residual of M x = b to r, which grows to its length, and returns |r|^2; `curvature`
/// returns d^T M d. The residual is recomputed in each iteration, and the direction restarts from it whenever
/// its square has grown.
///
/// Returns
/// - the iteration at which the change of the squared residual fell below cgradEps or cgradTol;
/// - 0 if x or b is empty, or if earlyExit is set and the squared residual of the start is below cgradEps^2;
/// - -1 for a singular system, which is reported if earlyExit is set;
/// - -9 after maxCGradPasses iterations per element of x, which is reported.
///
/// *rsqOut (may be null) receives the last squared residual on every return.
///
/// Contract: a step that reaches the exact solution is a large change, so it does not count as convergence;
/// the next iteration finds no curvature and returns -1. x then holds the solution, and a *rsqOut near 0
/// distinguishes this case from a singular system.
LIMBER_API int cgradI(SpMat* A, Vector* x, Vector* b, double* rsqOut,
                      double (*residual)(SpMat* A, Vector* x, Vector* b, Vector* r),
                      double (*curvature)(SpMat* A, Vector* d), int earlyExit);
