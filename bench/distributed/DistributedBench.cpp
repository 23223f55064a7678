// bench_distributed SIDE ITERATIONS: measures an iteration of solvePositiveDefinite on a five-point stencil
// of SIDE x SIDE points, whose rows are spread over the processes of the job. Process 0 prints one line with
// the number of processes and these figures:
//
// - of an iteration: the seconds (the median), the messages, the bytes sent, and the sums over all processes;
// - the share of a core that a process had;
// - the bytes of the rows, and those of the solve beside them;
// - the seconds of one sum over all processes;
// - the seconds in which each process streams a gigabyte, all of them at once.
//
// Each figure is the largest of all processes, but the share is the smallest.
#include <petsclog.h>
#include <petscsys.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <vector>

#include "limber/limber.h"
#include "limber_petsc/petsc.h"

namespace {

const MPI_Comm world = MPI_COMM_WORLD;

double bytesAtMost() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

double processorTime() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// This process's rows of the stencil.
class Stencil {
 public:
  Stencil(int side, limber::petsc::Part part) : first_(part.first), columns_(side * side) {
    rows_.reserve(static_cast<std::size_t>(part.count));
    for (int i = part.first; i < part.first + part.count; ++i) {
      rows_.push_back(std::make_unique<SpVec>(5));
      SpVec& row = *rows_.back();
      if (i >= side) row.insEnd(-1.0, i - side);
      if (i % side > 0) row.insEnd(-1.0, i - 1);
      row.insEnd(4.0, i);
      if (i % side < side - 1) row.insEnd(-1.0, i + 1);
      if (i + side < columns_) row.insEnd(-1.0, i + side);
      matrix_.add(&row);
    }
  }
  limber::petsc::Rows rows() const { return {&matrix_, first_, columns_}; }

 private:
  int first_, columns_;
  std::vector<std::unique_ptr<SpVec>> rows_;
  HSpMat matrix_{0};
};

// The cost of all solves of this process so far.
struct Cost {
  double messages, bytes, sums;

  static Cost now() {
    return {petsc_isend_ct + petsc_send_ct, petsc_isend_len + petsc_send_len, petsc_allreduce_ct};
  }
  Cost operator-(const Cost& o) const { return {messages - o.messages, bytes - o.bytes, sums - o.sums}; }
};

// The times at which the iterations of a solve end.
struct Stamps {
  std::vector<double> wall, processor;

  static int take(int, double, void* data) {
    Stamps& stamps = *static_cast<Stamps*>(data);
    stamps.wall.push_back(MPI_Wtime());
    stamps.processor.push_back(processorTime());
    return 0;
  }
  double medianIteration() const {
    std::vector<double> took;
    for (std::size_t i = 1; i < wall.size(); ++i) took.push_back(wall[i] - wall[i - 1]);
    std::nth_element(took.begin(), took.begin() + took.size() / 2, took.end());
    return took[took.size() / 2];
  }
  double shareOfCore() const { return (processor.back() - processor.front()) / (wall.back() - wall.front()); }
};

Cost solve(const Stencil& A, const Vector& b, int iterations, Stamps* stamps = nullptr) {
  SolveOptions options;
  options.relative = 0.0;
  options.maxIterations = iterations;
  if (stamps) options.observer = Stamps::take;
  options.observerData = stamps;
  Vector x;
  MPI_Barrier(world);
  const Cost before = Cost::now();
  const SolveReport report = limber::petsc::solvePositiveDefinite(world, A.rows(), b, &x, options);
  const Cost cost = Cost::now() - before;
  if (report.iterations != iterations) {
    std::fprintf(stderr, "the solve made %d iterations of %d: %s\n", report.iterations, iterations,
                 report.message);
    MPI_Abort(world, 1);
  }
  return cost;
}

// a = b + 1.5 c over 96 MB. This measures how fast the memory serves this process while the others do the
// same.
double secondsPerGigabyte() {
  const int n = 4000000, times = 10;
  std::vector<double> a(n), b(n, 1.0), c(n, 2.0);
  double least = std::numeric_limits<double>::infinity();
  for (int k = 0; k < times; ++k) {
    MPI_Barrier(world);
    const double begin = MPI_Wtime();
    for (int i = 0; i < n; ++i) a[i] = b[i] + (1.5 + k) * c[i];
    least = std::min(least, MPI_Wtime() - begin);
  }
  return a[n / 2] > 0.0 ? least / (24e-9 * n) : 0.0;
}

double secondsOfSum() {
  const int times = 2000;
  double x = 1.0, sum = 0.0;
  MPI_Barrier(world);
  const double begin = MPI_Wtime();
  for (int i = 0; i < times; ++i) MPI_Allreduce(&x, &sum, 1, MPI_DOUBLE, MPI_SUM, world);
  return (MPI_Wtime() - begin) / times;
}

}  // namespace

int main(int argc, char** argv) {
  const limber::petsc::Session session(&argc, &argv);
  if (!session.ok() || argc < 3) return 1;
  const int side = std::atoi(argv[1]), iterations = std::atoi(argv[2]);
  const double before = bytesAtMost();
  const limber::petsc::Part part = limber::petsc::evenPart(world, side * side);
  const Stencil A(side, part);
  const double withRows = bytesAtMost();
  Vector b(part.count);
  for (int i = 0; i < b.count; ++i) b[i] = 1.0 + 0.001 * ((part.first + i) % 997);

  // The difference of two solves excludes the beginning and the end of a solve.
  const Cost few = solve(A, b, iterations);
  const Cost cost = solve(A, b, 3 * iterations) - few;
  const double n = 2.0 * iterations;
  const double held = bytesAtMost() - withRows;
  Stamps stamps;
  solve(A, b, 3 * iterations, &stamps);
  const double mine[] = {stamps.medianIteration(), cost.messages / n, cost.bytes / n, cost.sums / n,
                         -stamps.shareOfCore(),    withRows - before, held,           secondsOfSum(),
                         secondsPerGigabyte()};
  double largest[9];
  MPI_Reduce(mine, largest, 9, MPI_DOUBLE, MPI_MAX, 0, world);
  largest[4] = -largest[4];
  if (session.rank() == 0) {
    std::printf("result %d", session.size());
    for (double value : largest) std::printf(" %.9g", value);
    std::printf("\n");
  }
  return 0;
}
