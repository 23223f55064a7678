#include "limber/solvers/detail/LinearSystem.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "limber/linalg/SpMat.h"
#include "limber/solvers/detail/FixedSums.h"
#include "limber/solvers/detail/MatrixEntries.h"
#include "limber/solvers/detail/PowersOfTwo.h"

namespace limber::detail {
namespace {

// A smaller right-hand side of the normal equations may have lost digits.
constexpr double tiny = 1e-270;

// A matrix of a foreign class with no more columns than this is copied by products with the unit vectors.
constexpr int copiedColumns = 4096;

// A message about vectors whose sizes do not fit, or null.
const char* wrongSizes(int height, int width, const Vector& right, const Vector& start) {
  if (right.count != height) {
    return "The right-hand side does not have as many elements as the matrix has rows.";
  }
  if (start.count != 0 && start.count != width) {
    return "The start must be empty or have one element for each unknown.";
  }
  return nullptr;
}

// Sets an unknown width. A square matrix is as wide as it is high. A least-squares matrix of a foreign class
// is as wide as the start is long.
void complete(LinearSystem::Kind kind, int start, Extent* extent) {
  const bool square = kind != LinearSystem::Kind::leastSquares;
  if (square && extent->open && extent->width < extent->height) extent->width = extent->height;
  if (extent->foreign && extent->width == 0) extent->width = square ? extent->height : start;
}

// Random signs, because with ones the entries of many matrices cancel.
Doubles randomSigns(int n) {
  Doubles signs(n);
  unsigned mixed = 1;
  for (double& v : signs) v = (mixed = 1664525u * mixed + 1013904223u) >> 31 ? 1.0 : -1.0;
  return signs;
}

// False if A^T A v is zero although A v is not.
bool hasTranspose(LinearMap& A) {
  Doubles u(A.height()), w(A.width());
  A.multiply(randomSigns(A.width()).data(), u.data());
  A.multiplyTransposed(u.data(), w.data());
  return safeNorm(A.width(), w.data()) != 0.0 || safeNorm(A.height(), u.data()) == 0.0;
}

}  // namespace

double safeNorm(int n, const double* x) {
  const int k = largestExponent(n, x);
  if (k > -400 && k < 400) return fixedNorm(n, x);
  const auto square = [=](int i) {
    const double v = timesPowerOfTwo(x[i], -k);
    return v * v;
  };
  return timesPowerOfTwo(std::sqrt(fixedSum(n, square)), k);
}

const char* LinearSystem::takeMatrix(const SpMat& A, const Vector& right, const Vector& start) {
  Extent extent = extentOf(A, right.count, &rows);
  if (extent.damaged) return "The matrix has entries in negative columns, or too many of them.";
  complete(kind_, start.count, &extent);
  if (kind_ != Kind::leastSquares && extent.height != extent.width) {
    return "The matrix is not square; solveLeastSquares takes any shape.";
  }
  if (const char* const wrong = wrongSizes(extent.height, extent.width, right, start)) return wrong;
  height = extent.height;
  width = extent.width;
  if (extent.foreign && width > copiedColumns) {
    auto foreign = std::make_unique<ForeignMap>(A, height, width);
    Doubles product(height);
    foreign->multiply(randomSigns(width).data(), product.data());
    if (!allFinite(height, product.data())) return "The matrix has an entry that is not finite.";
    matrixPower_ = largestExponent(height, product.data());
    foreign->scaleBy(-matrixPower_);
    map = std::move(foreign);
    return nullptr;
  }
  copyEntries(A, extent, &rows);
  haveRows = true;
  const Magnitudes range = magnitudesOf(rows.entries(), rows.value.data());
  if (!std::isfinite(range.largest)) return "The matrix has an entry that is not finite.";
  matrixPower_ = exponentOf(range.largest);
  wide_ = losesDigits(range, matrixPower_);
  if (wide_) exactRows_ = rows;
  scaleByPowerOfTwo(rows.entries(), rows.value.data(), -matrixPower_);
  map = wide_ ? std::make_unique<RowsMap>(rows, exactRows_, -matrixPower_) : std::make_unique<RowsMap>(rows);
  return nullptr;
}

void LinearSystem::copyColumns(const SpMat& A) {
  endless = true;
  try {
    Extent extent;
    extent.foreign = true;
    extent.height = height;
    extent.width = width;
    copyEntries(A, extent, &rows);
  } catch (const std::bad_alloc&) {
    rows = SparseRows();
    return;
  }
  const Magnitudes range = magnitudesOf(rows.entries(), rows.value.data());
  if (!std::isfinite(range.largest) || losesDigits(range, matrixPower_)) {
    rows = SparseRows();
    return;
  }
  scaleByPowerOfTwo(rows.entries(), rows.value.data(), -matrixPower_);
  const int products = map->products + width;
  map = std::make_unique<RowsMap>(rows);
  map->products = products;
  haveRows = true;
  measure(this);
}

const char* LinearSystem::takeVectors(const Vector& right, const Vector& start) {
  const Magnitudes range = magnitudesOf(right.count, right.data);
  if (!std::isfinite(range.largest)) {
    return "The right-hand side has an element that is not finite.";
  }
  if (!allFinite(start.count, start.data)) return "The start has an element that is not finite.";
  run.expect(width);
  b.assign(height, 0.0);
  std::copy_n(right.data, height, b.data());
  rightPower_ = exponentOf(range.largest);
  scaleByPowerOfTwo(height, b.data(), -rightPower_);
  x.assign(width, 0.0);
  g.assign(leastSquares() ? width : 0, 0.0);
  run.unit = rightPower_ + (leastSquares() ? matrixPower_ : 0);

  // x is zero
  r = b;
  if (leastSquares()) map->multiplyTransposed(r.data(), g.data());
  norm = sizeOf(*this);
  if (norm == 0.0 && leastSquares() && !haveRows && safeNorm(height, b.data()) != 0.0 &&
      !hasTranspose(*map)) {
    return "The class of the matrix has no product with the transpose.";
  }
  // A^T b may depend on digits that the smallest elements of b, or products with them, have lost
  const bool zero = range.largest == 0.0 || (haveRows && rows.entries() == 0);
  wide_ |= leastSquares() && ((norm < tiny && !zero) || losesDigits(range, rightPower_));
  if (wide_) {
    wideRight_ = wideOf(height, right.data, -rightPower_);
    wideNorm_ = wideResidual(Wides(width), this);
    norm = wideNorm_.rounded();
  }
  goal = norm < tiny ? 0.0 : run.options.relative * norm;
  residual = startResidual_ = norm;
  if (start.count == 0) return nullptr;
  Iterate first = *this;
  for (int j = 0; j < width; ++j) first.x[j] = timesPowerOfTwo(start.data[j], matrixPower_ - rightPower_);
  measure(&first);
  startTooLarge_ = !std::isfinite(first.residual);
  startResidual_ = startTooLarge_
                       ? wideResidual(wideOf(width, start.data, matrixPower_ - rightPower_)).rounded()
                       : first.residual;
  // if the right-hand side is zero, zero is the solution; otherwise the solve begins at the caller's start
  moved_ = startTooLarge_ || (norm == 0.0 && first.residual != 0.0);
  if (moved_) return nullptr;
  begin = first.x;
  iterate() = first;
  return nullptr;
}

const char* LinearSystem::take(const SpMat& A, const Vector& right, const Vector& start) {
  if (const char* const wrong = complaint(run.options)) return wrong;
  if (const char* const wrong = takeMatrix(A, right, start)) return wrong;
  return takeVectors(right, start);
}

const char* LinearSystem::take(std::unique_ptr<LinearMap> scaledMap, int power, const Vector& right,
                               const Vector& start) {
  if (const char* const wrong = complaint(run.options)) return wrong;
  height = width = scaledMap->height();
  if (const char* const wrong = wrongSizes(height, width, right, start)) return wrong;
  map = std::move(scaledMap);
  matrixPower_ = power;
  return takeVectors(right, start);
}

// |b - A x|, or |A^T (b - A x)| for least squares. Rounds these vectors to `rounded` unless it is null.
Wide LinearSystem::wideResidual(const Wides& at, Iterate* rounded) {
  Wides rest = wide_ ? wideRight_ : wideOf(height, b.data(), 0);
  const Wides product = map->wideProduct(at, false);
  for (int i = 0; i < height; ++i) rest[i] += Wide(-1.0) * product[i];
  const Wides gradient = leastSquares() ? map->wideProduct(rest, true) : Wides();
  if (rounded) {
    round(rest, 0, &rounded->r);
    round(gradient, 0, &rounded->g);
  }
  return normOf(leastSquares() ? gradient : rest);
}

// Replaces the residual and the goal by those of the user's solution, in units of the norm.
void LinearSystem::judge(const Doubles& solution) {
  const int power = wideNorm_.power();
  run.unit += power;
  norm = wideNorm_.rounded(-power);
  residual = wideResidual(wideOf(width, solution.data(), matrixPower_ - rightPower_)).rounded(-power);
  goal = run.options.relative * norm;
}

void LinearSystem::measure(Iterate* at) {
  // elements above 2^900 overflow where their products are split
  if (wide_ || largestExponent(width, at->x.data()) > 900) {
    at->residual = wideResidual(wideOf(width, at->x.data(), 0), at).rounded();
    return;
  }
  at->r.resize(height);
  at->g.resize(leastSquares() ? width : 0);
  double* const gradient = leastSquares() ? at->g.data() : nullptr;
  if (!precise_) {
    map->LinearMap::preciseResidual(b.data(), at->x.data(), at->r.data(), gradient);
    at->residual = sizeOf(*at);
    if (!(at->residual <= 2.0 * goal) || roundingOfProduct(at->x) < 0.5 * goal) return;
  }
  map->preciseResidual(b.data(), at->x.data(), at->r.data(), gradient);
  at->residual = sizeOf(*at);
}

double LinearSystem::residualOf(const Doubles& solution) {
  tried_.x = solution;
  measure(&tried_);
  return tried_.residual;
}

void LinearSystem::measurePrecisely() {
  if (precise_) return;
  precise_ = true;
  measure(this);
}

double LinearSystem::sizeOf(const Iterate& at) const {
  return leastSquares() ? safeNorm(width, at.g.data()) : safeNorm(height, at.r.data());
}

// The expected rounding of A x, or of A^T (b - A x) for least squares, in plain precision.
double LinearSystem::roundingOfProduct(const Doubles& at) const {
  // the entries are at most 1
  const double entries = haveRows ? rows.entries() : height;
  if (size_ == 0.0) size_ = haveRows ? fixedNorm(rows.entries(), rows.value.data()) : std::sqrt(entries);
  const double terms = std::max(entries / std::max(std::min(height, width), 1), 4.0);
  const double unit = 4.4e-16 * std::sqrt(terms);
  const double rounding = unit * size_ * safeNorm(width, at.data());
  return leastSquares() ? size_ * (rounding + unit * safeNorm(height, b.data())) : rounding;
}

bool LinearSystem::swollen() const {
  return roundingOfProduct(x) > (converged() ? 1e-4 * norm : std::max(goal, 1e-10 * norm));
}

bool LinearSystem::improve(const double* d) {
  tried_.x.resize(width);
  for (int j = 0; j < width; ++j) tried_.x[j] = x[j] + d[j];
  measure(&tried_);
  return adopt(&tried_);
}

bool LinearSystem::adopt(Iterate* other) {
  // of two least-squares solutions, the one with the smaller |b - A x| is better
  const bool good = leastSquares() && other->residual <= polished_ &&
                    safeNorm(height, other->r.data()) < (1.0 - 1e-9) * safeNorm(height, r.data());
  if (!(other->residual < residual) && !good) return false;
  std::swap(iterate(), *other);
  return moved_ = true;
}

bool LinearSystem::replace(const Doubles& other) {
  tried_.x = other;
  measure(&tried_);
  if (!(tried_.residual <= std::max({goal, polished_, 2.0 * residual}))) return false;
  residual = HUGE_VAL;
  return adopt(&tried_);
}

void LinearSystem::goBack() {
  x.assign(width, 0.0);
  if (begin.size() > 0) x = begin;
  measure(this);
}

// True if the residual is large and orthogonal to the range of A as far as double precision can tell.
bool LinearSystem::unsolvable() const {
  // a user-defined matrix may have no product with the transpose
  if (leastSquares() || map->entries() == 0.0 || residual <= 1e-6 * norm) return false;
  Doubles across(width);
  map->multiplyTransposed(r.data(), across.data());
  // the entries of the scaled matrix are at most 1
  return safeNorm(width, across.data()) <= 1e-13 * std::sqrt(width * 1.0) * residual;
}

// The sentence about a residual that did not become small enough.
const char* LinearSystem::limitOfPrecision() const {
  if (underflow_) return "The solution is too small for doubles: numbers below 1e-307 lose digits.";
  if (wide_) {
    return "The residual cannot be made smaller in double precision: some numbers of the system are more "
           "than "
           "1e270 times larger than others. This is the best iterate found.";
  }
  const bool nearlySingular = condition > 1e10;
  if (leastSquares()) {
    return nearlySingular
               ? "The residual cannot be made smaller in double precision: the columns of the matrix are "
                 "close "
                 "to dependent (estimated condition above 1e10). This is the best iterate found."
               : "The residual cannot be made smaller in double precision. This is the best iterate found.";
  }
  if (unsolvable()) {
    return "The system has no solution in double precision: the matrix is singular, and the right-hand side "
           "is not in its range. solveLeastSquares finds the x with the smallest residual.";
  }
  return nearlySingular
             ? "The residual cannot be made smaller in double precision: the matrix is close to singular "
               "(estimated condition above 1e10). This is the best iterate found."
             : "The residual cannot be made smaller in double precision, or the system has no solution. This "
               "is the best iterate found.";
}

// Rounds x to what the user gets: numbers below the normal range of doubles lose digits there. Returns x at
// the user's scale.
Doubles LinearSystem::toScaleOfUser() {
  const int power = rightPower_ - matrixPower_;
  Doubles result(width);
  for (int j = 0; j < width; ++j) {
    result[j] = timesPowerOfTwo(x[j], power);
    const double kept = timesPowerOfTwo(result[j], -power);
    if (kept == x[j] || !std::isfinite(kept)) continue;
    x[j] = kept;
    underflow_ = true;
  }
  if (underflow_) measure(this);
  return result;
}

LinearSystem::Verdict LinearSystem::verdictOn(Outcome last) const {
  if (converged()) {
    const char* const sentence =
        nearest
            ? "The residual is as small as was asked for; the columns of the matrix are dependent, and this "
              "is the solution nearest to the start."
        : condition > 1e10 ? "The residual is as small as was asked for; the matrix is close to singular "
                             "(estimated condition above 1e10), so x is uncertain."
                           : "The residual is as small as was asked for.";
    return {SOLVE_CONVERGED, sentence};
  }
  if ((last == Outcome::done || last == Outcome::stuck) && run.mustEnd()) last = run.whyEnded();
  switch (last) {
    case Outcome::stopped:
      return {SOLVE_STOPPED, "The observer ended the solve; this is the best iterate so far."};
    case Outcome::limit:
      return {SOLVE_LIMIT,
              "The iterations are used up; this is the best iterate so far, and maxIterations allows more."};
    case Outcome::indefinite:
      return {SOLVE_BREAKDOWN, "The matrix is not positive definite; solveSquare takes it."};
    case Outcome::unsymmetric:
      return {
          SOLVE_BREAKDOWN,
          "The matrix is not symmetric; solveSquare takes it. (If only one triangle is stored, store both.)"};
    case Outcome::preconditioner:
      return {SOLVE_BREAKDOWN,
              "The preconditioner is not positive definite, or does not give finite numbers."};
    default:
      return {SOLVE_STAGNATED, limitOfPrecision()};
  }
}

SolveReport LinearSystem::finish(Outcome last, Vector* out) {
  Doubles result = toScaleOfUser();
  // the reported residual must be free of the rounding of plain products, which may have hidden that the
  // start is better
  if (!converged()) {
    measurePrecisely();
    if (moved_ && begin.size() > 0) startResidual_ = residualOf(begin);
  }
  const bool fits = allFinite(width, result.data());
  if (!fits || (moved_ && startResidual_ < residual)) {
    residual = startResidual_;
    moved_ = false;
  }
  if (!moved_) {
    result.assign(width, 0.0);
    if (out->count == width) std::copy_n(out->data, width, result.data());
  }
  if (wide_) judge(result);
  const Verdict verdict =
      fits ? verdictOn(last)
           : Verdict{SOLVE_BREAKDOWN, "The solution is too large for doubles; the start was left as it is."};
  SolveReport report{};
  report.status = verdict.status;
  report.message = verdict.sentence;
  report.iterations = run.iterations;
  report.products = map->products;
  report.residual = timesPowerOfTwo(residual, run.unit);
  report.relativeResidual = norm > 0.0 ? residual / norm : 0.0;
  if (fits && (moved_ || out->count != width)) {
    out->grow(width);
    if (out->count != width) return badInput("There is not enough memory for the solution.");
    std::copy_n(result.data(), width, out->data);
  }
  report.seconds = run.seconds();
  return report;
}

}  // namespace limber::detail
