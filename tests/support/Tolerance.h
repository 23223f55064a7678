#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

/// Comparison helpers. Each is written as !(error <= tolerance), so that a NaN on either side fails.
namespace tolerance {

constexpr double epsilon = std::numeric_limits<double>::epsilon();

/// |a - b| <= tol.
::testing::AssertionResult close(double a, double b, double tol);
/// |a - b| <= tol max(|a|, |b|).
::testing::AssertionResult relative(double a, double b, double tol);
/// |value| <= tol.
::testing::AssertionResult small(double value, double tol);
/// max |a[i] - b[i]| <= tol over n elements.
::testing::AssertionResult close(const double* a, const double* b, int n, double tol);

/// The same 64 bits; a NaN equals only the same NaN, and 0.0 differs from -0.0.
::testing::AssertionResult sameBits(double a, double b);
::testing::AssertionResult sameBits(const double* a, const double* b, int n);

std::uint64_t bits(double x);

}  // namespace tolerance

/// For tests that compute references in long double. It is no wider than double under memcheck and in some
/// emulators.
#define LIMBER_NEEDS_WIDE_LONG_DOUBLE() \
  if (!longDoubleIsWide()) GTEST_SKIP() << "long double is no wider than double here"

inline bool longDoubleIsWide() {
  const volatile long double one = 1.0L, tiny = 0x1p-60L;
  return one + tiny != one;
}
