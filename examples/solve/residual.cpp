#include "residual.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "input_error.h"

namespace {

// Wider than double in precision where the machine has it. Its range may be that of a double, so vectors and
// norms carry a power of two of their own: sums of squares and products of three numbers neither overflow nor
// underflow.
using Wide = long double;
using WideVector = std::vector<Wide>;

// Below every power that occurs.
constexpr int powerOfZero = -100000;

// value 2^power.
struct ScaledNumber {
  Wide value;
  int power;
};

// values 2^power; the largest magnitude among the values is in [1/2, 1).
struct ScaledVector {
  WideVector values;
  int power;
};

ScaledVector scaled(WideVector values, int power) {
  Wide largest = 0;
  for (const Wide x : values) largest = std::max(largest, std::fabs(x));
  if (largest == 0) return {std::move(values), powerOfZero};
  if (!std::isfinite(largest)) return {std::move(values), power};
  int own = 0;
  std::frexp(largest, &own);
  for (Wide& x : values) x = std::ldexp(x, -own);
  return {std::move(values), power + own};
}

ScaledVector scaled(const Vector& v, int size) {
  WideVector wide(static_cast<std::size_t>(size));
  for (int i = 0; i < size && i < v.size(); ++i) wide[static_cast<std::size_t>(i)] = v[i];
  return scaled(std::move(wide), 0);
}

// The entries of A, in their order.
ScaledVector scaledEntries(const SparseProblem& problem) {
  WideVector values;
  values.reserve(problem.entries.size());
  for (const Entry& entry : problem.entries) values.push_back(entry.value);
  return scaled(std::move(values), 0);
}

ScaledNumber norm(const ScaledVector& v) {
  Wide sum = 0;
  for (const Wide x : v.values) sum += x * x;
  return {std::sqrt(sum), v.power};
}

ScaledNumber operator*(const ScaledNumber& a, const ScaledNumber& b) {
  return {a.value * b.value, a.power + b.power};
}

ScaledNumber operator+(const ScaledNumber& a, const ScaledNumber& b) {
  if (a.value == 0) return b;
  if (b.value == 0) return a;
  const int power = std::max(a.power, b.power);
  return {std::ldexp(a.value, a.power - power) + std::ldexp(b.value, b.power - power), power};
}

// a + factor b.
ScaledVector sum(const ScaledVector& a, Wide factor, const ScaledVector& b) {
  const int power = std::max(a.power, b.power);
  WideVector result(a.values.size());
  for (std::size_t i = 0; i < result.size(); ++i) {
    result[i] = std::ldexp(a.values[i], a.power - power) + factor * std::ldexp(b.values[i], b.power - power);
  }
  return scaled(std::move(result), power);
}

// A matrix whose entries carry a power of two.
struct ScaledMatrix {
  explicit ScaledMatrix(const SparseProblem& of) : problem(of), entries(scaledEntries(of)) {}

  // A v.
  ScaledVector times(const ScaledVector& v) const {
    return product(v, problem.rows, &Entry::row, &Entry::column);
  }
  // A^T v.
  ScaledVector transposedTimes(const ScaledVector& v) const {
    return product(v, problem.columns, &Entry::column, &Entry::row);
  }
  // `to` is the index of an entry that counts in the result, `from` the one that counts in v.
  ScaledVector product(const ScaledVector& v, int size, int Entry::*to, int Entry::*from) const {
    WideVector result(static_cast<std::size_t>(size));
    for (std::size_t k = 0; k < entries.values.size(); ++k) {
      const Entry& at = problem.entries[k];
      result[static_cast<std::size_t>(at.*to)] +=
          entries.values[k] * v.values[static_cast<std::size_t>(at.*from)];
    }
    return scaled(std::move(result), entries.power + v.power);
  }

  const SparseProblem& problem;
  ScaledVector entries;
};

int unknowns(System system, const SparseProblem& problem) {
  return system == System::Constraints ? problem.rows : problem.columns;
}

double rounded(const ScaledNumber& number) {
  return static_cast<double>(std::ldexp(number.value, number.power));
}

double ratio(const ScaledNumber& size, const ScaledNumber& of) {
  return of.value > 0 ? rounded({size.value / of.value, size.power - of.power}) : rounded(size);
}

}  // namespace

Residual residualOf(System system, const SparseProblem& problem, const Vector& x, const Vector& b,
                    double shift) {
  const ScaledMatrix A(problem);
  const ScaledVector at = scaled(x, unknowns(system, problem)), right = scaled(b, problem.rows);
  ScaledVector r = sum(right, -1, A.times(system == System::Constraints ? A.transposedTimes(at) : at));
  const ScaledVector D = scaled(WideVector{shift}, 0);
  if (shift != 0.0) r = sum(r, -D.values[0], {at.values, at.power + D.power});

  const ScaledNumber a = norm(A.entries), sizeOfX = norm(at), sizeOfB = norm(right);
  ScaledNumber size = norm(r), start = sizeOfB;
  ScaledNumber scale = (system == System::Constraints ? a * a : a) * sizeOfX + norm(D) * sizeOfX + sizeOfB;
  if (system == System::LeastSquares) {
    size = norm(A.transposedTimes(r));
    start = norm(A.transposedTimes(right));
    scale = scale * a;
  }
  return {rounded(size), ratio(size, start), ratio(size, scale)};
}

Vector rightHandSideOfOnes(System system, const SparseProblem& problem) {
  const ScaledMatrix A(problem);
  ScaledVector ones = scaled(WideVector(static_cast<std::size_t>(unknowns(system, problem)), Wide(1)), 0);
  if (system == System::Constraints) ones = A.transposedTimes(ones);
  const ScaledVector sums = A.times(ones);
  const double size = rounded(norm(sums));
  if (size > std::numeric_limits<double>::max() ||
      (norm(sums).value > 0 && size < std::numeric_limits<double>::min())) {
    throw InputError(problem.path, 0,
                     "the default right-hand side is too large or too small; -b names another");
  }
  Vector b;
  b.grow(problem.rows);
  if (b.size() != problem.rows) throw std::bad_alloc();
  for (int i = 0; i < problem.rows; ++i)
    b[i] = rounded({sums.values[static_cast<std::size_t>(i)], sums.power});
  return b;
}

const char* scaledFormula(System system, bool shifted) {
  switch (system) {
    case System::LeastSquares:
      return "|A^T (b - A x)| / (|A| (|A| |x| + |b|))";
    case System::Square:
      return shifted ? "|b - (A + D) x| / ((|A| + |D|) |x| + |b|)" : "|b - A x| / (|A| |x| + |b|)";
    default:
      return shifted ? "|b - (A A^T + D) y| / ((|A|^2 + |D|) |y| + |b|)"
                     : "|b - A A^T y| / (|A|^2 |y| + |b|)";
  }
}
