#pragma once

/// @file
/// How a solver ended.

#include "limber/Api.h"

/// The outcome of one pass. The values are fixed; 4 and 5 are reserved.
enum CGIStatus : int {
  CGI_SOLVED = 0,
  CGI_TOO_MANY_ITERS = 1,
  CGI_NO_DIRECTION = 2,
  CGI_SINGULAR = 3,
  CGI_SMALL_IMPROVEMENT = 4,
  CGI_NO_STEP_LENGTH = 5,
  CGI_NO_IMPROVEMENT = 6,
  CGI_BICG_BREAKDOWN = 7,
  CGI_BICG_CANT_START = 8,
  CGI_BICG_ROUNDOFF = 9,
  CGI_TOO_MANY_RESTARTS = 10
};

/// The outcome of a whole solve by mcgradI.
enum CGStatus : int {
  /// A pass ended with CGI_SOLVED.
  CG_ACCEPT = 0,
  /// All restarts were used.
  CG_STOP = 1,
  /// A pass ended with CGI_SINGULAR.
  CG_FAILED = 2
};

/// The status in words, in static storage; "illegal CGI code" for any other value.
LIMBER_API const char* cgiToString(CGIStatus status);
