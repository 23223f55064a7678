#pragma once

#include <algorithm>
#include <vector>

#include "limber/solvers/MCGrad.h"
#include "limber/solvers/PureCGrad.h"
#include "tests/solvers/TinyProblems.h"
#include "tests/solvers/Tuning.h"

inline std::vector<std::vector<double>> script;
inline std::size_t scriptCall;

/// Returns the next line of the script for any operand. The last line repeats.
inline void scripted(SpMat*, const Vector*, Vector* out) {
  const std::vector<double>& line = script[std::min(scriptCall++, script.size() - 1)];
  *out = toVector(line);
}

inline std::vector<double> diagonal;
/// Multiplies by the matrix with that diagonal.
inline void diagonalMult(SpMat*, const Vector* in, Vector* out) {
  out->grow(in->count);
  for (int i = 0; i < in->count; ++i) out->data[i] = diagonal[static_cast<std::size_t>(i)] * in->data[i];
}

/// pureCGrad with its own vectors.
struct OnePass {
  Vector x, b, r, p, q, z, best;
  int iter = -7, bestIter = -7;
  double rsq = -7.0;
  CGIStatus status = CGI_SMALL_IMPROVEMENT;

  OnePass(const std::vector<double>& start, const std::vector<double>& rhs)
      : x(toVector(start)), b(toVector(rhs)) {}
  void solve(CGMultFun mult, int maxIters, bool withBest = true, Preconditioner* precond = nullptr) {
    status = pureCGrad(nullptr, &x, &b, mult, &r, &p, &q, maxIters, iter, bestIter, rsq,
                       withBest ? &best : nullptr, precond, &z);
  }
  void follow(const std::vector<std::vector<double>>& lines, int maxIters, bool withBest = true) {
    script = lines;
    scriptCall = 0;
    solve(scripted, maxIters, withBest);
  }
};

/// The last call of mcgradI sets the stagnation limit. This sets it to `n` times cg_goNoWhereSc.
inline void setStagnation(int n, double scale) {
  const CGTuning tuning;
  cg_goNoWhereSc = scale;
  cg_maxRestarts = 0;
  FullMatrix m(n, n);
  Vector x(n), b(n);
  double rsq, out;
  int total;
  CGIStatus status = CGI_SOLVED;
  mcgradI(&m, &x, &b, rsq, out, total, status, diagonalMult, nullptr);
}
