#pragma once

/// @file
/// Sums in twice the precision (Dekker 1971; Ogita, Rump and Oishi 2005).

namespace limber::detail {

/// high + low = x y exactly.
struct ExactProduct {
  double high, low;
  ExactProduct(double x, double y) : high(x * y) {
    constexpr double split = 134217729.0;  // 2^27 + 1
    const double p = split * x, q = split * y;
    const double xh = p - (p - x), yh = q - (q - y);
    const double xl = x - xh, yl = y - yh;
    low = ((xh * yh - high) + xh * yl + xl * yh) + xl * yl;
  }
};

/// A sum in twice the precision.
struct DoubleSum {
  double high = 0.0, low = 0.0;
  void addProduct(double x, double y) {
    const ExactProduct term(x, y);
    const double next = high + term.high;
    const double part = next - high;
    low += ((high - (next - part)) + (term.high - part)) + term.low;
    high = next;
  }
  /// Adds x times another sum.
  void addProduct(double x, const DoubleSum& y) {
    const double leading = y.rounded();
    addProduct(x, leading);
    low += x * ((y.high - leading) + y.low);
  }
  /// The sum times another one.
  DoubleSum times(const DoubleSum& y) const {
    const double leading = rounded();
    DoubleSum product;
    product.addProduct(leading, y);
    product.low += ((high - leading) + low) * y.high;
    return product;
  }
  double rounded() const { return high + low; }
};

}  // namespace limber::detail
