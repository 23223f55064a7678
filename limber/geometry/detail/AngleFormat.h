#pragma once

#include "limber/geometry/RotHelper.h"

namespace limber::detail {

/// What the nine named formats share: everything that follows from the letters of a format.

/// The format object with this name, in the same case; null if no format that can be converted has it.
RotHelper* formatNamed(const char* name);

/// Prints "WARNING:  Setting .-axis rotation on '...' joint type".
void warnSet(char axis, const char* format);

/// A format whose parameters are angles about the axes of its letters.
class AngleFormat : public RotHelper {
 public:
  /// The same name, the quaternion, the longer angle formats that have all the letters in the same order (the
  /// angles move to their letters, the others become 0), and for two or three letters "XYZ" and "ZXY" through
  /// the matrix. Anything else is refused with a warning.
  void convertTo(double* params, const char* toFormat) const final;
  void zero(double* params) const final;
};

}  // namespace limber::detail
