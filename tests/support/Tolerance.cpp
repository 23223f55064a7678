#include "tests/support/Tolerance.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tolerance {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

namespace {

std::string shown(double x) {
  char text[80];
  std::snprintf(text, sizeof text, "%.17g (%a)", x, x);
  return text;
}

AssertionResult judged(double error, double tol, double a, double b) {
  if (!(error <= tol)) {
    return AssertionFailure() << shown(a) << " and " << shown(b) << " differ by " << shown(error)
                              << ", more than " << shown(tol);
  }
  return AssertionSuccess();
}

}  // namespace

AssertionResult close(double a, double b, double tol) { return judged(std::fabs(a - b), tol, a, b); }

AssertionResult relative(double a, double b, double tol) {
  return judged(std::fabs(a - b), tol * std::max(std::fabs(a), std::fabs(b)), a, b);
}

AssertionResult small(double value, double tol) { return judged(std::fabs(value), tol, value, 0.0); }

AssertionResult close(const double* a, const double* b, int n, double tol) {
  for (int i = 0; i < n; ++i) {
    const AssertionResult one = close(a[i], b[i], tol);
    if (!one) return AssertionFailure() << "element " << i << ": " << one.message();
  }
  return AssertionSuccess();
}

std::uint64_t bits(double x) {
  std::uint64_t u;
  std::memcpy(&u, &x, sizeof u);
  return u;
}

AssertionResult sameBits(double a, double b) {
  if (bits(a) != bits(b)) return AssertionFailure() << shown(a) << " is not bit for bit " << shown(b);
  return AssertionSuccess();
}

AssertionResult sameBits(const double* a, const double* b, int n) {
  for (int i = 0; i < n; ++i) {
    const AssertionResult one = sameBits(a[i], b[i]);
    if (!one) return AssertionFailure() << "element " << i << ": " << one.message();
  }
  return AssertionSuccess();
}

}  // namespace tolerance
