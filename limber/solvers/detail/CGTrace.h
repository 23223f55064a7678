#pragma once

/// @file
/// The two places that the solvers write lines to.

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/CLocale.h"
#include "limber/solvers/CGTuning.h"

namespace limber::detail {

/// Prints a line on the standard-output channel, unless the verbosity is 0.
template <class... Arguments>
void cgConsole(const char* format, Arguments... arguments) {
  if (cg_verbosity != 0) stdoutPrintf(format, arguments...);
}

inline void cgConsole(const char* text) { cgConsole("%s", text); }

/// Prints a line to the trace file, if there is one.
template <class... Arguments>
void cgTrace(const char* format, Arguments... arguments) {
  if (cgradDribble) cFprintf(cgradDribble, format, arguments...);
}

/// Prints to both. Each has its own format, because the lines are indented differently.
template <class... Arguments>
void cgReport(const char* console, const char* trace, Arguments... arguments) {
  cgConsole(console, arguments...);
  cgTrace(trace, arguments...);
}

}  // namespace limber::detail
