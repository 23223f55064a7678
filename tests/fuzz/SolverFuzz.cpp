// The input is a sparse matrix, the tuning variables and one solver of the two contract families or bi-CG.
// The solve ends within its limits. It gives the same bits when it is repeated, and when the matrix is of a
// class of which the library takes no copy.
#include <climits>
#include <memory>
#include <vector>

#include "limber/limber.h"
#include "tests/fuzz/Choices.h"
#include "tests/fuzz/Require.h"

namespace {

int silent(const char*) { return 0; }

// A user-defined class that gives the same products. The library makes no copy of it.
class Own : public SpMat {
 public:
  explicit Own(const HSpMat& rows) : rows_(rows) {}
  int height() const override { return rows_.height(); }
  int width() const override { return rows_.width(); }
  void mult(const Vector* x, Vector* y) const override { rows_.mult(x, y); }
  void multT(const Vector* x, Vector* y) const override { rows_.multT(x, y); }
  double acc(int i, int j) const override { return rows_.acc(i, j); }

 private:
  const HSpMat& rows_;
};

struct Watch {
  int calls = 0, last = 0, stopAt = 0;
  static int observe(int iteration, double, void* data) {
    Watch& watch = *static_cast<Watch*>(data);
    ++watch.calls;
    watch.last = iteration;
    return watch.stopAt > 0 && iteration >= watch.stopAt;
  }
};

struct Problem {
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat A{0};
  Vector x, b, damp, mass;
  int solver, preconditioner, bandwidth;
  bool shadow;
  double d;

  explicit Problem(Choices& choices) {
    solver = choices.below(15);
    preconditioner = choices.below(5);
    bandwidth = choices.below(5);
    shadow = choices.oneIn(2);
    d = choices.number();
    const bool square = choices.oneIn(2), plain = !choices.oneIn(4);
    const int m = 1 + choices.below(choices.oneIn(4) ? 60 : 9);
    const int n = square ? m : 1 + choices.below(choices.oneIn(4) ? 60 : 9);
    for (int i = 0; i < m; ++i) {
      rows.push_back(choices.oneIn(32) ? nullptr : std::make_unique<SpVec>());
      SpVec* const row = rows.back().get();
      A.add(row);
      if (!row) continue;
      for (int k = choices.below(5); k > 0; --k) row->ins(choices.number(), choices.below(n));
      // This makes most square matrices definite enough for an ordinary solve.
      if (plain && i < n) row->ins(12.0 + i, i);
      if (plain && i + 1 == m) row->ins(1.0, n - 1);
    }
    b = choices.vector(plain ? 0 : m + 2);
    if (plain) b.grow(m);
    for (int i = 0; plain && i < m; ++i) b[i] = choices.number();
    if (choices.oneIn(4))
      x = choices.vector(n + m);
    else
      x.grow(std::max(m, n));
    damp = choices.vector(plain ? 0 : m + 1);
    mass.grow(choices.oneIn(8) ? choices.below(n + 1) : n);
    for (int j = 0; j < mass.count; ++j)
      mass[j] = choices.oneIn(8) ? choices.number() : 1.0 + choices.below(8);
  }
};

struct Result {
  int code = 0, iterations = 0;
  double rsq = 0.0;
  Vector x;
  bool stopped = false;
};

void tune(Choices& choices) {
  static constexpr double goals[] = {0.1, 1e-8, 1e-20, 0.0, 1e-4, 1e6};
  cg_tol = goals[choices.below(6)];
  cg_maxIters = choices.oneIn(8) ? choices.below(3) - 1 : 1 + choices.below(6);
  cg_maxRestarts = choices.oneIn(8) ? choices.below(3) - 1 : 1 + choices.below(5);
  cg_reset_resid = choices.below(6);
  cg_goNoWhereSc = choices.oneIn(4) ? choices.number() : 0.25 * choices.below(8);
  cg_epsilon = choices.oneIn(4) ? std::fabs(choices.number()) : 1e-8;
  cg_verbosity = choices.oneIn(8) ? choices.below(4) : 0;
  cgradDefinizer = choices.oneIn(4) ? choices.number() : -1.0;
  cgradEps = goals[choices.below(6)];
  cgradTol = goals[choices.below(6)];
  cgradNeptune = choices.oneIn(4) ? choices.number() : 1e20;
  maxCGradPasses = choices.below(8);
  cgradMAXX = choices.oneIn(4) ? choices.below(5) : 2050;
  cgradMAXB = choices.oneIn(4) ? choices.below(5) : 2050;
  bicg_checkBiCG = choices.oneIn(4) ? choices.number() : 0.0;
  bicg_numZeroSteps = choices.below(7);
  bicg_zeroStep = choices.oneIn(4) ? choices.number() : 0.01;
}

Result solve(const Problem& problem, SpMat* A, int stopAt) {
  Watch watch;
  watch.stopAt = stopAt;
  cg_observer = stopAt >= 0 ? Watch::observe : nullptr;
  cg_observerData = &watch;
  cgradDampV = cgradMassVec = nullptr;
  HSpMat J(problem.A);
  Vector b(problem.b), damp(problem.damp), mass(problem.mass), weights(problem.mass);
  for (int i = 0; i < weights.count; ++i) weights[i] = 1.0 / weights[i];
  Vector* const dampOrNone = damp.count > 0 ? &damp : nullptr;
  Vector* const massOrNone = problem.bandwidth != 0 ? &mass : nullptr;
  Vector* const weightsOrNone = massOrNone ? &weights : nullptr;
  JJtPrecond diagonal(&J, weightsOrNone, dampOrNone);
  JJtBandedPrecond band(&J, problem.bandwidth, weightsOrNone, dampOrNone);
  JJtCholeskyPrecond cholesky(&J, problem.bandwidth, weightsOrNone, dampOrNone);
  Preconditioner identity;
  Preconditioner* const all[] = {nullptr, &diagonal, &band, &cholesky, &identity};
  Preconditioner* const pre = all[problem.preconditioner];

  Result result;
  result.x = problem.x;
  Vector* const x = &result.x;
  double* const rsq = &result.rsq;
  double rsqAgain = 0.0;
  CGIStatus status = CGI_SOLVED;
  switch (problem.solver) {
    case 0:
      result.code = ncgradA(A, x, &b, rsq);
      break;
    case 1:
      result.code = ncgradAtA(A, x, &b, rsq);
      break;
    case 2:
      result.code = ncgrad(A, x, &b, rsq);
      break;
    case 3:
      result.code = ncgradDamp(A, x, &b, rsq, problem.d);
      break;
    case 4:
      result.code = ncgradJJt(A, x, &b, rsq, dampOrNone, pre);
      break;
    case 5:
      result.code = ncgradJVJt(A, x, &b, rsq, massOrNone, dampOrNone, pre);
      break;
    case 6:
      result.code = ncgradAAt(A, x, &b, rsq);
      break;
    case 7:
      result.code = cgrad(A, x, &b, rsq);
      break;
    case 8:
      result.code = cgradA(A, x, &b, rsq);
      break;
    case 9:
      result.code = cgradAAt(A, x, &b, rsq);
      break;
    case 10:
      result.code = cgradJJt(A, x, &b, rsq, dampOrNone);
      break;
    case 11:
      result.code = cgradJVJt(A, x, &b, rsq, massOrNone, dampOrNone);
      break;
    case 12:
      result.code = biCGrad(A, x, &b, result.rsq, result.iterations, problem.shadow);
      break;
    default:
      cgradDampV = dampOrNone;
      cgradMassVec = massOrNone;
      result.code = mcgradI(A, x, &b, result.rsq, rsqAgain, result.iterations, status,
                            problem.solver == 13 ? multFunJJt : multFunAtA, pre);
      REQUIRE(sameNumber(result.rsq, rsqAgain));
      REQUIRE(status >= CGI_SOLVED && status <= CGI_NO_IMPROVEMENT);
      REQUIRE(result.code >= CG_ACCEPT && result.code <= CG_FAILED);
  }
  result.stopped = cg_stopped != 0;
  REQUIRE(!result.stopped || stopAt > 0);
  REQUIRE(!(stopAt > 0) || watch.last <= stopAt || !result.stopped);
  return result;
}

void requireSame(const Result& a, const Result& b) {
  REQUIRE(a.code == b.code && a.iterations == b.iterations && a.stopped == b.stopped);
  REQUIRE(sameNumber(a.rsq, b.rsq) && a.x.count == b.x.count);
  for (int i = 0; i < a.x.count; ++i) REQUIRE(sameNumber(a.x[i], b.x[i]));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  stdoutF = stderrF = silent;
  Choices choices(data, size);
  const CGTuning restored;
  tune(choices);
  const int stopAt = choices.oneIn(4) ? choices.below(6) : -1;
  const Problem problem(choices);
  HSpMat A(problem.A);
  Own own(problem.A);
  const Result first = solve(problem, &A, stopAt);
  requireSame(first, solve(problem, &A, stopAt));
  requireSame(first, solve(problem, &own, stopAt));
  const int most = std::max(problem.A.height(), problem.A.width());
  if (problem.solver <= 6 && cg_maxIters > 0 && cg_maxRestarts > 0) {
    REQUIRE(first.code <= cg_maxIters * most * cg_maxRestarts);
  }
  if (problem.solver >= 12 && cg_maxIters > 0 && cg_maxRestarts > 0) {
    REQUIRE(first.iterations <= cg_maxIters * most * cg_maxRestarts);
  }
  return 0;
}
