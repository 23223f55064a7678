// RandomSolves COUNT SEED [ONE]: solves COUNT random systems, with random tuning, by all entry points of both
// families of conjugate gradients and by bi-conjugate gradients. It prints a line for each: what was solved,
// what the call returned, and hashes of the bits of x and of everything that was printed. With ONE, it solves
// only that system and prints its texts and its x. tools/compare-solves builds this program against two
// states of the library and compares the lines.
#include <cinttypes>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "limber/limber.h"

namespace {

std::string printed;

// Keeps a text without what may differ between two states: the line numbers of reports, as in
// "(OldCGrad:125)", and the signs of NaNs.
int keepText(const char* text) {
  std::size_t added = printed.size();
  const char* const place = std::strstr(text, " @ (");
  const char* const line = place ? std::strchr(place, ':') : nullptr;
  if (line) {
    printed.append(text, line);
    text = line + 1 + std::strspn(line + 1, "0123456789");
  }
  printed += text;
  while ((added = printed.find("-nan", added)) != std::string::npos) printed.erase(added, 1);
  return 0;
}

std::uint64_t hash(const void* bytes, std::size_t size) {
  std::uint64_t value = UINT64_C(0xcbf29ce484222325);
  for (std::size_t i = 0; i < size; ++i)
    value = (value ^ static_cast<const unsigned char*>(bytes)[i]) * UINT64_C(0x100000001b3);
  return value;
}

// Gives all NaNs the same bits. Their sign depends on which operand of a product the compiler puts first.
std::uint64_t bits(double value) {
  if (std::isnan(value)) return UINT64_C(0x7ff8000000000000);
  std::uint64_t all;
  std::memcpy(&all, &value, sizeof all);
  return all;
}

std::uint64_t hashOfBits(const Vector& x) {
  std::vector<std::uint64_t> all;
  for (int i = 0; i < x.size(); ++i) all.push_back(bits(x.data[i]));
  return hash(all.data(), sizeof(std::uint64_t) * all.size());
}

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}
  int below(int n) { return static_cast<int>(engine_() % static_cast<std::uint64_t>(n)); }
  int between(int least, int most) { return least + below(most - least + 1); }
  bool chance(double probability) { return unit() < probability; }
  double unit() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }
  double number() { return 2.0 * unit() - 1.0; }
  double powerOfTen(int least, int most) { return std::pow(10.0, between(least, most)); }
  int size() {
    const double kind = unit();
    return kind < 0.3 ? between(1, 40) : kind < 0.85 ? between(32, 300) : between(301, 1500);
  }

 private:
  std::mt19937_64 engine_;
};

// A row-sparse matrix with its rows.
struct Matrix {
  std::vector<std::unique_ptr<SpVec>> rows;
  HSpMat matrix;

  explicit Matrix(int height) : matrix(height) {
    for (int i = 0; i < height; ++i) {
      rows.push_back(std::make_unique<SpVec>(4));
      matrix.rows[i] = rows.back().get();
    }
  }
  void add(int i, int j, double value) { rows[static_cast<std::size_t>(i)]->ins(value, j); }
};

// Symmetric, and positive definite unless `shift` is too small.
std::unique_ptr<Matrix> symmetric(Random& random, int n, double shift) {
  auto A = std::make_unique<Matrix>(n);
  std::vector<double> diagonal(static_cast<std::size_t>(n), shift);
  const int neighbours = random.between(1, 6), reach = random.between(1, random.chance(0.5) ? 8 : n);
  for (int i = 0; i < n; ++i)
    for (int k = 0; k < neighbours; ++k) {
      const int j = i + random.between(1, reach);
      if (j >= n) continue;
      const double value = random.number();
      A->add(i, j, value);
      A->add(j, i, value);
      diagonal[static_cast<std::size_t>(i)] += std::fabs(value);
      diagonal[static_cast<std::size_t>(j)] += std::fabs(value);
    }
  for (int i = 0; i < n; ++i) A->add(i, i, diagonal[static_cast<std::size_t>(i)]);
  return A;
}

// Rows with a few entries in a window or anywhere; some are empty, repeated or badly scaled.
std::unique_ptr<Matrix> rectangular(Random& random, int height, int width) {
  auto A = std::make_unique<Matrix>(height);
  const int most = random.between(1, random.chance(0.8) ? 12 : 60);
  const int window = random.between(1, width);
  const bool same = random.chance(0.5), graded = random.chance(0.1), holes = random.chance(0.1);
  for (int i = 0; i < height; ++i) {
    if (holes && random.chance(0.1)) continue;
    const double scale = graded ? random.powerOfTen(-4, 4) : 1.0;
    const int first = random.below(width - window + 1), entries = same ? most : random.between(1, most);
    for (int k = 0; k < entries; ++k) A->add(i, first + random.below(window), scale * random.number());
    if (i < width) A->add(i, i, scale * (1.0 + random.unit()));
  }
  return A;
}

Vector numbers(Random& random, int n, double scale) {
  Vector v(n);
  for (int i = 0; i < n; ++i) v[i] = scale * random.number();
  return v;
}

void tune(Random& random, int size) {
  cg_tol = random.powerOfTen(-24, 0);
  cg_epsilon = random.chance(0.5) ? 1e-8 : 1e-100;
  cg_maxIters = random.between(1, 5);
  cg_maxRestarts = random.between(1, 6);
  cg_reset_resid = random.chance(0.5) ? 50 : random.between(0, 12);
  cg_goNoWhereSc = random.chance(0.5) ? 0.25 : 10.0;
  cg_verbosity = size > 200 ? random.below(2) : random.below(3);
  cgradDefinizer = random.chance(0.1) ? 0.3 : -1.0;
  cgradEps = random.powerOfTen(-20, -4);
  cgradTol = random.chance(0.5) ? 0.0002 : 1e-12;
  maxCGradPasses = random.between(1, 8);
  bicg_checkBiCG = random.chance(0.2) ? 0.5 : 0.0;
  bicg_numZeroSteps = random.between(1, 40);
  bicg_zeroStep = random.chance(0.5) ? 0.01 : 0.0;
  cgradDampV = cgradMassVec = nullptr;
}

// A user-defined operator, so that not only the library's own are compared.
void twice(SpMat* A, const Vector* in, Vector* out) {
  A->mult(in, out);
  *out *= 2.0;
}

struct Solve {
  const char* name;
  int height, width;
  long result = 0;
  double rsq = 0.0;
};

// Makes and solves the system with this number. Returns what the call returned; x receives the solution.
Solve solve(Random& random, Vector& x) {
  static const char* const names[] = {"ncgradA",    "ncgradAtA", "ncgrad",  "ncgradDamp", "ncgradJJt",
                                      "ncgradJVJt", "ncgradAAt", "cgrad",   "cgradA",     "cgradAAt",
                                      "cgradJJt",   "cgradJVJt", "biCGrad", "pureCGrad",  "mcgradI"};
  enum { A_, AtA, ls, damped, JJt, JVJt, AAt, oldLs, oldA, oldAAt, oldJJt, oldJVJt, biCG, pass, mine, kinds };
  const int kind = random.below(kinds);
  const bool isSymmetric = kind == A_ || kind == oldA || kind == pass || kind == mine;
  const int height = random.size();
  const int width = isSymmetric || kind == biCG ? height
                    : random.chance(0.5)        ? height + random.below(50)
                                                : random.size();
  const std::unique_ptr<Matrix> owner = isSymmetric
                                            ? symmetric(random, height, random.chance(0.9) ? 0.1 : -0.2)
                                            : rectangular(random, height, width);
  HSpMat* const A = &owner->matrix;
  tune(random, std::max(height, width));
  const bool ofColumns = kind == AtA, toRows = kind == JJt || kind == JVJt || kind == AAt || kind == oldAAt ||
                                               kind == oldJJt || kind == oldJVJt;
  const double scale = random.chance(0.1) ? random.powerOfTen(-9, 6) : random.chance(0.03) ? 0.0 : 1.0;
  Vector b = numbers(random, ofColumns ? width : height, scale);
  x = numbers(random, toRows ? height : width, random.chance(0.6) ? 0.0 : 1.0);
  Vector damp = numbers(random, height, 1.0), mass = numbers(random, width, 1.0);
  for (int i = 0; i < height; ++i) damp[i] = std::fabs(damp[i]);
  for (int j = 0; j < width; ++j) mass[j] = 0.1 + std::fabs(mass[j]);
  Vector weights(width);
  for (int j = 0; j < width; ++j) weights[j] = 1.0 / mass[j];
  Vector* const dampOrNone = random.chance(0.5) ? &damp : nullptr;

  const int preconditioner = kind == JJt || kind == JVJt ? random.below(4) : 0, band = random.below(5);
  Vector* const ofMass = kind == JVJt ? &weights : nullptr;
  std::unique_ptr<JJtPrecond> diagonal;
  std::unique_ptr<JJtBandedPrecond> banded;
  std::unique_ptr<JJtCholeskyPrecond> cholesky;
  Preconditioner* pre = nullptr;
  if (preconditioner == 1) pre = (diagonal = std::make_unique<JJtPrecond>(A, ofMass, dampOrNone)).get();
  if (preconditioner == 2)
    pre = (banded = std::make_unique<JJtBandedPrecond>(A, band, ofMass, dampOrNone)).get();
  if (preconditioner == 3)
    pre = (cholesky = std::make_unique<JJtCholeskyPrecond>(A, band, ofMass, dampOrNone)).get();

  Solve s = {names[kind], height, width};
  double rsq = 0.0;
  switch (kind) {
    case A_:
      s.result = ncgradA(A, &x, &b, &s.rsq);
      break;
    case AtA:
      s.result = ncgradAtA(A, &x, &b, &s.rsq);
      break;
    case ls:
      s.result = ncgrad(A, &x, &b, &s.rsq);
      break;
    case damped:
      s.result = ncgradDamp(A, &x, &b, &s.rsq, 0.1 * random.unit());
      break;
    case JJt:
      s.result = ncgradJJt(A, &x, &b, &s.rsq, dampOrNone, pre);
      break;
    case JVJt:
      s.result = ncgradJVJt(A, &x, &b, &s.rsq, &mass, dampOrNone, pre);
      break;
    case AAt:
      s.result = ncgradAAt(A, &x, &b, &s.rsq);
      break;
    case oldLs:
      s.result = cgrad(A, &x, &b, &s.rsq);
      break;
    case oldA:
      s.result = cgradA(A, &x, &b, &s.rsq);
      break;
    case oldAAt:
      s.result = cgradAAt(A, &x, &b, &s.rsq);
      break;
    case oldJJt:
      s.result = cgradJJt(A, &x, &b, &s.rsq, dampOrNone);
      break;
    case oldJVJt:
      s.result = cgradJVJt(A, &x, &b, &s.rsq, &mass, dampOrNone);
      break;
    case biCG: {
      int iterations = 0;
      const auto status = biCGrad(A, &x, &b, s.rsq, iterations, random.below(2));
      s.result = 1000 * iterations + static_cast<long>(status);
      break;
    }
    case pass: {
      Vector r(height), p(height), q(height), best(height);
      int iteration = 0, bestIteration = 0;
      const auto status =
          pureCGrad(A, &x, &b, random.chance(0.5) ? multFunA : twice, &r, &p, &q,
                    random.between(1, 3 * height), iteration, bestIteration, s.rsq, &best, nullptr, nullptr);
      s.result = 1000000L * bestIteration + 1000L * iteration + static_cast<long>(status);
      break;
    }
    default: {
      int iterations = 0;
      CGIStatus last = CGI_SOLVED;
      const auto status =
          mcgradI(A, &x, &b, s.rsq, rsq, iterations, last, random.chance(0.5) ? multFunA : twice, nullptr);
      s.result = 1000000L * iterations + 1000L * static_cast<long>(status) + static_cast<long>(last);
    }
  }
  return s;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return std::fprintf(stderr, "usage: solves COUNT SEED [ONE]\n"), 2;
  const int count = std::atoi(argv[1]), one = argc > 3 ? std::atoi(argv[3]) : -1;
  const std::uint64_t seed = std::strtoull(argv[2], nullptr, 10);
  stdoutF = stderrF = keepText;
  for (int k = 0; k < count; ++k) {
    if (one >= 0 && k != one) continue;
    Random random(seed * 1000000 + static_cast<std::uint64_t>(k));
    Vector x(1);
    printed.clear();
    const Solve s = solve(random, x);
    std::printf("%d %s %d x %d: %ld, rsq %016" PRIx64 ", x %d %016" PRIx64 ", printed %zu %016" PRIx64 "\n",
                k, s.name, s.height, s.width, s.result, bits(s.rsq), x.size(), hashOfBits(x), printed.size(),
                hash(printed.data(), printed.size()));
    if (one < 0) continue;
    std::fputs(printed.c_str(), stdout);
    for (int i = 0; i < x.size(); ++i) std::printf("x[%d] = %.17g\n", i, x[i]);
  }
  printed.clear();
  printVectorResizeStats();
  std::printf("statistics: %s\n", printed.c_str());
}
