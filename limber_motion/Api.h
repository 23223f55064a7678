#pragma once

/// @file
/// The export macro of the motion component.

#if defined(_WIN32)
#if defined(LIMBER_STATIC)
#define LIMBER_MOTION_API
#elif defined(LIMBER_MOTION_BUILDING)
#define LIMBER_MOTION_API __declspec(dllexport)
#else
#define LIMBER_MOTION_API __declspec(dllimport)
#endif
#else
#define LIMBER_MOTION_API __attribute__((visibility("default")))
#endif
