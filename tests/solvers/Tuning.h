#pragma once

#include <cstdio>
#include <string>

#include "limber/solvers/BiCGrad.h"
#include "limber/solvers/CGTuning.h"

/// Puts every tuning variable back at the end of a test.
class Tuning {
 public:
  Tuning() = default;
  ~Tuning() {
    cg_tol = tol_;
    cg_maxIters = maxIters_;
    cg_maxRestarts = maxRestarts_;
    cg_reset_resid = resetResid_;
    cg_goNoWhereSc = goNoWhereSc_;
    cg_epsilon = epsilon_;
    cg_verbosity = verbosity_;
    cgradDribble = dribble_;
    cgradMAXX = maxX_;
    cgradMAXB = maxB_;
    cgradDefinizer = definizer_;
    cgradDampV = dampV_;
    cgradMassVec = massVec_;
    cgradEps = eps_;
    cgradTol = oldTol_;
    cgradNeptune = neptune_;
    maxCGradPasses = passes_;
    bicg_checkBiCG = checkBiCG_;
    bicg_numZeroSteps = numZeroSteps_;
    bicg_zeroStep = zeroStep_;
  }
  Tuning(const Tuning&) = delete;
  Tuning& operator=(const Tuning&) = delete;

  /// Solves to about `tol` in the squared residual, in both families.
  static void strict(double tol) {
    cg_tol = tol;
    cg_epsilon = 1e-300;
    cg_goNoWhereSc = 10.0;
    cg_maxIters = 30;
    cgradEps = tol * 1e-3;
    cgradTol = 0.0;
    maxCGradPasses = 30;
  }

 private:
  double tol_ = cg_tol;
  int maxIters_ = cg_maxIters, maxRestarts_ = cg_maxRestarts, resetResid_ = cg_reset_resid;
  double goNoWhereSc_ = cg_goNoWhereSc, epsilon_ = cg_epsilon;
  int verbosity_ = cg_verbosity;
  FILE* dribble_ = cgradDribble;
  int maxX_ = cgradMAXX, maxB_ = cgradMAXB;
  double definizer_ = cgradDefinizer;
  Vector *dampV_ = cgradDampV, *massVec_ = cgradMassVec;
  double eps_ = cgradEps, oldTol_ = cgradTol, neptune_ = cgradNeptune;
  int passes_ = maxCGradPasses;
  double checkBiCG_ = bicg_checkBiCG;
  int numZeroSteps_ = bicg_numZeroSteps;
  double zeroStep_ = bicg_zeroStep;
};

/// A trace file for as long as it lives.
class Trace {
 public:
  Trace() : file_(std::tmpfile()) { cgradDribble = file_; }
  ~Trace() {
    cgradDribble = nullptr;
    std::fclose(file_);
  }
  Trace(const Trace&) = delete;
  Trace& operator=(const Trace&) = delete;
  /// All that was written so far.
  std::string text() const {
    std::string all(static_cast<std::size_t>(std::ftell(file_)), '\0');
    std::rewind(file_);
    const std::size_t read = std::fread(all.data(), 1, all.size(), file_);
    all.resize(read);
    return all;
  }

 private:
  FILE* file_;
};
