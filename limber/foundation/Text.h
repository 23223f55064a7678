#pragma once

/// @file
/// String concatenation into storage of its own.

#include "limber/Api.h"

/// A new string: the non-null arguments one after the other with nothing between them. The caller owns it and
/// releases it with delete[]. With one argument, the library's string duplicator. Null only after a failed
/// allocation, which is reported through FATAL_ERROR.
LIMBER_API char* nameString(const char* s0, const char* s1 = nullptr, const char* s2 = nullptr,
                            const char* s3 = nullptr, const char* s4 = nullptr, const char* s5 = nullptr,
                            const char* s6 = nullptr, const char* s7 = nullptr, const char* s8 = nullptr,
                            const char* s9 = nullptr);
