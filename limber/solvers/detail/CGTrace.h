#pragma once

/// @file
/// The two places solver lines go to.

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/CLocale.h"
#include "limber/solvers/CGTuning.h"

namespace limber::detail {

/// A line of the standard-output channel, for any verbosity but 0.
template <class... Arguments>
void cgConsole(const char* format, Arguments... arguments) {
  if (cg_verbosity != 0) stdoutPrintf(format, arguments...);
}

inline void cgConsole(const char* text) { cgConsole("%s", text); }

/// A line of the trace file, if there is one.
template <class... Arguments>
void cgTrace(const char* format, Arguments... arguments) {
  if (cgradDribble) cFprintf(cgradDribble, format, arguments...);
}

inline void cgTrace(const char* text) { cgTrace("%s", text); }

/// Both; they differ in how far the line is set in, so each has its format.
template <class... Arguments>
void cgReport(const char* console, const char* trace, Arguments... arguments) {
  cgConsole(console, arguments...);
  cgTrace(trace, arguments...);
}

}  // namespace limber::detail
