#pragma once

/// @file
/// The variables that tune the conjugate-gradient solvers. A program changes them directly; every call reads
/// them anew. Nothing guards them: one solve at a time.

#include <cstdio>

#include "limber/Api.h"

class Vector;

/// A squared residual below this counts as solved: absolute, not relative. 0.1.
extern LIMBER_API double cg_tol;
/// The iteration limit of a pass is this times max(height, width) of the matrix. 3.
extern LIMBER_API int cg_maxIters;
/// Number of passes of a solve. 10.
extern LIMBER_API int cg_maxRestarts;
/// Every this many iterations the residual is computed from scratch; 0 turns that off. 50.
extern LIMBER_API int cg_reset_resid;
/// A pass gives up after max(height, width) times this many iterations without a new best. 0.25.
extern LIMBER_API double cg_goNoWhereSc;
/// A curvature p^T M p of smaller magnitude means that the system is singular. 1e-8.
extern LIMBER_API double cg_epsilon;
/// 0: silent. Not 0: restarts, outcomes and warnings on the standard-output channel. Above 1: also a line an
/// iteration. 0.
extern LIMBER_API int cg_verbosity;
/// The trace file: when set, all trace lines go there too, whatever the verbosity. Null.
extern LIMBER_API FILE* cgradDribble;
/// First length of the shared work vectors, and of the one that holds a right-hand-side sized product. 2050.
extern LIMBER_API int cgradMAXX;
extern LIMBER_API int cgradMAXB;
/// When positive, M v gains cgradDefinizer v. -1.0.
extern LIMBER_API double cgradDefinizer;
/// When set, (M v)[i] gains cgradDampV[i] v[i]. Null.
extern LIMBER_API Vector* cgradDampV;
/// The weights V of J V^-1 J^T. Null.
extern LIMBER_API Vector* cgradMassVec;

/// The older family. It converges when the squared residual changes by less than cgradEps (1e-5), or by less
/// than cgradTol (0.0002) of the sum of both values; a curvature below cgradEps^2 or a step above
/// cgradNeptune (1e20) means that the system is singular; maxCGradPasses (10) times the length of x is the
/// iteration limit.
extern LIMBER_API double cgradEps;
extern LIMBER_API double cgradTol;
extern LIMBER_API double cgradNeptune;
extern LIMBER_API int maxCGradPasses;
