#pragma once

#include "limber/foundation/Report.h"

namespace limber::detail {

/// The place a report names: a stem and a line. The stem is part of the message and never changes. So is a
/// line that is written as a number: users search their logs for it. Where the line is __LINE__ it only helps
/// to find the code, and it moves with the code.
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
