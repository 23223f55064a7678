#pragma once

/// @file
/// LIMBER_PETSC_API marks what liblimber_petsc exports.

#if defined(LIMBER_STATIC)
#define LIMBER_PETSC_API
#else
#define LIMBER_PETSC_API __attribute__((visibility("default")))
#endif
