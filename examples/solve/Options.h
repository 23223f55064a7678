#pragma once

#include <string>

enum class Method { LeastSquares, Spd, JJt, BiCG };

struct Options {
  Method method = Method::LeastSquares;
  bool older = false;
  std::string matrix, rightHandSide, searchPath, trace;
  std::string dense;           ///< "lu", "qr", "svd", "chol" or empty
  std::string matlab;          ///< file of a MATLAB dump
  std::string preconditioner;  ///< "jacobi", "banded" or empty
  int bandwidth = 0;           ///< half bandwidth of "banded"
  int shadowIsResidual = 1;    ///< of bi-conjugate gradients
  bool hasSearchPath = false;
  bool hasTolerance = false;  ///< --tol was given
  bool hasEpsilon = false;    ///< --epsilon was given
};

/// Reads the command line, and sets the library's tuning variables as it asks. Prints what is wrong, or the
/// help, and returns false when there is nothing to solve; `status` is then the exit status.
bool readOptions(int argc, char** argv, Options& options, int& status);
