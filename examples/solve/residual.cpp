#include "residual.h"

#include <cmath>
#include <limits>
#include <new>
#include <vector>

#include "input_error.h"

namespace {

// Wider than double in precision and range where the machine has it: neither sums of squares nor products of
// three numbers overflow then.
using Wide = long double;
using WideVector = std::vector<Wide>;

WideVector widened(const Vector& v, int size) {
  WideVector wide(static_cast<std::size_t>(size));
  for (int i = 0; i < size && i < v.size(); ++i) wide[static_cast<std::size_t>(i)] = v[i];
  return wide;
}

Wide norm(const WideVector& v) {
  Wide sum = 0;
  for (const Wide x : v) sum += x * x;
  return std::sqrt(sum);
}

Wide norm(const SparseProblem& problem) {
  Wide sum = 0;
  for (const Entry& entry : problem.entries) sum += static_cast<Wide>(entry.value) * entry.value;
  return std::sqrt(sum);
}

// A v.
WideVector product(const SparseProblem& problem, const WideVector& v) {
  WideVector result(static_cast<std::size_t>(problem.rows));
  for (const Entry& entry : problem.entries) {
    result[static_cast<std::size_t>(entry.row)] += entry.value * v[static_cast<std::size_t>(entry.column)];
  }
  return result;
}

// A^T v.
WideVector transposedProduct(const SparseProblem& problem, const WideVector& v) {
  WideVector result(static_cast<std::size_t>(problem.columns));
  for (const Entry& entry : problem.entries) {
    result[static_cast<std::size_t>(entry.column)] += entry.value * v[static_cast<std::size_t>(entry.row)];
  }
  return result;
}

int unknowns(System system, const SparseProblem& problem) {
  return system == System::Constraints ? problem.rows : problem.columns;
}

Wide ratio(Wide size, Wide of) { return of > 0 ? size / of : size; }

}  // namespace

Residual residualOf(System system, const SparseProblem& problem, const Vector& x, const Vector& b,
                    double shift) {
  const WideVector at = widened(x, unknowns(system, problem)), right = widened(b, problem.rows);
  WideVector r = product(problem, system == System::Constraints ? transposedProduct(problem, at) : at);
  if (shift != 0.0) {
    for (std::size_t i = 0; i < r.size(); ++i) r[i] += shift * at[i];
  }
  for (std::size_t i = 0; i < r.size(); ++i) r[i] = right[i] - r[i];

  const Wide a = norm(problem), sizeOfX = norm(at), sizeOfB = norm(right);
  Wide size = norm(r), start = sizeOfB;
  Wide scale = (system == System::Constraints ? a * a : a) * sizeOfX +
               std::fabs(static_cast<Wide>(shift)) * sizeOfX + sizeOfB;
  if (system == System::LeastSquares) {
    size = norm(transposedProduct(problem, r));
    start = norm(transposedProduct(problem, right));
    scale *= a;
  }
  return {static_cast<double>(size), static_cast<double>(ratio(size, start)),
          static_cast<double>(ratio(size, scale))};
}

Vector rightHandSideOfOnes(System system, const SparseProblem& problem) {
  WideVector ones(static_cast<std::size_t>(unknowns(system, problem)), Wide(1));
  if (system == System::Constraints) ones = transposedProduct(problem, ones);
  const WideVector sums = product(problem, ones);
  Vector b;
  b.grow(problem.rows);
  if (b.size() != problem.rows) throw std::bad_alloc();
  for (int i = 0; i < problem.rows; ++i) b[i] = static_cast<double>(sums[static_cast<std::size_t>(i)]);
  const Wide size = norm(sums);
  if (size > std::numeric_limits<double>::max() || (size > 0 && size < std::numeric_limits<double>::min())) {
    throw InputError(problem.path, 0,
                     "the default right-hand side is too large or too small; -b names another");
  }
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
