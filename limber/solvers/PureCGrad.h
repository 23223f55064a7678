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
/// r, p, q and z are work vectors, which grow; z is used only with a preconditioner. bestX receives the best
/// iterate, and a pass that ends with a worse one restores it. bestX may be null; the pass then prints a
/// warning on the standard-output channel instead. iter receives the last iteration, bestIter that of the
/// smallest squared residual, and rsq the squared residual of the returned x. If the start already solves the
/// system, iter and bestIter do not change.
///
/// A must not change during the pass; the effect of a change is undefined. With one of the multiply functions
/// of this library, a long pass over an HSpMat multiplies by a copy of it (see MCGrad.h). Passes may run in
/// several threads, each with its own matrix, vectors and preconditioner, if `mult` is multFunA or your own
/// function that shares nothing; the other multiply functions share a vector.
///
/// With cg_verbosity above 1 or a trace file set, M x of each iteration is written to the vector that mcgradI
/// passes as bestX. Contract: both use the same vector, so a traced solve that restores its best iterate gets
/// that product.
LIMBER_API CGIStatus pureCGrad(SpMat* A, Vector* x, Vector* b, CGMultFun mult, Vector* r, Vector* p,
                               Vector* q, int maxIters, int& iter, int& bestIter, double& rsq, Vector* bestX,
                               Preconditioner* precond, Vector* z);
