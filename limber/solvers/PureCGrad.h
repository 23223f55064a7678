#pragma once

/// @file
/// One pass of conjugate gradients (Hestenes and Stiefel 1952).

#include "limber/Api.h"
#include "limber/solvers/CGMultiply.h"
#include "limber/solvers/CGStatus.h"

class Preconditioner;

/// Solves M x = b for the symmetric positive (semi-)definite M that `mult` applies over A, from the start
/// in x. Ends with CGI_SOLVED, CGI_TOO_MANY_ITERS, CGI_SINGULAR or CGI_NO_IMPROVEMENT.
///
/// r, p, q and z are work vectors, which grow; z is used with a preconditioner only. bestX may be null. It
/// receives the best iterate, and a pass that ends worse than its best goes back to it; without bestX the
/// pass warns of that on the standard-output channel. iter receives the iteration reached, bestIter that of
/// the smallest squared residual, and rsq the squared residual of the returned x. Where the start already
/// solves the system, iter and bestIter stay as they are.
///
/// A must not change during the pass; what a change does is undefined. With one of the multiply functions of
/// this library, a long pass over an HSpMat multiplies by a copy of it (see MCGrad.h). Passes on several
/// threads, each with its own matrix, vectors and preconditioner, do not disturb each other when `mult` is
/// multFunA or a function of the caller's that shares nothing; the other multiply functions share a vector.
///
/// With cg_verbosity above 1 or a trace file set, M x of each iteration is written to the store of the best
/// solution that mcgradI passes as bestX. (Contract: both use one vector, so a traced solve that goes back to
/// its best iterate gets that product.)
LIMBER_API CGIStatus pureCGrad(SpMat* A, Vector* x, Vector* b, CGMultFun mult, Vector* r, Vector* p,
                               Vector* q, int maxIters, int& iter, int& bestIter, double& rsq, Vector* bestX,
                               Preconditioner* precond, Vector* z);
