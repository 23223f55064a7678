#pragma once

/// @file
/// Loops that are compiled a second time, for 256-bit registers (AVX2), with the same operations and so the
/// same bits. LIMBER_WIDE marks the second form of a function, which is called only where
/// useWideVectors(). Not on Windows, where g++ does not align the stack for wide vectors. (Not as
/// target_clones: clang exports their resolvers whatever the visibility.)

#if defined(__x86_64__) && !defined(_WIN32)
#define LIMBER_WIDE __attribute__((target("avx2")))
#else
#define LIMBER_WIDE
#endif

namespace limber::detail {

/// Whether the machine runs the second forms. Asked once in each process.
inline bool useWideVectors() {
#if defined(__x86_64__) && !defined(_WIN32)
  static const bool supported = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
  }();
  return supported;
#else
  return false;
#endif
}

}  // namespace limber::detail
