// The front door beside Eigen's solvers, iterative with their default preconditioners and direct, each with
// its defaults and a goal of 1e-10:
//
//   real [KIND FILE]...     with KIND definite, least-squares or square; without arguments the shared data,
//   where
//                           they lie beside the checkout, and generated systems
//
// A system counts as solved when its residual, recomputed in long double, is at most 1e-8 of the right-hand
// side (for least squares that of the normal equations). Times are processor times, the best of a few.
#include <time.h>

#include <Eigen/IterativeLinearSolvers>
#include <Eigen/OrderingMethods>
#include <Eigen/Sparse>
#include <Eigen/SparseCholesky>
#include <Eigen/SparseLU>
#include <Eigen/SparseQR>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bench/solvers/real/CpuTime.h"
#include "limber/limber.h"
#include "tests/solvers/SolveSystems.h"
#include "tests/support/MatrixMarket.h"
#include "tests/support/TemporaryFile.h"

namespace {

using Matrix = Eigen::SparseMatrix<double, Eigen::RowMajor>;
using Columns = Eigen::SparseMatrix<double>;
using EigenVector = Eigen::VectorXd;

constexpr double goal = 1e-10, solved = 1e-8;

template <class F>
double best(F f) {
  double least = HUGE_VAL;
  const double begin = now();
  for (int k = 0; k < 7 && (k == 0 || now() - begin < 0.5); ++k) {
    const double from = now();
    f();
    least = std::min(least, now() - from);
  }
  return least;
}

struct System {
  std::string name, kind;
  const HSpMat& A;
  int width;
  Vector b;
};

struct Result {
  std::string method;
  int iterations;
  double residual, seconds;
};

class Comparison {
 public:
  void compare(const System& system);
  void finish() const {
    std::printf("\nsolved by nobody:%s\n", nobody_.empty() ? " none" : nobody_.c_str());
    std::printf("solved by a peer and not by us:%s\n", lost_.empty() ? " none" : lost_.c_str());
  }

 private:
  std::string nobody_, lost_;
};

Matrix toEigen(const HSpMat& A, int width) {
  std::vector<Eigen::Triplet<double>> entries;
  for (int i = 0; i < A.numRows; ++i) {
    for (int k = 0; k < A.rows[i]->numEntries; ++k) {
      entries.emplace_back(i, A.rows[i]->indices[k], A.rows[i]->values[k]);
    }
  }
  Matrix result(A.numRows, width);
  result.setFromTriplets(entries.begin(), entries.end());
  return result;
}

void Comparison::compare(const System& system) {
  const bool normal = system.kind == "least-squares";
  const Matrix A = toEigen(system.A, system.width);
  const Columns C = A;
  const EigenVector b = Eigen::Map<const EigenVector>(system.b.data, system.b.count);
  std::vector<Result> results;

  Vector x;
  SolveReport report{};
  const double ours = best([&] {
    x.grow(0);
    report = system.kind == "definite" ? solvePositiveDefinite(system.A, system.b, &x)
             : normal                  ? solveLeastSquares(system.A, system.b, &x)
                                       : solveSquare(system.A, system.b, &x);
  });
  const auto residual = [&](const double* solution) {
    Vector copy(system.width);
    std::copy_n(solution, system.width, copy.data);
    return relativeResidual(system.A, system.width, system.b, copy, normal);
  };
  results.push_back({"Limber", report.iterations, residual(x.data), ours});

  EigenVector y;
  const auto iterative = [&](const char* name, auto* solver) {
    solver->setTolerance(goal);
    const double seconds = best([&] {
      solver->compute(A);
      y = solver->solve(b);
    });
    results.push_back({name, static_cast<int>(solver->iterations()), residual(y.data()), seconds});
  };
  const auto direct = [&](const char* name, auto* solver) {
    bool good = true;
    const double seconds = best([&] {
      solver->compute(C);
      good = solver->info() == Eigen::Success;
      if (good) y = solver->solve(b);
    });
    results.push_back({name, 0, good ? residual(y.data()) : HUGE_VAL, seconds});
  };
  Eigen::ConjugateGradient<Matrix, Eigen::Lower | Eigen::Upper> cg;
  Eigen::SimplicialLDLT<Columns> cholesky;
  Eigen::LeastSquaresConjugateGradient<Matrix> lscg;
  Eigen::SparseQR<Columns, Eigen::COLAMDOrdering<int>> qr;
  Eigen::BiCGSTAB<Matrix> bicgstab;
  Eigen::BiCGSTAB<Matrix, Eigen::IncompleteLUT<double>> ilut;
  Eigen::SparseLU<Columns> lu;
  if (system.kind == "definite") {
    iterative("CG", &cg);
    direct("LDLT", &cholesky);
  } else if (normal) {
    iterative("LSCG", &lscg);
    direct("QR", &qr);
  } else {
    iterative("BiCGSTAB", &bicgstab);
    iterative("BiCGSTAB+ILUT", &ilut);
    direct("LU", &lu);
  }

  std::printf("%-26s %-13s %6d x %-6d", system.name.c_str(), system.kind.c_str(), system.A.numRows,
              system.width);
  bool byPeer = false;
  for (const Result& result : results) {
    const bool good = result.residual <= solved;
    byPeer |= good && &result != &results.front();
    std::printf(" | %s %s %.0e %d its %.3f ms", result.method.c_str(), good ? "ok" : "--", result.residual,
                result.iterations, 1e3 * result.seconds);
  }
  std::printf("\n");
  std::fflush(stdout);
  if (results.front().residual <= solved) return;
  (byPeer ? lost_ : nobody_) += " " + system.name;
}

void compareBoth(Comparison* all, const std::string& name, const std::string& kind, HSpMat& A, int width) {
  Vector ones(width), b(A.numRows);
  ones = 1.0;
  A.mult(&ones, &b);
  all->compare({name + ", b = A 1", kind, A, width, b});
  for (int i = 0; i < b.count; ++i) b[i] = std::sin(i + 1.0);
  all->compare({name + ", b = sin", kind, A, width, b});
}

void compareFile(Comparison* all, const std::string& kind, const std::string& path) {
  MatrixMarket file(path);
  if (!file.error.empty()) {
    std::printf("%s: %s\n", path.c_str(), file.error.c_str());
    return;
  }
  HSpMat& A = file.matrix();
  const std::string name = path.substr(path.find_last_of('/') + 1);
  compareBoth(all, name, kind, A, kind == "least-squares" ? A.width() : A.height());
}

// m x n with so many entries a row, of sizes over so many decades.
Entries scattered(int m, int n, int perRow, double decades) {
  Random random(7);
  Entries A(m, n);
  for (int i = 0; i < m; ++i) {
    for (int k = 0; k < perRow; ++k) {
      A.add(i, random.below(n), random.value() * std::pow(10.0, decades * random.value()));
    }
  }
  return A;
}

// A network of n nodes whose branches have conductances over three decades.
Entries network(int n) {
  Random random(8);
  Entries A(n, n);
  const auto branch = [&](int i, int j) {
    const double g = std::pow(10.0, 1.5 + 1.5 * random.value());
    A.add(i, i, g);
    A.add(j, j, g);
    A.add(i, j, -g);
    A.add(j, i, -g);
  };
  for (int i = 1; i < n; ++i) branch(i, std::max(0, i - 1 - random.below(40)));
  for (int k = 0; k < n / 4; ++k) {
    const int i = random.below(n), j = random.below(n);
    if (i != j) branch(i, j);
  }
  A.add(0, 0, 1.0);
  return A;
}

void compareGenerated(Comparison* all) {
  const auto run = [all](const char* name, const char* kind, Entries A) {
    compareBoth(all, name, kind, A.matrix(), A.width());
  };
  run("grid 100", "definite", grid(100, 0.0, 0.0));
  run("network 1138", "definite", network(1138));
  run("convection 100, 0.5", "square", grid(100, 0.5, 0.0));
  run("convection 100, 5", "square", grid(100, 5.0, 0.0));
  run("shifted grid 50, 1", "square", grid(50, 0.0, 1.0));
  run("scattered 1850 x 712", "least-squares", scattered(1850, 712, 5, 0.0));
  run("scattered, two decades", "least-squares", scattered(1850, 712, 5, 2.0));
  run("dense 20000 x 12", "least-squares", scattered(20000, 12, 12, 0.0));
  Entries vandermonde(100, 12);
  for (int i = 0; i < 100; ++i) {
    for (int j = 0; j < 12; ++j) vandermonde.add(i, j, std::pow(i / 99.0, j));
  }
  run("Vandermonde 100 x 12", "least-squares", std::move(vandermonde));
}

}  // namespace

int main(int count, char** arguments) {
  Comparison all;
  for (int i = 1; i + 1 < count; i += 2) compareFile(&all, arguments[i], arguments[i + 1]);
  if (count == 1) {
    const char* const shared[][2] = {{"definite", "494_bus.mtx"},
                                     {"definite", "bcsstk01.mtx"},
                                     {"definite", "gr_30_30.mtx"},
                                     {"definite", "nos3.mtx"},
                                     {"definite", "nos7.mtx"},
                                     {"least-squares", "ash219.mtx"},
                                     {"least-squares", "well1033.mtx.gz"},
                                     {"least-squares", "illc1033.mtx.gz"},
                                     {"square", "jpwh_991.mtx"},
                                     {"square", "west0067.mtx"},
                                     {"square", "orsirr_1.mtx"}};
    for (const auto& file : shared) {
      const std::string path = sharedData(file[1]);
      if (!path.empty()) compareFile(&all, file[0], path);
    }
    compareGenerated(&all);
  }
  all.finish();
}
