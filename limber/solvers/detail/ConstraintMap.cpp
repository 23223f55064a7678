#include "limber/solvers/detail/ConstraintMap.h"

#include <algorithm>
#include <cmath>

#include "limber/foundation/detail/DoubleSum.h"
#include "limber/linalg/HSpMat.h"
#include "limber/solvers/detail/MatrixEntries.h"
#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {
namespace {

// 1 / x. The second part is 0 for numbers near the largest one, which cannot be split.
DoubleSum inverseOf(double x) {
  const double inverse = 1.0 / x;
  const ExactProduct one(x, inverse);
  const double rest = ((1.0 - one.high) - one.low) * inverse;
  return {inverse, std::isfinite(rest) ? rest : 0.0};
}

}  // namespace

const char* ConstraintMap::take(const HSpMat& J, const Vector* mass, const Vector* damping, int* power) {
  const Extent extent = extentOf(J, 0, &rows);
  if (extent.damaged) return "The matrix has entries in negative columns, or too many of them.";
  if (extent.foreign)
    return "The Jacobian's class is derived from HSpMat, so its rows may not say what it is.";
  if (mass && mass->count < extent.width) return "There are fewer masses than columns.";
  if (damping && damping->count != extent.height) return "There is not one damping for each row.";
  if (mass && !allFinite(extent.width, mass->data)) return "A mass is not finite.";
  for (int j = 0; mass && j < extent.width; ++j) {
    if (!(mass->data[j] > 0.0)) return "A mass is not positive.";
  }
  if (damping && !allFinite(extent.height, damping->data)) return "A damping is not finite.";
  for (int i = 0; damping && i < extent.height; ++i) {
    if (damping->data[i] < 0.0) return "A damping is negative.";
  }
  copyEntries(J, extent, &rows);
  const Magnitudes range = magnitudesOf(rows.entries(), rows.value.data());
  if (!std::isfinite(range.largest)) return "The matrix has an entry that is not finite.";

  const int own = exponentOf(range.largest);
  scaleByPowerOfTwo(rows.entries(), rows.value.data(), -own);
  int least = 0;
  if (mass && extent.width > 0) {
    // the smallest mass is scaled to near 1, so that no inverse overflows
    least = exponentOf(*std::min_element(mass->data, mass->data + extent.width));
    inverseMass.assign(extent.width, 0.0);
    inverseMassRest.assign(extent.width, 0.0);
    for (int j = 0; j < extent.width; ++j) {
      const DoubleSum inverse = inverseOf(timesPowerOfTwo(mass->data[j], -least));
      inverseMass[j] = inverse.high;
      inverseMassRest[j] = inverse.low;
    }
  }
  *power = 2 * own - least;
  const auto isZero = [](double d) { return d == 0.0; };
  if (damping && !std::all_of(damping->data, damping->data + extent.height, isZero)) {
    // if the damping is larger than the scale of J V^-1 J^T, it determines the scale
    const int excess = largestExponent(extent.height, damping->data) - *power;
    if (excess > 0) {
      inverseMass.resize(extent.width);
      for (int j = 0; j < extent.width; ++j) {
        inverseMass[j] = timesPowerOfTwo(mass ? inverseMass[j] : 1.0, -excess);
        if (mass) inverseMassRest[j] = timesPowerOfTwo(inverseMassRest[j], -excess);
      }
      *power += excess;
    }
    damp.assign(extent.height, 0.0);
    for (int i = 0; i < extent.height; ++i) damp[i] = timesPowerOfTwo(damping->data[i], -*power);
  }

  constexpr double tiny = 1e-290;  // smaller numbers may have lost digits
  lossy = losesDigits(range, own);
  for (const double w : inverseMass) lossy |= w < tiny;
  for (int i = 0; i < damp.size(); ++i) lossy |= damping->data[i] > 0.0 && damp[i] < tiny;
  if (!lossy) return nullptr;
  extentOf(J, 0, &exactRows);
  copyEntries(J, extent, &exactRows);
  wideInverseMass.assign(extent.width, Wide(1.0, -*power));
  for (int j = 0; mass && j < extent.width; ++j) {
    const int k = exponentOf(mass->data[j]);
    wideInverseMass[j] = Wide(inverseOf(timesPowerOfTwo(mass->data[j], -k)), -*power - k);
  }
  if (damping) wideDamp = wideOf(extent.height, damping->data, -*power);
  return nullptr;
}

Ints ConstraintMap::equilibrate() {
  Ints powers(rows.height);
  for (int i = 0; i < rows.height; ++i) {
    // the largest term of the diagonal, computed with exponents only, because its square might underflow
    int largest = -3000;
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) {
      if (rows.value[k] == 0.0 || weight(rows.index[k]) == 0.0) continue;
      largest = std::max(largest, 2 * exponentOf(rows.value[k]) + exponentOf(weight(rows.index[k])));
    }
    if (damp.size() > 0 && damp[i] != 0.0) largest = std::max(largest, exponentOf(damp[i]));
    powers[i] = largest == -3000 ? 0 : -(largest >> 1);
  }
  rows.scale(powers.data(), nullptr);
  for (int i = 0; i < damp.size(); ++i) damp[i] = timesPowerOfTwo(damp[i], 2 * powers[i]);
  return powers;
}

int ConstraintMap::halfBandwidth() const {
  Ints first(rows.width, -1);
  int widest = 0;
  for (int i = 0; i < rows.height; ++i) {
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) {
      int& from = first[rows.index[k]];
      if (from < 0) from = i;
      widest = std::max(widest, i - from);
    }
  }
  return widest;
}

Doubles ConstraintMap::diagonal() const {
  Doubles result(rows.height);
  for (int i = 0; i < rows.height; ++i) {
    double sum = damp.size() > 0 ? damp[i] : 0.0;
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) {
      sum += rows.value[k] * weight(rows.index[k]) * rows.value[k];
    }
    result[i] = sum;
  }
  return result;
}

SparseRows ConstraintMap::matrixOfColumns(int longest) const {
  const SparseRows columns = rows.transposed();
  const int n = rows.height;
  SparseRows result(n, n);
  Doubles sum(n);
  Ints seen(n, -1), met;
  for (int i = 0; i < n; ++i) {
    met.resize(0);
    met.push(i);
    seen[i] = i;
    sum[i] = damp.size() > 0 ? damp[i] : 0.0;
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k) {
      const int j = rows.index[k];
      if (columns.start[j + 1] - columns.start[j] > longest) continue;
      const double factor = rows.value[k] * weight(j);
      for (int e = columns.start[j]; e < columns.start[j + 1]; ++e) {
        const int other = columns.index[e];
        if (seen[other] != i) {
          seen[other] = i;
          met.push(other);
          sum[other] = 0.0;
        }
        sum[other] += factor * columns.value[e];
      }
    }
    std::sort(met.begin(), met.end());
    for (const int other : met) result.append(other, sum[other]);
    result.endRow();
  }
  return result;
}

SparseRows ConstraintMap::root() const {
  SparseRows result = rows.transposed();
  for (int j = 0; j < rows.width; ++j) {
    const double factor = std::sqrt(weight(j));
    for (int k = result.start[j]; k < result.start[j + 1]; ++k) result.value[k] *= factor;
  }
  for (int i = 0; i < damp.size(); ++i) {
    if (!(damp[i] > 0.0)) continue;
    result.append(i, std::sqrt(damp[i]));
    result.endRow();
    ++result.height;
  }
  return result;
}

void ConstraintMap::multiply(const double* x, double* y) {
  ++products;
  product_.resize(rows.width);
  rows.multiplyTransposed(x, product_.data());
  for (int j = 0; j < inverseMass.size(); ++j) product_[j] *= inverseMass[j];
  rows.multiply(product_.data(), y);
  for (int i = 0; i < damp.size(); ++i) y[i] += damp[i] * x[i];
}

Wides ConstraintMap::wideProduct(const Wides& x, bool) {
  ++products;
  const SparseRows& J = lossy ? exactRows : rows;
  Wides forces = multiplyWideTransposed(J, x, 0);
  for (int j = 0; j < J.width; ++j) {
    forces[j] = forces[j] * (lossy ? wideInverseMass[j] : Wide({weight(j), weightRest(j)}, 0));
  }
  Wides y = multiplyWide(J, forces, 0);
  for (int i = 0; i < damp.size(); ++i) y[i] += (lossy ? wideDamp[i] : Wide(damp[i])) * x[i];
  return y;
}

void ConstraintMap::preciseResidual(const double* b, const double* x, double* r, double* g) {
  ++products;
  Array<DoubleSum> forces(rows.width);
  for (int i = 0; i < rows.height; ++i) {
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k)
      forces[rows.index[k]].addProduct(rows.value[k], x[i]);
  }
  for (int j = 0; j < inverseMass.size(); ++j) {
    forces[j] = forces[j].times({inverseMass[j], weightRest(j)});
  }
  for (int i = 0; i < rows.height; ++i) {
    DoubleSum sum{b[i], 0.0};
    if (damp.size() > 0) sum.addProduct(-damp[i], x[i]);
    for (int k = rows.start[i]; k < rows.start[i + 1]; ++k)
      sum.addProduct(-rows.value[k], forces[rows.index[k]]);
    r[i] = sum.rounded();
  }
  if (g) multiplyTransposed(r, g);
}

}  // namespace limber::detail
