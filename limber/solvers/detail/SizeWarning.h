#pragma once

namespace limber::detail {

/// Warns if the x or b of a solve is too short; the solve continues with the elements that exist. `file` is
/// the file that the warning names, `solver` the function that was called.
void warnOfShortVectors(const char* file, const char* solver, int x, int unknowns, int b, int equations);

}  // namespace limber::detail
