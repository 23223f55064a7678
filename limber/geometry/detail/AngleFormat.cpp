#include "limber/geometry/detail/AngleFormat.h"

#include <cstring>
#include <initializer_list>

#include "limber/foundation/Output.h"
#include "limber/geometry/Matrix3x3.h"
#include "limber/geometry/Quat.h"

namespace limber::detail {

namespace {

// Moves the angle of each letter of `from` to that letter's place in `to` and zeroes the rest. False, and
// params unchanged, if `to` does not have all the letters in the same order: rotations about different axes
// do not commute, so another order would be another rotation.
bool moveAngles(const char* from, const char* to, double* params) {
  double moved[3] = {0.0, 0.0, 0.0};
  int taken = 0;
  const int length = static_cast<int>(std::strlen(to));
  for (int k = 0; k < length; ++k)
    if (to[k] == from[taken] && from[taken] != 0) moved[k] = params[taken++];
  if (from[taken] != 0) return false;
  for (int k = 0; k < length; ++k) params[k] = moved[k];
  return true;
}

}  // namespace

RotHelper* formatNamed(const char* name) {
  if (!name) return nullptr;
  for (RotHelper* format : {qRot, xyzRot, zxyRot, zxRot, zyRot, xyRot, xRot, yRot, zRot})
    if (std::strcmp(format->name(), name) == 0) return format;
  return nullptr;
}

void warnSet(char axis, const char* format) {
  stdoutPrintf("WARNING:  Setting %c-axis rotation on '%s' joint type\n", axis, format);
}

void AngleFormat::convertTo(double* params, const char* toFormat) const {
  const char* const from = name();
  const size_t letters = std::strlen(from);
  RotHelper* const target = formatNamed(toFormat);
  if (target == this) return;
  if (target == qRot) {
    Quat(from, params).Get(params);
    return;
  }
  if (target && moveAngles(from, target->name(), params)) return;
  if (target && letters > 1 && (target == xyzRot || target == zxyRot)) {
    Matrix3x3 m;
    toMatrix(params, &m);
    target->fromMatrix(&m, params);
    return;
  }
  const char* const shown = toFormat ? toFormat : "(null)";
  // The formats of three axes give the same warning for an unknown name and for a format they cannot convert
  // to.
  if (target || letters == 3)
    stdoutPrintf("WARNING: Can't get '%s' rotation in format %s\n", from, shown);
  else
    stdoutPrintf("WARNING: Can't get rotation in format %s\n", shown);
}

void AngleFormat::zero(double* params) const {
  for (size_t k = 0; k < std::strlen(name()); ++k) params[k] = 0.0;
}

}  // namespace limber::detail
