#pragma once

#include <string>

enum class Method { LeastSquares, Spd, JJt };

struct Options {
  Method method = Method::LeastSquares;
  bool older = false;
  std::string matrix, rightHandSide, searchPath, trace;
  bool hasSearchPath = false;
  bool hasTolerance = false;  ///< --tol was given
  bool hasEpsilon = false;    ///< --epsilon was given
};

/// Reads the command line, and sets the library's tuning variables as it asks. Prints what is wrong, or the
/// help, and returns false when there is nothing to solve; `status` is then the exit status.
bool readOptions(int argc, char** argv, Options& options, int& status);
