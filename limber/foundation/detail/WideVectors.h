#pragma once

/// @file
/// Loops that are compiled a second time, for 256-bit registers (AVX2), with the same operations and so the
/// same bits. LIMBER_WIDE marks the second form of a function, which may be called only if useWideVectors()
/// is true. Windows has no second forms, because g++ does not align the stack for wide vectors there.
/// (target_clones is not used because clang exports their resolvers whatever the visibility.)

#if defined(__x86_64__) && !defined(_WIN32)
#define LIMBER_WIDE __attribute__((target("avx2")))
#else
#define LIMBER_WIDE
#endif

namespace limber::detail {

/// True if the machine can run the second forms. Tested once per process.
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
