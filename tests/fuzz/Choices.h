#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "limber/linalg/Vector.h"

/// The bytes of an input as a sequence of choices. After the last byte every choice is 0.
class Choices {
 public:
  Choices(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

  bool left() const { return next_ < end_; }
  unsigned byte() { return left() ? *next_++ : 0u; }
  /// A number in 0 ... n - 1, for n up to 256.
  int below(int n) { return static_cast<int>(byte() % static_cast<unsigned>(n)); }
  bool oneIn(int n) { return below(n) == n - 1; }

  /// Mostly an eighth of a small integer, sometimes a number at a limit of the library or of double
  /// precision.
  double number() {
    static constexpr double special[] = {
        0.0,    -0.0,  1e-12,  -1e-12, 1.0000001e-12, 9.999999e-13, 0.1,  1.0 / 3,
        5e-324, 1e300, -1e300, 1e-300, -1e-160,       1e160,        4e15, 4503599e9 + 0.5};
    const unsigned b = byte();
    return b < 224 ? (static_cast<int>(b) - 100) / 8.0 : special[b % 16];
  }
  /// The same, and sometimes an infinity or a NaN.
  double anyNumber() {
    if (!oneIn(32)) return number();
    const int kind = below(3);
    if (kind == 0) return std::numeric_limits<double>::quiet_NaN();
    return kind == 1 ? HUGE_VAL : -HUGE_VAL;
  }

  /// A vector of up to `longest` elements whose storage may be longer.
  Vector vector(int longest) {
    const int n = below(longest + 1);
    Vector v(n, n + below(6));
    for (int i = 0; i < v.capacity; ++i) v.data[i] = anyNumber();
    return v;
  }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
};

/// True if both have the same bits, or if both are NaN.
inline bool sameNumber(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}
