#pragma once

/// @file
/// One pass of bi-conjugate gradients.

#include "limber/solvers/CGStatus.h"

class SpMat;
class Vector;

namespace limber::detail {

/// The vectors of the pass and the numbers that its steps hand on.
struct BiCGPass {
  SpMat* A;
  Vector *x, *b;
  Vector *r, *rr;  // residual and shadow residual
  Vector *p, *pp;  // direction and shadow direction
  Vector *q, *scratch, *best;
  bool shadowIsResidual;
  double& rsq;
  int& iter;
  double rho = 0.0, alpha = 0.0, beta = 0.0, bestRsq = 0.0;
  int bestIter = 0;
  bool recomputed = false;

  CGIStatus run(int maxIters);

 private:
  void makeShadow(bool asResidual);
  bool start(CGIStatus& status);
  CGIStatus iterate();
  bool getsNowhere(double old);
  bool losesConjugacy();
  bool acceptsAfterRecomputation();
  bool breaksDown();
  bool nextDirections();
  void traceProduct();
  CGIStatus singularAtBest();
};

}  // namespace limber::detail
