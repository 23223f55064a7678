#include "limber/solvers/detail/Wide.h"

#include <algorithm>
#include <cmath>

#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {

Wide::Wide(const DoubleSum& value, int power) {
  const double leading = value.rounded();
  const int k = exponentOf(leading);
  value_.high = timesPowerOfTwo(leading, -k);
  value_.low = timesPowerOfTwo((value.high - leading) + value.low, -k);
  power_ = power + k;
}

double Wide::rounded(int k) const { return timesPowerOfTwo(value_.rounded(), power_ + k); }

Wide Wide::operator*(const Wide& other) const {
  return Wide(value_.times(other.value_), power_ + other.power_);
}

Wide& Wide::operator+=(const Wide& other) {
  if (other.isZero()) return *this;
  if (isZero()) return *this = other;
  const int top = std::max(power_, other.power_);
  const auto shifted = [top](const Wide& x) {
    return DoubleSum{timesPowerOfTwo(x.value_.high, x.power_ - top),
                     timesPowerOfTwo(x.value_.low, x.power_ - top)};
  };
  DoubleSum sum = shifted(*this);
  sum.addProduct(1.0, shifted(other));
  return *this = Wide(sum, top);
}

Wides wideOf(int n, const double* x, int power) {
  Wides result(n);
  for (int i = 0; i < n; ++i) result[i] = Wide(x[i], power);
  return result;
}

void round(const Wides& from, int power, Doubles* x) {
  x->resize(from.size());
  for (int i = 0; i < from.size(); ++i) (*x)[i] = from[i].rounded(power);
}

Wides multiplyWide(const SparseRows& A, const Wides& x, int power) {
  Wides y(A.height);
  for (int i = 0; i < A.height; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) y[i] += Wide(A.value[k], power) * x[A.index[k]];
  }
  return y;
}

Wides multiplyWideTransposed(const SparseRows& A, const Wides& x, int power) {
  Wides y(A.width);
  for (int i = 0; i < A.height; ++i) {
    for (int k = A.start[i]; k < A.start[i + 1]; ++k) y[A.index[k]] += Wide(A.value[k], power) * x[i];
  }
  return y;
}

Wide normOf(const Wides& x) {
  Wide sum;
  for (const Wide& v : x) sum += v * v;
  const int odd = sum.power() & 1;
  return Wide(std::sqrt(sum.rounded(odd - sum.power())), (sum.power() - odd) / 2);
}

}  // namespace limber::detail
