#pragma once

#include <optional>
#include <string>

#include "residual.h"

/// The kind of problem. Automatic: the kind that suits the matrix.
enum class Method { Automatic, LeastSquares, Spd, Square, JJt, BiCG };
/// The solver: the front door, or one of the two families of conjugate gradients with their own rules.
enum class Family { FrontDoor, Newer, Older };

struct Options {
  Method method = Method::Automatic;
  Family family = Family::FrontDoor;
  std::string matrix, rightHandSide;
  std::optional<std::string> searchPath;
  std::string solution;        ///< file of the solution
  std::string json;            ///< file of the report
  std::string trace;           ///< file of the families' trace
  std::string matlab;          ///< file of a MATLAB dump
  std::string dense;           ///< "lu", "qr", "svd", "chol" or empty
  std::string preconditioner;  ///< "none", "jacobi", "banded" or empty
  int bandwidth = 0;           ///< half bandwidth of "banded"
  int shadowIsResidual = 1;    ///< of bi-conjugate gradients
  double relative = 1e-10;     ///< of the front door
  int maxIterations = 0;       ///< of the front door; 0: its own limit
  double definizer = 0.0;      ///< the multiple of the identity that is added to the operator
  bool hasTolerance = false;   ///< --tol was given
  bool hasEpsilon = false;     ///< --epsilon was given

  /// The search path, or null.
  const char* path() const { return searchPath ? searchPath->c_str() : nullptr; }
};

/// The exit statuses of the program, in addition to exitNoMemory.
enum ExitStatus { exitSolved = 0, exitBadInput = 1, exitNotSolved = 2, exitStopped = 4 };

enum class Command { Solve, Help, Version };

/// Reads the command line, and sets the library's tuning variables as it asks. Throws InputError, also for an
/// option that does not apply to the problem.
Command readOptions(int argc, char** argv, Options& options);

/// What --help prints after "usage:" and the name of the program.
extern const char usage[];

/// The system that a method solves.
System systemOf(Method method);
