#pragma once

namespace limber::detail {

/// Warns when the x or b of a solve is too short; the solve goes on with what there is. `file` is the file
/// that the warning names, `solver` the function that was called.
void warnOfShortVectors(const char* file, const char* solver, int x, int unknowns, int b, int equations);

}  // namespace limber::detail
