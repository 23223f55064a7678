#pragma once

/// @file
/// Solves by conjugate gradients. x is the start on entry and the solution on return; *rsqOut (may be null)
/// receives the final squared residual of the system solved. They return the number of iterations when that
/// is solved, minus it when all restarts were used, and -1 for a singular system.
///
/// A must not change during a solve. But for ncgradAAt, a right-hand side with |b|^2 < cg_epsilon sets x to
/// zero and returns 0.

#include "limber/Api.h"

class Preconditioner;
class SpMat;
class Vector;

/// A x = b, with A symmetric positive definite. A singular system returns minus the iterations, never -1 as
/// such.
LIMBER_API int ncgradA(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// A^T A x = b: b is already A^T times the right-hand side.
LIMBER_API int ncgradAtA(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// Least squares, min |A x - b|: A^T A x = A^T b.
LIMBER_API int ncgrad(SpMat* A, Vector* x, Vector* b, double* rsqOut);
/// A^T (A x + d 1) = A^T b: d is added to each element of the product, it is no multiple of x.
LIMBER_API int ncgradDamp(SpMat* A, Vector* x, Vector* b, double* rsqOut, double d);
/// (A A^T + diag(dampV)) y = b, with y in x; dampV and pre may be null. The zero right-hand side deliberately
/// leaves cgradDampV set: what multiplies later is still damped.
LIMBER_API int ncgradJJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* dampV, Preconditioner* pre);
/// (A diag(mass)^-1 A^T + diag(dampV)) y = b, with y in x; mass, dampV and pre may be null. Sizes that do not
/// fit are warned of, and the solve goes on. The zero right-hand side deliberately leaves cgradDampV and
/// cgradMassVec set.
LIMBER_API int ncgradJVJt(SpMat* A, Vector* x, Vector* b, double* rsqOut, Vector* mass, Vector* dampV,
                          Preconditioner* pre);
/// A A^T y = b, with y in x: neither damped nor weighted.
LIMBER_API int ncgradAAt(SpMat* A, Vector* x, Vector* b, double* rsqOut);
