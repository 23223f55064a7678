#include "limber/geometry/RotHelper.h"

#include <cstring>

#include "limber/foundation/Output.h"
#include "limber/geometry/detail/AngleFormat.h"

using namespace limber::detail;

// The null format: joints that do not turn.
void RotHelper::toMatrix(double*, Matrix3x3*) const {}
void RotHelper::fromMatrix(const Matrix3x3*, double*) const {}
void RotHelper::matrixDeriv(double*, double*) const {}
void RotHelper::setX(double*, double) const {}
void RotHelper::setY(double*, double) const {}
void RotHelper::setZ(double*, double) const {}
void RotHelper::convertTo(double*, const char*) const {}
const char* RotHelper::name() const { return "..."; }
void RotHelper::zero(double*) const {}

namespace {
// The constructor is constexpr and there is no destructor, so the pointer is part of the library's data
// before any initialiser runs. The same holds for every format.
RotHelper nullFormat;
}  // namespace

RotHelper* nullRot = &nullFormat;

void RotHelper::Set(char axis, double* params, double angle) const {
  if (axis == 'X') return setX(params, angle);
  if (axis == 'Y') return setY(params, angle);
  if (axis == 'Z') return setZ(params, angle);
  stdoutPrintf("can't set rotation variable %c\n", axis);
}

void RotHelper::Convert(const char* fromFormat, const char* toFormat, double* in, double* out) {
  const RotHelper* const format = formatNamed(fromFormat);
  if (!format) {
    stdoutPrintf("WARNING: Invalid rotation format %s\n", fromFormat ? fromFormat : "(null)");
    return;
  }
  std::memmove(out, in, std::strlen(format->name()) * sizeof(double));
  format->convertTo(out, toFormat);
}
