#pragma once

/// @file
/// Case-folded comparison with the sign turned round. No other header of the library includes this one. Where
/// the compiler's C library declares the names (Linux, macOS, MinGW), ours stand in namespace limber, so that
/// the plain strcasecmp stays the C library's. Where it does not (Microsoft's C library, whatever the
/// compiler), they stand at global scope, and namespace limber has them too: limber::strcasecmp is right
/// everywhere.

#include "limber/Api.h"

#if defined(_MSC_VER)

#define LIMBER_PLAIN_NAME(name)

#else

#if defined(__MINGW32__)
// Depending on the optimisation, <string.h> makes the names macros here; they must not rename ours.
#include <cstring>
#undef strcasecmp
#undef strncasecmp
#endif

// A plain declaration at global scope after <string.h> would be the C library's function, and defining it
// would replace that function in the whole process. The label gives the exported symbol its global C++ name.
#define LIMBER_PLAIN_NAME(name) __asm__(name)
namespace limber {

#endif

/// Compares character by character, 'a' to 'z' folded to upper case and nothing else, as signed 8-bit values
/// (so 128 to 255 sort before ASCII). Deliberately opposite to the usual sign: 1 when `a` sorts before `b` or
/// is a proper prefix of it, -1 when `a` sorts after `b`, 0 when they are equal.
LIMBER_API int strcasecmp(const char* a, const char* b) LIMBER_PLAIN_NAME("_Z10strcasecmpPKcS0_");
/// The same over at most `n` positions. With n = 0 the result is 0 and neither string is read; a negative `n`
/// never ends the comparison early.
LIMBER_API int strncasecmp(const char* a, const char* b, int n) LIMBER_PLAIN_NAME("_Z11strncasecmpPKcS0_i");

#if defined(_MSC_VER)
namespace limber {
using ::strcasecmp;
using ::strncasecmp;
}  // namespace limber
#else
}  // namespace limber
#endif

#undef LIMBER_PLAIN_NAME
