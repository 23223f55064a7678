#pragma once

#include "limber/foundation/Report.h"

namespace limber::detail {

/// The place a report names: the stem of the reporting source file and a line that is part of the message.
/// The stems and lines are what users grep for in their logs, so they stay as they are when code moves.
struct ReportSite {
  const char* file;
  int line;

  void error(const char* message) const { errReport(message, file, line); }
  void warn(const char* format, const char* argument) const { warnReport(format, argument, file, line); }
  void fatal(const char* message) const { FATAL_ERROR(file, line, message); }
};

/// The message of every failed allocation.
inline constexpr const char* newFails = "NEW fails - memory problem";

}  // namespace limber::detail
