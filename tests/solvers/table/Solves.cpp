// The functions of Solve.h for all systems.
#include "tests/solvers/table/Table.h"

namespace {

using namespace table;

const char* const statuses[] = {"converged", "stagnated", "limit", "stopped", "breakdown", "bad input"};

// Divides by powers of two that grow with the number of the element.
class Weights : public Preconditioner {
 public:
  void solve(const Vector* r, Vector* z) override {
    z->grow(r->count);
    for (int i = 0; i < r->count; ++i) (*z)[i] = std::ldexp((*r)[i], -(i % 4));
  }
};

// A user-defined class, which adds its products to a hash.
class Watched : public SpMat {
 public:
  Watched(const Entries& A, Hash* hash) : A_(A), hash_(hash) {}
  int height() const override { return A_.height(); }
  int width() const override { return A_.width(); }
  void mult(const Vector* x, Vector* y) const override { note(x), A_.matrix().mult(x, y), note(y); }
  void multT(const Vector* x, Vector* y) const override { note(x), A_.matrix().multT(x, y), note(y); }

 private:
  void note(const Vector* v) const { hash_->add(v->count, v->data); }
  const Entries& A_;
  Hash* hash_;
};

struct Trace {
  Hash hash;
  int last = -1;
};

int observe(int iteration, double rsq, void* data) {
  Trace& trace = *static_cast<Trace*>(data);
  trace.hash.add(iteration);
  trace.hash.add(rsq);
  return iteration == trace.last;
}

// Solves, and prints a line.
template <class Solve>
SolveReport line(const std::string& name, const Vector& start, SolveOptions options, int stopAfter,
                 Solve solve) {
  Trace trace;
  trace.last = stopAfter;
  options.observer = observe;
  options.observerData = &trace;
  Vector x = start;
  const SolveReport report = solve(&x, options);
  const DecimalPoint point;
  char numbers[100];
  std::snprintf(numbers, sizeof numbers, "%s %d %d %.1e ", statuses[report.status], report.iterations,
                report.products, report.relativeResidual);
  Hash residual;
  residual.add(report.residual);
  residual.add(report.relativeResidual);
  golden::print(name, numbers + residual.text() + " x " + hashOf(x.count, x.data) + " trace " +
                          trace.hash.text() + " " + report.message);
  return report;
}

using Solver = SolveReport (*)(const SpMat&, const Vector&, Vector*, const SolveOptions&);
const struct {
  const char* name;
  Solver solve;
} kinds[] = {
    {"least squares", solveLeastSquares}, {"definite", solvePositiveDefinite}, {"square", solveSquare}};

struct Variant {
  const char* name;
  SolveOptions options;
  bool start = false;
  int stopAfter = -1;
};

std::vector<Variant> variants() {
  static Preconditioner identity;
  static Weights weights;
  std::vector<Variant> all(8);
  all[0].name = "";
  all[1].name = " exactly", all[1].options.relative = 0.0;
  all[2].name = " roughly", all[2].options.relative = 1e-3;
  all[3].name = " start", all[3].start = true, all[3].options.relative = 1e-12;
  all[4].name = " limit", all[4].options.maxIterations = 7;
  all[5].name = " identity", all[5].options.preconditioner = &identity;
  all[6].name = " weights", all[6].options.preconditioner = &weights;
  all[7].name = " stopped", all[7].stopAfter = 4;
  return all;
}

// Every system by every function that takes it: with the defaults, and with two of the other variants, which
// take turns.
void solves() {
  golden::Numbers numbers(3);
  const std::vector<Variant> all = variants();
  std::size_t turn = 0;
  for (const System& system : systems()) {
    const bool square = system.A.height() == system.A.width();
    const Vector start = vectorOf(&numbers, system.A.width());
    for (const auto& kind : kinds) {
      if (!square && kind.solve != solveLeastSquares) continue;
      for (int k = 0; k < 3; ++k) {
        const Variant& variant = all[k == 0 ? 0 : 1 + turn++ % (all.size() - 1)];
        const SolveReport report =
            line(system.name + " " + kind.name + variant.name, variant.start ? start : Vector(),
                 variant.options, variant.stopAfter, [&](Vector* x, const SolveOptions& options) {
                   return kind.solve(system.A.matrix(), system.b, x, options);
                 });
        if (report.status == SOLVE_BREAKDOWN && report.iterations == 0) break;  // the same with any options
      }
    }
  }
}

// Matrices of other classes.
void classes() {
  golden::Numbers numbers(4);
  const Entries A = std::move(systems()[3].A);
  const int n = A.height();
  FullMatrix full(n, n);
  ResizeMatrix resized(n, n);
  BandedMatrix band(n, 4);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      full.e(i, j) = (i * 7 + j * 3) % 5 - 2.0 + (i == j ? 6.0 : 0.0);
      resized.e(i, j) = full.e(i, j) + full.e(j, i);
      if (i - j <= 1 && j - i <= 1) band.e(i, j) = i == j ? 3.0 : 1.0;
    }
  }
  DiagonalMatrix diagonal(n);
  for (int i = 0; i < n; ++i) diagonal.diag->e(i) = i % 6 + 0.75;
  IdentityMatrix identity(n);
  identity.s = 3.0;
  FullMatrix H(n - 4, n - 4), J(4, n - 4);
  for (int i = 0; i < n - 4; ++i) {
    H.e(i, i) = 2.0 + i;
    J.e(i % 4, i) = 1.0 + i % 3;
  }
  SQPMatrix blocks(&H, &J);
  blocks.hessianShift = 0.5;
  blocks.lowerDiagonal = 0.0;
  const SlicedMatrix sliced(A.matrix());
  const Vector b = vectorOf(&numbers, n);
  const std::pair<const char*, const SpMat*> matrices[] = {
      {"full", &full},         {"resized", &resized}, {"band", &band},    {"diagonal", &diagonal},
      {"identity", &identity}, {"blocks", &blocks},   {"sliced", &sliced}};
  for (const auto& [name, matrix] : matrices) {
    for (const auto& kind : kinds) {
      line(std::string(name) + " " + kind.name, Vector(), SolveOptions(), -1,
           [&, M = matrix](Vector* x, const SolveOptions& options) { return kind.solve(*M, b, x, options); });
    }
  }
  // a user-defined class: copied by its products, or too wide for that
  for (const int size : {30, 4097}) {
    Entries chain(size, size);
    for (int i = 0; i < size; ++i) {
      if (i > 0) chain.add(i, i - 1, -1.0);
      chain.add(i, i, 2.5 + i % 3);
      if (i + 1 < size) chain.add(i, i + 1, -1.0);
    }
    const Vector right = vectorOf(&numbers, size);
    for (const auto& kind : kinds) {
      Hash hash;
      const Watched watched(chain, &hash);
      const std::string name = "caller's " + std::to_string(size) + " " + kind.name;
      line(name, Vector(), SolveOptions(), -1,
           [&](Vector* x, const SolveOptions& options) { return kind.solve(watched, right, x, options); });
      golden::print(name + " products", hash.text());
    }
  }
}

void constraints() {
  golden::Numbers numbers(5);
  const std::vector<Variant> all = variants();
  std::size_t turn = 0;
  for (const System& system : systems()) {
    const int m = system.A.height(), n = system.A.width();
    Vector mass(n), damp(m);
    for (int j = 0; j < n; ++j) mass[j] = 0.3 + std::fabs(numbers.next());
    for (int i = 0; i < m; ++i) damp[i] = i % 3 == 0 ? 0.0 : 0.01 * std::fabs(numbers.next());
    const Vector start = vectorOf(&numbers, m);
    for (int k = 0; k < 4; ++k) {
      const Variant& variant = all[k < 2 ? 0 : turn++ % all.size()];
      const Vector *const itsMass = k % 2 ? &mass : nullptr, *const itsDamp =
                                                                 k == 1 || k == 2 ? &damp : nullptr;
      line(system.name + (itsMass ? " mass" : "") + (itsDamp ? " damp" : "") + variant.name,
           variant.start ? start : Vector(), variant.options, variant.stopAfter,
           [&](Vector* x, const SolveOptions& options) {
             return solveConstraints(system.A.matrix(), itsMass, itsDamp, system.b, x, options);
           });
    }
  }
  // chains with a narrow band, a wide one, and a few full columns
  for (const auto& [rows, apart, full] :
       {std::tuple(150, 2, 0), std::tuple(90, 31, 0), std::tuple(120, 37, 3)}) {
    Entries J(rows, 2 * rows + apart);
    for (int i = 0; i < rows; ++i) {
      for (const int j : {i, i + 1, i + apart, (i * 29) % (2 * rows)}) J.add(i, j, numbers.next());
      for (int k = 0; k < full; ++k) J.add(i, 2 * rows + k, 1.0 + 0.1 * numbers.next());
    }
    const Vector c = vectorOf(&numbers, rows);
    for (const double relative : {1e-10, 0.0}) {
      SolveOptions options;
      options.relative = relative;
      line("chain" + std::to_string(rows) + (relative > 0.0 ? "" : " exactly"), Vector(), options, -1,
           [&](Vector* x, const SolveOptions& its) {
             return solveConstraints(J.matrix(), nullptr, nullptr, c, x, its);
           });
    }
  }
}

const golden::Part parts[] = {{"constraints", constraints}, {"classes", classes}, {"solves", solves}};

}  // namespace
