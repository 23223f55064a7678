#pragma once

#include "limber/foundation/Report.h"

namespace limber::detail {

/// The place that a report names: a stem and a line. Users search their logs for them, so the stem never
/// changes, and a line that is written as a number never changes. A message whose line is __LINE__ has no
/// fixed line: the number is that of the code in this version, and other versions may print another one.
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
