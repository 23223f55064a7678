#pragma once

/// @file
/// String concatenation into new storage.

#include "limber/Api.h"

/// A new string: the concatenation of the non-null arguments. The caller owns it and releases it with
/// delete[]. With one argument it duplicates a string. Null only after a failed allocation, which is reported
/// through FATAL_ERROR.
LIMBER_API char* nameString(const char* s0, const char* s1 = nullptr, const char* s2 = nullptr,
                            const char* s3 = nullptr, const char* s4 = nullptr, const char* s5 = nullptr,
                            const char* s6 = nullptr, const char* s7 = nullptr, const char* s8 = nullptr,
                            const char* s9 = nullptr);
