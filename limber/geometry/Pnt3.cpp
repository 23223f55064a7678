#include "limber/geometry/Pnt3.h"

#include "limber/foundation/Output.h"
#include "limber/foundation/detail/ReportSite.h"

using namespace limber::detail;

// Degenerate input:
//   normalize   (0, 0, 0)             a report, (0, 1, 0)
//               a NaN component       a report, y = 1, x and z unchanged
//               overflowing squares   every component 0 (divided by an infinite length), an infinite one NaN
//               squares underflow to 0  as for the zero point, x and z unchanged
//   /=          0                     infinities and NaN, silently
//   ==          a NaN component       equal to everything in that component

static_assert(sizeof(Pnt3) == 3 * sizeof(double), "a point is viewed as an array of three doubles");

void Pnt3::normalize() {
  const double l = length();
  if (!(l > 0.0)) {
    ReportSite{"Pnt3", 236}.error("Normalizing Zero Point!");
    y = 1.0;  // Contract: "up" is the default direction; x and z do not change
    return;
  }
  *this /= l;
}

void Pnt3::print() const {
  stdoutPrintf("(");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
  stdoutPrintf(numberPrintFormat, x);
  stdoutPrintf(numberPrintFormat, y);
  stdoutPrintf(numberPrintFormat, z);
#pragma GCC diagnostic pop
  stdoutPrintf(")");
}
