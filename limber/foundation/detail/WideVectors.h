#pragma once

/// @file
/// Loops that are compiled a second time, for 256-bit registers (AVX2), with the same operations and so the
/// same bits. LIMBER_WIDE marks the second form of a function, which is called only where
/// machineHasWideVectors(). Not on Windows, where g++ does not align the stack for wide vectors. (Not as
/// target_clones: clang exports their resolvers whatever the visibility.)

#if defined(__x86_64__) && !defined(_WIN32)
#define LIMBER_WIDE __attribute__((target("avx2")))
#else
#define LIMBER_WIDE
#endif

namespace limber::detail {

inline bool machineHasWideVectors() {
#if defined(__x86_64__) && !defined(_WIN32)
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

}  // namespace limber::detail
