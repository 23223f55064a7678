#include "limber/solvers/detail/SizeWarning.h"

#include <cstdio>

#include "limber/foundation/detail/ReportSite.h"

namespace limber::detail {

void warnOfShortVectors(const char* file, const char* solver, int x, int unknowns, int b, int equations) {
  if (x >= unknowns && b >= equations) return;
  char message[160];
  std::snprintf(message, sizeof message, "%s: too short for the matrix: x has %d of %d elements, b %d of %d",
                solver, x, unknowns, b, equations);
  ReportSite{file, __LINE__}.warn("%s", message);
}

}  // namespace limber::detail
