#pragma once

/// @file
/// Case-folded comparison with the opposite sign. No other header of the library includes this one. If the C
/// library declares the names (Linux, macOS, MinGW), these functions are in namespace limber, so that plain
/// strcasecmp is still the C library's. If it does not (Microsoft's C library, with any compiler), they are
/// at global scope and also in namespace limber. limber::strcasecmp therefore works everywhere.

#include "limber/Api.h"

#if defined(_MSC_VER)

#define LIMBER_PLAIN_NAME(name)

#else

#if defined(__MINGW32__)
// Depending on the optimisation, <string.h> defines the names as macros, which must not rename these
// functions.
#include <cstring>
#undef strcasecmp
#undef strncasecmp
#endif

// A plain declaration at global scope after <string.h> would declare the C library's function, and a
// definition would replace that function in the whole process. The label gives the exported symbol its global
// C++ name.
#define LIMBER_PLAIN_NAME(name) __asm__(name)
namespace limber {

#endif

/// Compares character by character, 'a' to 'z' folded to upper case and nothing else, as signed 8-bit values
/// (so 128 to 255 sort before ASCII). Contract: the sign is the opposite of the usual one: 1 if `a` sorts
/// before `b` or is a proper prefix of it, -1 if `a` sorts after `b`, 0 if they are equal.
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
