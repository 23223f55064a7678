#pragma once

#include <string>
#include <vector>

#include "limber/linalg/Vector.h"
#include "options.h"
#include "residual.h"

/// The result of a solve.
struct Result {
  Method method;        ///< what was solved
  std::string problem;  ///< the same in words
  Vector x;
  ExitStatus status = exitNotSolved;
  std::string outcome;  ///< the status in words
  int iterations = -1;  ///< below 0: not known
  int products = -1;    ///< below 0: not known
  double rsq = -1.0;    ///< of a family: the squared residual it ended with; below 0: there is none
  double seconds = 0.0;
  Residual residual = {};
  std::vector<std::string> notes;
};

inline const char* const endedByCtrlC = "ended by Ctrl-C, with the best solution so far";

/// True if the residual is no larger than rounding errors explain, and x is still accurate enough to be
/// useful.
inline bool isAtLimitOfPrecision(const Residual& residual) {
  return residual.scaled <= 1e-15 && residual.relative <= 1e-6;
}
