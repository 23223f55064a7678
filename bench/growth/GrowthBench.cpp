// growth [--largest SIZE] [--rounds N] [--patience SECONDS] [WORD]: measures how cost grows with size, and
// prints one line for each work whose name contains WORD. The goals for data larger than the caches are
// exponents of at most 1.05 for time and of 1 for memory. Times are processor times, so a busy machine
// disturbs them only through its caches and its memory.
#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench/growth/Growth.h"
#include "bench/support/SwayingClip.h"
#include "limber/limber.h"

namespace {

using namespace growth;

// A row-sparse matrix with its rows.
class Matrix {
 public:
  HSpMat rows{0};

  // The entries of one row, in ascending column order.
  template <class Entries>
  Matrix(int height, int width, int perRow, Entries entries) {
    made_.reserve(static_cast<std::size_t>(height));
    for (int i = 0; i < height; ++i) {
      made_.push_back(std::make_unique<SpVec>(perRow));
      entries(i, *made_.back());
      made_.back()->width = width;
      rows.add(made_.back().get());
    }
  }

 private:
  std::vector<std::unique_ptr<SpVec>> made_;
};

constexpr int stencilEntries = 5, constraintEntries = 12;

// A five-point stencil on a square grid of about n points; the height is exactly n.
Matrix stencil(int n) {
  const int across = std::max(2, static_cast<int>(std::sqrt(n)));
  return Matrix(n, n, stencilEntries, [=](int i, SpVec& row) {
    for (const int j : {i - across, i - 1, i, i + 1, i + across}) {
      if (j >= 0 && j < n) row.insEnd(j == i ? 4.0 : -1.0 + 1e-3 * ((7 * i + j) % 100), j);
    }
  });
}

// Constraints on a motion: n rows over 2n + 22 unknowns, each row over twelve near its place.
Matrix constraints(int n) {
  return Matrix(n, 2 * n + 22, constraintEntries, [](int i, SpVec& row) {
    for (int k = 0; k < constraintEntries; ++k) {
      row.insEnd(k == i % constraintEntries ? 6.0 : std::sin(0.7 * i + 1.3 * k), 2 * (i + k));
    }
  });
}

Vector wave(int n) {
  Vector v(n);
  for (int i = 0; i < n; ++i) v[i] = std::sin(0.3 * i) + 0.1;
  return v;
}

Cost held(double seconds) {
  malloc_trim(0);
  return {seconds, bytesNow()};
}

Cost productOf(const SpMat& A, bool transposed, int height, int width) {
  const Vector x = wave(transposed ? height : width);
  Vector y(transposed ? width : height);
  return held(secondsOf([&] { transposed ? A.multT(&x, &y) : A.mult(&x, &y); }));
}

Cost byRows(int n, bool transposed) {
  const Matrix A = stencil(n);
  return productOf(A.rows, transposed, n, n);
}

Cost bySlices(int n, bool transposed) {
  auto A = std::make_unique<Matrix>(stencil(n));
  const SlicedMatrix sliced(A->rows);
  A.reset();
  return productOf(sliced, transposed, n, n);
}

// Processor times after each iteration of a solve, which it ends after enough of them.
struct Stamps {
  static constexpr int settled = 15, enough = 40;
  std::vector<double> times;

  static int take(int, double, void* data) {
    Stamps& stamps = *static_cast<Stamps*>(data);
    stamps.times.push_back(processorTime());
    return stamps.times.size() > enough;
  }
};

// Seconds of one iteration of `solve`, when the solve has its copy of the matrix and its storage.
template <class Solve>
Cost iterationOf(Solve solve) {
  cg_tol = cg_epsilon = 1e-300;
  cg_reset_resid = 0;
  cg_goNoWhereSc = 1e9;
  cg_maxIters = 1000;
  Stamps stamps;
  stamps.times.reserve(Stamps::enough + 1);
  cg_observer = Stamps::take;
  cg_observerData = &stamps;
  double least = HUGE_VAL;
  for (int repeat = 0; repeat < 5; ++repeat) {
    stamps.times.clear();
    solve();
    if (stamps.times.size() <= Stamps::enough) {
      std::fprintf(stderr, "the solve ended after %d iterations\n", static_cast<int>(stamps.times.size()));
      std::exit(1);
    }
    const double took = stamps.times[Stamps::enough] - stamps.times[Stamps::settled];
    least = std::min(least, took / (Stamps::enough - Stamps::settled));
  }
  return held(least);
}

Cost leastSquaresIteration(int n) {
  Matrix A = stencil(n);
  Vector b = wave(n), x(n);
  double rsq = 0.0;
  return iterationOf([&] {
    x = 0.0;
    ncgrad(&A.rows, &x, &b, &rsq);
  });
}

Cost constraintIteration(int n) {
  Matrix J = constraints(n);
  Vector c = wave(n), lambda(n), mass(2 * n + 22);
  for (int i = 0; i < mass.size(); ++i) mass[i] = 1.0 + 0.5 * (i % 3);
  double rsq = 0.0;
  return iterationOf([&] {
    lambda = 0.0;
    ncgradJVJt(&J.rows, &lambda, &c, &rsq, &mass, nullptr, nullptr);
  });
}

Cost bandOf(int n, bool factored) {
  Matrix J = constraints(n);
  Vector weights(2 * n + 22);
  weights = 0.5;
  const int width = halfBandwidth(&J.rows);
  std::unique_ptr<ResizeMatrix> band(buildJJtBand(&J.rows, width, nullptr, &weights, nullptr, 0.1));
  if (!factored)
    return held(secondsOf([&] { buildJJtBand(&J.rows, width, band.get(), &weights, nullptr, 0.1); }));
  double least = HUGE_VAL;
  for (int repeat = 0; repeat < (n < 100000 ? 50 : 5); ++repeat) {
    buildJJtBand(&J.rows, width, band.get(), &weights, nullptr, 0.1);
    const double begin = processorTime();
    if (cholFactorBanded(band.get()) != 0) std::exit(1);
    least = std::min(least, processorTime() - begin);
  }
  return held(least);
}

Cost editOf(int frames) {
  const auto start = swaying::clipOf(frames);
  const auto targets = swaying::constraintsFor(start);
  double least = HUGE_VAL;
  for (int repeat = 0; repeat < (frames < 5000 ? 3 : 1); ++repeat) {
    auto clip = start;
    const double begin = processorTime();
    limber::motion::Edit edit(clip);
    edit.add(targets);
    edit.solve();
    least = std::min(least, processorTime() - begin);
  }
  return {least, bytesAtMost()};
}

std::vector<Work> allWorks() {
  const auto fivePoints = [](int n) { return 1.0 * stencilEntries * n; };
  const auto constrained = [](int n) { return 1.0 * constraintEntries * n; };
  const auto frames = [](int n) { return 1.0 * n; };
  return {
      {"A x, HSpMat", fivePoints, [](int n) { return byRows(n, false); }},
      {"A^T x, HSpMat", fivePoints, [](int n) { return byRows(n, true); }},
      {"A x, SlicedMatrix", fivePoints, [](int n) { return bySlices(n, false); }},
      {"A^T x, SlicedMatrix", fivePoints, [](int n) { return bySlices(n, true); }},
      {"CG iteration, A^T A", fivePoints, leastSquaresIteration},
      {"CG iteration, J V^-1 J^T", constrained, constraintIteration},
      {"buildJJtBand", constrained, [](int n) { return bandOf(n, false); }},
      {"cholFactorBanded", constrained, [](int n) { return bandOf(n, true); }},
      {"motion edit, by frames", frames, editOf},
  };
}

// The size of a cache of the first processor, by its level.
double cacheBytes(int level, double otherwise) {
  for (int index = 0; index < 8; ++index) {
    const std::string folder = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(index);
    std::ifstream levels(folder + "/level"), sizes(folder + "/size");
    int found = 0;
    double kilobytes = 0.0;
    if (levels >> found && found == level && sizes >> kilobytes) return 1024.0 * kilobytes;
  }
  return otherwise;
}

void print(const char* text, double exponent) {
  if (std::isnan(exponent)) {
    std::printf(" %*s |", static_cast<int>(std::strlen(text)), "-");
  } else {
    std::printf(" %*.2f |", static_cast<int>(std::strlen(text)), exponent);
  }
}

}  // namespace

int main(int argc, char** argv) {
  int largest = 10000000, rounds = 2;
  double patience = 120.0;
  const char* word = "";
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--largest") == 0 && i + 1 < argc) {
      largest = std::atoi(argv[++i]);
    } else if (std::strcmp(argv[i], "--rounds") == 0 && i + 1 < argc) {
      rounds = std::atoi(argv[++i]);
    } else if (std::strcmp(argv[i], "--patience") == 0 && i + 1 < argc) {
      patience = std::atof(argv[++i]);
    } else {
      word = argv[i];
    }
  }
  stdoutF = [](const char*) { return 0; };
  const double inside = cacheBytes(2, 1 << 20);
  const double outside = 2.0 * cacheBytes(3, 32 << 20);
  std::printf(
      "Exponents p of cost = c size^p. Inside: up to %.0f KB, the second-level cache. Beyond: from %.0f MB "
      "on,\n"
      "twice the last-level cache. ns and bytes are an entry of the matrix, or a frame.\n\n",
      inside / 1024.0, outside / 1048576.0);
  std::printf(
      "| work                     | largest  | inside | beyond | memory | ns, smallest | ns, largest | bytes "
      "  |\n"
      "|--------------------------|----------|--------|--------|--------|--------------|-------------|-------"
      "--|\n");
  bool asWanted = true;
  for (const Work& work : allWorks()) {
    if (work.name.find(word) == std::string::npos) continue;
    const Series series = measure(work, largest, rounds, patience);
    const int size = series.sizes.back();
    const double beyond = timeExponent(series, outside, HUGE_VAL);
    const double memory = memoryExponent(series, outside, HUGE_VAL);
    std::printf("| %-24s | %8d |", work.name.c_str(), size);
    print("inside", timeExponent(series, 0.0, inside));
    print("beyond", beyond);
    print("memory", memory);
    std::printf(" %12.3g | %11.3g | %7.4g |\n", 1e9 * series.costs[0].seconds / work.entries(series.sizes[0]),
                1e9 * series.costs.back().seconds / work.entries(size),
                series.costs.back().bytes / work.entries(size));
    std::fflush(stdout);
    asWanted = asWanted && !(beyond > 1.05) && !(memory > 1.05);
  }
  std::printf("\n%s\n", asWanted ? "Every exponent beyond the caches is at most 1.05."
                                 : "Some exponents are above 1.05.");
  return 0;
}
