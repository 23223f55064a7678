// The input is a matrix of some class, a right-hand side, a start and the options of one of the four solves
// of Solve.h. Bad input is refused and changes nothing. The result is finite, keeps to the limits, and what
// the report says about it is true for the data.
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "limber/limber.h"
#include "tests/fuzz/Choices.h"
#include "tests/fuzz/Require.h"

namespace {

int silent(const char*) { return 0; }

class Own : public SpMat {
 public:
  explicit Own(const FullMatrix& A) : A_(A) {}
  int height() const override { return A_.numRows; }
  int width() const override { return A_.numColumns; }
  void mult(const Vector* x, Vector* y) const override {
    y->grow(A_.numRows);
    *y = 0.0;
    for (int i = 0; i < A_.numRows; ++i) {
      for (int j = 0; j < A_.numColumns; ++j) (*y)[i] += A_.e(i, j) * (*x)[j];
    }
  }
  void multT(const Vector* x, Vector* y) const override {
    y->grow(A_.numColumns);
    *y = 0.0;
    for (int i = 0; i < A_.numRows; ++i) {
      for (int j = 0; j < A_.numColumns; ++j) (*y)[j] += A_.e(i, j) * (*x)[i];
    }
  }

 private:
  const FullMatrix& A_;
};

class Wild : public Preconditioner {
 public:
  explicit Wild(int kind) : kind_(kind) {}
  void solve(const Vector* r, Vector* z) override {
    *z = *r;
    if (kind_ == 1) *z *= -1.0;
    if (kind_ == 2) *z = 0.0;
    if (kind_ == 3) *z *= HUGE_VAL;
    if (kind_ == 4) z->grow(r->count + 1);
    for (int i = 0; kind_ == 5 && i < z->count; i += 2) (*z)[i] *= 1e-8;
  }

 private:
  int kind_;
};

struct Watch {
  int calls = 0, stopAt = 0;
  static int observe(int iteration, double rsq, void* data) {
    Watch& watch = *static_cast<Watch*>(data);
    REQUIRE(++watch.calls == iteration && !(rsq < 0.0));
    return watch.stopAt > 0 && iteration >= watch.stopAt;
  }
};

enum Kind { LeastSquares, Definite, Square, Constraints };

bool finite(const Vector& v) {
  return std::all_of(v.begin(), v.end(), [](double x) { return std::isfinite(x); });
}

long double normOf(const std::vector<long double>& v) {
  long double sum = 0.0L;
  for (const long double x : v) sum += x * x;
  return std::sqrt(sum);
}

struct Problem {
  Kind kind;
  int m, n;
  FullMatrix A;
  Vector b, start, mass, damp;
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat sparse{0};

  explicit Problem(Choices& choices)
      : kind(static_cast<Kind>(choices.below(4))),
        m(1 + choices.below(choices.oneIn(8) ? 40 : 8)),
        n(kind == Definite || kind == Square ? m : 1 + choices.below(choices.oneIn(8) ? 40 : 8)),
        A(m, n),
        b(m),
        damp(m) {
    const int perRow = 1 + choices.below(4);
    const double scale = choices.oneIn(8) ? 1e100 : choices.oneIn(8) ? 1e-100 : 1.0;
    for (int i = 0; i < m; ++i) {
      for (int k = 0; k < perRow; ++k) {
        const int j = choices.below(n);
        const double value = scale * (choices.oneIn(8) ? choices.number() : (choices.below(17) - 8) / 4.0);
        A.e(i, j) = value;
        if (kind == Definite) A.e(j, i) = value;
      }
      if (kind == Definite || choices.oneIn(4)) {
        if (i < n) A.e(i, i) = scale * (choices.oneIn(8) ? choices.number() : 16.0);
      }
    }
    if (choices.oneIn(8)) A.e(choices.below(m), choices.below(n)) = choices.anyNumber();
    for (int i = 0; i < m; ++i) b[i] = choices.oneIn(4) ? choices.number() : choices.below(9) - 4.0;
    if (choices.oneIn(16)) b[choices.below(m)] = choices.anyNumber();
    const int unknowns = kind == Constraints ? m : n;
    if (choices.oneIn(3)) {
      start.grow(choices.oneIn(16) ? 1 + choices.below(unknowns + 2) : unknowns);
      for (int j = 0; j < start.count; ++j)
        start[j] = choices.oneIn(32) ? choices.anyNumber() : choices.number();
    }
    mass.grow(n + choices.below(2));
    for (int j = 0; j < mass.count; ++j)
      mass[j] = choices.oneIn(64) ? choices.anyNumber() : 1.0 + choices.below(7);
    for (int i = 0; i < m; ++i) damp[i] = choices.oneIn(64) ? choices.anyNumber() : choices.below(3);
    for (int i = 0; i < m; ++i) {
      rows.push_back(std::make_unique<SpVec>());
      SpVec& row = *rows.back();
      for (int j = 0; j < n; ++j) {
        if (A.e(i, j) == 0.0) continue;
        row.insEnd(1.0, j);
        row.e(row.numEntries - 1) = A.e(i, j);
      }
      row.width = n;
      sparse.add(&row);
    }
  }

  bool allFinite() const {
    for (int i = 0; i < m; ++i) {
      for (int j = 0; j < n; ++j) {
        if (!std::isfinite(A.e(i, j))) return false;
      }
    }
    return finite(b) && finite(start);
  }
  bool startFits() const { return start.count == 0 || start.count == (kind == Constraints ? m : n); }

  // residual: |b - A x| / |b| or, for least squares, |A^T (b - A x)| / |A^T b|. terms: the size of the terms
  // that cancel in it, relative to the right-hand side. For constraints, A is J V^-1 J^T + D.
  struct Truth {
    long double residual, terms;
  };
  Truth truthOf(const Vector& x, bool weighted) const {
    std::vector<long double> r, right, size, v(x.begin(), x.end()), magnitudes;
    for (const double value : x) magnitudes.push_back(std::fabs(value));
    if (kind == Constraints) {
      v = transposed(v, false);
      magnitudes = transposed(magnitudes, true);
    }
    for (int i = 0; i < m; ++i) {
      long double sum = b[i], most = std::fabs(b[i]);
      for (int j = 0; j < n; ++j) {
        const std::size_t at = static_cast<std::size_t>(j);
        const long double entry = A.e(i, j), divisor = kind == Constraints && weighted ? mass[j] : 1.0;
        sum -= entry * v[at] / divisor;
        most += std::fabs(entry) * magnitudes[at] / divisor;
      }
      if (kind == Constraints && weighted) {
        sum -= static_cast<long double>(damp[i]) * x[i];
        most += static_cast<long double>(damp[i]) * std::fabs(x[i]);
      }
      r.push_back(sum);
      right.push_back(b[i]);
      size.push_back(most);
    }
    if (kind == LeastSquares) {
      r = transposed(r, false);
      right = transposed(right, false);
      size = transposed(size, true);
    }
    const long double norm = normOf(right);
    return {norm > 0.0L ? normOf(r) / norm : normOf(r), norm > 0.0L ? normOf(size) / norm : normOf(size)};
  }
  std::vector<long double> transposed(const std::vector<long double>& v, bool absolute) const {
    std::vector<long double> out(static_cast<std::size_t>(n));
    for (int i = 0; i < m; ++i) {
      for (int j = 0; j < n; ++j) {
        const long double a = absolute ? std::fabs(A.e(i, j)) : A.e(i, j);
        out[static_cast<std::size_t>(j)] += a * v[static_cast<std::size_t>(i)];
      }
    }
    return out;
  }
};

/// A ratio above the largest double is reported as infinity.
bool ratioIsTrue(double reported, long double truth, long double slack) {
  const long double tolerance = 1e-6L * truth + slack;
  if (std::isinf(reported)) return truth + tolerance > std::numeric_limits<double>::max();
  return std::fabs(truth - reported) <= tolerance;
}

SolveReport solve(const Problem& problem, int matrixClass, bool weighted, const SolveOptions& options,
                  Vector* x) {
  const SlicedMatrix sliced(problem.sparse);
  const Own own(problem.A);
  const SpMat* const classes[] = {&problem.sparse, &problem.A, &sliced, &own};
  const SpMat& A = *classes[matrixClass];
  switch (problem.kind) {
    case LeastSquares:
      return solveLeastSquares(A, problem.b, x, options);
    case Definite:
      return solvePositiveDefinite(A, problem.b, x, options);
    case Square:
      return solveSquare(A, problem.b, x, options);
    default:
      return solveConstraints(problem.sparse, weighted ? &problem.mass : nullptr,
                              weighted ? &problem.damp : nullptr, problem.b, x, options);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  stdoutF = stderrF = silent;
  Choices choices(data, size);
  SolveOptions options;
  static constexpr double goals[] = {1e-10, 1e-6, 1e-14, 0.0, 0.5, -1e-3};
  options.relative = goals[choices.below(6)];
  options.maxIterations = choices.oneIn(4) ? choices.below(40) - 1 : 0;
  Wild wild(choices.below(6));
  Preconditioner identity;
  Preconditioner* const preconditioners[] = {nullptr, nullptr, nullptr, &identity, &wild};
  options.preconditioner = preconditioners[choices.below(5)];
  Watch watch;
  watch.stopAt = choices.oneIn(8) ? 1 + choices.below(20) : 0;
  options.observer = choices.oneIn(2) ? Watch::observe : nullptr;
  options.observerData = &watch;
  const int matrixClass = choices.below(4);
  const bool weighted = choices.oneIn(2);
  const Problem problem(choices);

  Vector x(problem.start);
  const SolveReport report = solve(problem, matrixClass, weighted, options, &x);
  REQUIRE(report.message && *report.message);
  const bool sound =
      problem.allFinite() && problem.startFits() && options.relative >= 0.0 && options.maxIterations >= 0;
  if (!sound) REQUIRE(report.status == SOLVE_BAD_INPUT);
  if (report.status == SOLVE_BAD_INPUT) {
    REQUIRE(!sound || problem.kind == Constraints);
    REQUIRE(x.count == problem.start.count);
    for (int i = 0; i < x.count; ++i) REQUIRE(sameNumber(x[i], problem.start[i]));
    return 0;
  }
  const int unknowns = problem.kind == Constraints ? problem.m : problem.n;
  REQUIRE(finite(x) && (x.count == unknowns || report.status == SOLVE_BREAKDOWN));
  if (options.observer) REQUIRE(report.iterations == watch.calls);
  if (options.observer && watch.stopAt > 0) REQUIRE(report.iterations <= watch.stopAt);
  if (options.maxIterations > 0) REQUIRE(report.iterations <= options.maxIterations);
  if (report.status == SOLVE_STOPPED) REQUIRE(options.observer && watch.stopAt > 0);
  if (report.status == SOLVE_CONVERGED) REQUIRE(report.relativeResidual <= options.relative);
  if (x.count != unknowns) return 0;
  // A solution below the normal numbers loses digits when it is stored, which the report does not count.
  if (std::all_of(x.begin(), x.end(), [](double value) { return std::fabs(value) < 1e-290; })) return 0;
  const Problem::Truth truth = problem.truthOf(x, weighted);
  const long double slack = 1e-14L * (1.0L + truth.terms) + 1e-300L;
  REQUIRE(ratioIsTrue(report.relativeResidual, truth.residual, slack));
  Vector from(unknowns);
  if (problem.start.count == unknowns) from = problem.start;
  if (problem.kind != LeastSquares) {
    const Problem::Truth before = problem.truthOf(from, weighted);
    REQUIRE(!(truth.residual > before.residual * 1.000001L + 1e-14L * (1.0L + before.terms) + slack));
  }
  return 0;
}
