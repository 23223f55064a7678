#pragma once

/// @file
/// The variables that tune the conjugate-gradient solvers. A program changes them directly, and every call
/// reads them. Nothing guards them against other threads: only one solve at a time may depend on them.

#include <cstdio>

#include "limber/Api.h"
#include "limber/solvers/CGObserver.h"

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
/// Not 0: restarts, outcomes and false solutions are told on the standard-output channel. Above 1: so is
/// every iteration. 0.
extern LIMBER_API int cg_verbosity;
/// The trace file. When it is set, both families of conjugate gradients write their trace lines to it,
/// whatever the verbosity. (Contract: the line of mcgradI that says that a system is singular needs
/// cg_verbosity as well.) Bi-CG writes to the standard-output channel only. Null.
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

/// The observer that all solvers of both families and bi-CG call, the iteration that solves the system
/// included (what the observer returns then does not matter). Null: nobody watches.
///
/// A solve that the observer ends has the iterate of the smallest squared residual that was seen in it, its
/// start included, in x and that residual in rsq. Its pass ends with CGI_NO_IMPROVEMENT, and the entry points
/// return what they return when their restarts or iterations are used up. An observed solve allocates one
/// vector for that iterate. A solve that runs inside another one is observed like any other.
extern LIMBER_API CGObserver cg_observer;
extern LIMBER_API void* cg_observerData;
/// 1 when the observer ended the last solve. The next solve sets it to 0 as it begins.
extern LIMBER_API int cg_stopped;

/// The older family. It converges when the squared residual changes by less than cgradEps (1e-5), or by less
/// than cgradTol (0.0002) of the sum of both values; a curvature below cgradEps^2 or a step above
/// cgradNeptune (1e20) means that the system is singular; maxCGradPasses (10) times the length of x is the
/// iteration limit.
extern LIMBER_API double cgradEps;
extern LIMBER_API double cgradTol;
extern LIMBER_API double cgradNeptune;
extern LIMBER_API int maxCGradPasses;

/// Sets the variables above, and those of BiCGrad.h, for one piece of a program: its end puts back every one
/// of them but cg_stopped, whichever way the scope is left.
///
///     const CGTuning tuning(1e-10, b);
///     const int iterations = ncgradA(&A, &x, &b, &rsq);
class LIMBER_API CGTuning {
 public:
  /// Only puts the variables back.
  explicit CGTuning();
  /// |r| <= relative |b| counts as solved, where r is the residual of the system that is solved: for ncgrad
  /// and cgrad that is A^T (b - A x), so give A^T b there. The older family has no such bound; it ends when
  /// the squared residual changes by less than a thousandth of it.
  ///
  /// Sets
  ///   - cg_tol = (relative |b|)^2, and cgradEps to a thousandth of that, or less for large b;
  ///   - cg_epsilon to the smallest normal number and cgradNeptune to the largest, so that only a curvature
  ///   of
  ///     zero means a singular system, and cgradTol = 0;
  ///   - cg_goNoWhereSc = 10, cg_maxIters = maxCGradPasses = 30 and bicg_numZeroSteps = 1000, because a
  ///     residual may grow for long before it falls to such a bound.
  ///
  /// What no variable can mend: HSpMat::multT leaves out rows whose coefficient is within 1e-12 of zero. So
  /// bi-CG and whatever multiplies by A^T need a right-hand side well above 1e-12 / relative. The older
  /// family compares changes, curvatures and squares of both with one number, so it needs a right-hand side
  /// that is not far from 1. The solvers of Solve.h work at any scale.
  ///
  /// A right-hand side or a bound that is zero, not finite, or whose square is no normal number counts as the
  /// smallest bound there is.
  CGTuning(double relative, const Vector& b);
  ~CGTuning();
  CGTuning(const CGTuning&) = delete;
  CGTuning& operator=(const CGTuning&) = delete;

 private:
  double tol_, goNoWhereSc_, epsilon_, definizer_, eps_, oldTol_, neptune_, checkBiCG_, zeroStep_;
  int maxIters_, maxRestarts_, resetResid_, verbosity_, maxX_, maxB_, passes_, numZeroSteps_;
  FILE* dribble_;
  Vector *dampV_, *massVec_;
  CGObserver observer_;
  void* observerData_;
};
