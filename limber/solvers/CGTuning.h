#pragma once

/// @file
/// The variables that tune the conjugate-gradient solvers. A program changes them directly, and every call
/// reads them. They are not protected against other threads: only one solve at a time may depend on them.

#include <cstdio>

#include "limber/Api.h"
#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGObserver.h"

class Vector;

/// A squared residual below this counts as solved. It is absolute, not relative. Default 0.1.
extern LIMBER_API double cg_tol;
/// The iteration limit of a pass is this times max(height, width) of the matrix. Default 3.
extern LIMBER_API int cg_maxIters;
/// The largest number of passes of a solve. Default 10.
extern LIMBER_API int cg_maxRestarts;
/// The residual is recomputed from x every this many iterations; 0 turns that off. Default 50.
extern LIMBER_API int cg_reset_resid;
/// A pass gives up after this times max(height, width) iterations without a new best. Default 0.25.
extern LIMBER_API double cg_goNoWhereSc;
/// A curvature p^T M p of smaller magnitude means that the system is singular. Default 1e-8.
extern LIMBER_API double cg_epsilon;
/// If not 0, restarts, outcomes and false solutions are printed on the standard-output channel; above 1,
/// every iteration is printed too. Default 0.
extern LIMBER_API int cg_verbosity;
/// The trace file. If it is set, both families of conjugate gradients write their trace lines to it, whatever
/// the verbosity. Bi-CG writes to the standard-output channel only. Default null. Contract: the line of
/// mcgradI that says that a system is singular needs cg_verbosity as well.
extern LIMBER_API FILE* cgradDribble;
/// The initial length of the shared work vectors, and of the one that holds a product of the size of the
/// right-hand side. Default 2050.
extern LIMBER_API int cgradMAXX;
extern LIMBER_API int cgradMAXB;
/// If positive, cgradDefinizer v is added to M v. Default -1.0.
extern LIMBER_API double cgradDefinizer;
/// If set, cgradDampV[i] v[i] is added to (M v)[i]. Default null.
extern LIMBER_API Vector* cgradDampV;
/// The weights V of J V^-1 J^T. Default null.
extern LIMBER_API Vector* cgradMassVec;

/// The observer that all solvers of both families and bi-CG call. They also call it in the iteration that
/// solves the system, but then ignore its result. Default null: no observer.
///
/// If the observer ends a solve, x is the iterate with the smallest squared residual of the solve, including
/// its start, and rsq is that residual. The pass ends with CGI_NO_IMPROVEMENT, and the entry points return
/// what they return when their restarts or iterations are used up. An observed solve allocates one vector for
/// that iterate. A solve inside another solve is observed too.
extern LIMBER_API CGObserver cg_observer;
extern LIMBER_API void* cg_observerData;
/// 1 if the observer ended the last solve. The next solve sets it to 0 when it begins.
extern LIMBER_API int cg_stopped;

/// The older family. It converges when the squared residual changes by less than cgradEps (1e-5), or by less
/// than cgradTol (0.0002) of the sum of both values. A curvature below cgradEps^2 or a step above
/// cgradNeptune (1e20) means that the system is singular. The iteration limit is maxCGradPasses (10) times
/// the length of x.
extern LIMBER_API double cgradEps;
extern LIMBER_API double cgradTol;
extern LIMBER_API double cgradNeptune;
extern LIMBER_API int maxCGradPasses;

/// Sets the variables above and those of BiCGrad.h for one scope. The destructor restores all of them except
/// cg_stopped, also after an exception.
///
///     const CGTuning tuning(1e-10, b);
///     const int iterations = ncgradA(&A, &x, &b, &rsq);
class LIMBER_API CGTuning {
 public:
  /// Changes nothing now; only restores the variables at the end.
  explicit CGTuning();
  /// |r| <= relative |b| counts as solved, where r is the residual of the system that is solved: for ncgrad
  /// and cgrad that is A^T (b - A x), so give A^T b there. The older family has no such bound; it ends when
  /// the squared residual changes by less than a thousandth of it.
  ///
  /// Sets
  ///   - cg_tol = (relative |b|)^2, and cgradEps to a thousandth of that, or less for large b;
  ///   - cg_epsilon to the smallest normal number and cgradNeptune to the largest, so that only a curvature
  ///     of zero means a singular system, and cgradTol = 0;
  ///   - cg_goNoWhereSc = 10, cg_maxIters = maxCGradPasses = 30 and bicg_numZeroSteps = 1000, because a
  ///     residual may grow for a long time before it falls to such a bound.
  ///
  /// Limits that no variable can remove: HSpMat::multT skips rows whose coefficient is within 1e-12 of zero,
  /// so bi-CG and everything that multiplies by A^T need a right-hand side well above 1e-12 / relative. The
  /// older family compares changes, curvatures and squares of both with one number, so its right-hand side
  /// must not be far from 1. The solvers of Solve.h work at any scale.
  ///
  /// If the right-hand side or the bound is zero or not finite, or if its square is not a normal number, the
  /// smallest possible bound is used.
  CGTuning(double relative, const Vector& b);
  ~CGTuning();
  CGTuning(const CGTuning&) = delete;
  CGTuning& operator=(const CGTuning&) = delete;

 private:
  /// A variable and the value that it gets back.
  template <class T>
  struct Saved {
    T& variable;
    const T value = variable;
    ~Saved() { variable = value; }
  };

  Saved<double> tol_{cg_tol}, goNoWhereSc_{cg_goNoWhereSc}, epsilon_{cg_epsilon}, definizer_{cgradDefinizer};
  Saved<double> eps_{cgradEps}, oldTol_{cgradTol}, neptune_{cgradNeptune};
  Saved<double> checkBiCG_{bicg_checkBiCG}, zeroStep_{bicg_zeroStep};
  Saved<int> maxIters_{cg_maxIters}, maxRestarts_{cg_maxRestarts}, resetResid_{cg_reset_resid};
  Saved<int> verbosity_{cg_verbosity}, maxX_{cgradMAXX}, maxB_{cgradMAXB};
  Saved<int> passes_{maxCGradPasses}, numZeroSteps_{bicg_numZeroSteps};
  Saved<FILE*> dribble_{cgradDribble};
  Saved<Vector*> dampV_{cgradDampV}, massVec_{cgradMassVec};
  Saved<CGObserver> observer_{cg_observer};
  Saved<void*> observerData_{cg_observerData};
};
