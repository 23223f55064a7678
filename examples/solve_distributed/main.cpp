// Solves with the rows of a matrix spread over the processes of an MPI job: see solve_distributed --help.
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "input_error.h"
#include "limber/limber.h"
#include "limber_petsc/petsc.h"
#include "matrix_market.h"
#include "memory.h"
#include "numbers.h"
#include "output_file.h"

namespace {

const char help[] =
    "mpirun -n N solve_distributed [--ls | --spd] [OPTION...] MATRIX\n"
    "Each process reads the Matrix Market file MATRIX (plain or gzip-compressed) and keeps its rows.\n"
    "  --ls          minimise |A x - b| (the default)\n"
    "  --spd         A x = b, A symmetric positive definite\n"
    "  -b FILE       the right-hand side; without it b = A 1, so that x is all ones\n"
    "  -x FILE       writes the solution as a Matrix Market array, whole or not at all\n"
    "  --relative R  the residual asked for, relative to the right-hand side's (1e-10)\n"
    "Options that begin with -limber_ go to PETSc, for example -limber_ksp_type pipecg. PETSc takes the "
    "word\n"
    "after them as their value, so one without a value, like -limber_ksp_monitor, stands before another "
    "option.\n"
    "Ctrl-C ends the job, and no solution is written.\n"
    "Exit status: 0 solved, 1 the input cannot be used, 2 not solved, 3 not enough memory.\n";

enum ExitStatus { exitSolved = 0, exitBadInput = 1, exitNotSolved = 2, exitNoMemory = 3 };

struct Options {
  bool positiveDefinite = false;
  std::string matrix, rightHandSide, solution;
  double relative = 1e-10;
};

// A step failed on some process, and that process has printed the reason.
struct Ended {
  int status;
};

// Runs a step on every process. If it fails on some of them, the first of these prints its message, and all
// processes end.
void together(MPI_Comm comm, const std::function<void()>& step) {
  int status = exitSolved;
  std::string message;
  try {
    step();
  } catch (const InputError& error) {
    status = exitBadInput, message = error.what();
  } catch (const OutOfMemory& error) {
    status = exitNoMemory, message = error.what();
  } catch (const std::bad_alloc&) {
    status = exitNoMemory, message = "solve_distributed: not enough memory";
  }
  int rank = 0, size = 1;
  MPI_Comm_rank(comm, &rank);
  MPI_Comm_size(comm, &size);
  const int mine = status == exitSolved ? size : rank;
  int first = size;
  MPI_Allreduce(&mine, &first, 1, MPI_INT, MPI_MIN, comm);
  if (first == size) return;
  if (first == rank) std::fprintf(stderr, "%s\n", message.c_str());
  MPI_Bcast(&status, 1, MPI_INT, first, comm);
  throw Ended{status};
}

// Returns the value of an option that needs one.
const char* valueOf(int argc, char** argv, int* i) {
  if (*i + 1 >= argc)
    throw InputError(std::string("solve_distributed: ") + argv[*i] + " needs a value; see --help");
  return argv[++*i];
}

Options readOptions(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--ls") {
      options.positiveDefinite = false;
    } else if (word == "--spd") {
      options.positiveDefinite = true;
    } else if (word == "-b") {
      options.rightHandSide = valueOf(argc, argv, &i);
    } else if (word == "-x") {
      options.solution = valueOf(argc, argv, &i);
    } else if (word == "--relative") {
      const char* text = valueOf(argc, argv, &i);
      if (!parseReal(text, &options.relative) || options.relative < 0.0)
        throw InputError("solve_distributed: --relative: expected a number that is not negative, found " +
                         quoted(text));
    } else if (word.compare(0, 8, "-limber_") == 0) {
      if (i + 1 < argc && argv[i + 1][0] != '-' && i + 2 < argc) ++i;  // skip its value; PETSc has read both
    } else if (word[0] == '-' || !options.matrix.empty()) {
      throw InputError("solve_distributed: unexpected " + quoted(argv[i]) + "; see --help");
    } else {
      options.matrix = word;
    }
  }
  if (options.matrix.empty())
    throw InputError("solve_distributed: expected the file of a matrix; see --help");
  return options;
}

// This process's rows of a file, with the entries as the file has them.
class OwnRows {
 public:
  OwnRows(MPI_Comm comm, const std::string& file) {
    const auto own = [comm](int rows) {
      const limber::petsc::Part part = limber::petsc::evenPart(comm, rows);
      return std::pair<int, int>(part.first, part.first + part.count);
    };
    problem_ = readMatrix(file, nullptr, own);
    part_ = limber::petsc::evenPart(comm, problem_.rows);
    rows_.resize(static_cast<std::size_t>(part_.count));
    for (const Entry& entry : problem_.entries)
      rows_[static_cast<std::size_t>(entry.row - part_.first)].insEnd(entry.value, entry.column);
    for (SpVec& row : rows_) matrix_.add(&row);
    if (matrix_.numRows != part_.count) throw std::bad_alloc();
  }
  limber::petsc::Rows rows() const { return {&matrix_, part_.first, problem_.columns}; }
  const SparseProblem& problem() const { return problem_; }
  limber::petsc::Part part() const { return part_; }

 private:
  SparseProblem problem_;
  limber::petsc::Part part_{};
  std::vector<SpVec> rows_;
  HSpMat matrix_{0};
};

// This process's part of the right-hand side. `notes` receives those on its file.
Vector rightHandSide(const Options& options, const OwnRows& A, MPI_Comm comm,
                     std::vector<std::string>& notes) {
  Vector b(A.part().count);
  if (b.count != A.part().count) throw std::bad_alloc();
  if (options.rightHandSide.empty()) {
    for (const Entry& entry : A.problem().entries) b[entry.row - A.part().first] += entry.value;
    return b;
  }
  const auto own = [comm](int rows) {
    const limber::petsc::Part part = limber::petsc::evenPart(comm, rows);
    return std::pair<int, int>(part.first, part.first + part.count);
  };
  const NumberFile read = readVector(options.rightHandSide, nullptr, A.problem().rows, own);
  notes.insert(notes.end(), read.notes.begin(), read.notes.end());
  if (!options.solution.empty() && sameFile(options.solution, read.path))
    throw InputError("solve_distributed: -x: expected another file than the right-hand side");
  for (int i = 0; i < b.count; ++i) b[i] = read.values[static_cast<std::size_t>(i)];
  return b;
}

// Passes the parts of x to `use` on process 0, one after the other, so that no process ever holds more than
// two parts.
void eachPart(MPI_Comm comm, const Vector& x, const std::function<void(const Vector&)>& use) {
  int rank = 0, size = 1;
  MPI_Comm_rank(comm, &rank);
  MPI_Comm_size(comm, &size);
  if (rank != 0) {
    MPI_Send(&x.count, 1, MPI_INT, 0, 0, comm);
    MPI_Send(x.data, x.count, MPI_DOUBLE, 0, 1, comm);
    return;
  }
  use(x);
  for (int from = 1; from < size; ++from) {
    int count = 0;
    MPI_Recv(&count, 1, MPI_INT, from, 0, comm, MPI_STATUS_IGNORE);
    std::vector<double> values(static_cast<std::size_t>(count));
    MPI_Recv(values.data(), count, MPI_DOUBLE, from, 1, comm, MPI_STATUS_IGNORE);
    Vector part(count);
    for (int i = 0; i < part.count; ++i) part[i] = values[static_cast<std::size_t>(i)];
    use(part);
  }
}

// Writes the solution from process 0. A failed write is reported only at the end, after all parts have been
// received.
void writeSolution(MPI_Comm comm, const std::string& file, const Vector& x, int unknowns) {
  int rank = 0;
  MPI_Comm_rank(comm, &rank);
  std::unique_ptr<OutputFile> out;
  together(comm, [&] {
    if (rank == 0) out = std::make_unique<OutputFile>(file);
  });
  if (out) std::fprintf(out->stream(), "%%%%MatrixMarket matrix array real general\n%d 1\n", unknowns);
  eachPart(comm, x, [&](const Vector& part) {
    for (int i = 0; i < part.count; ++i) std::fprintf(out->stream(), "%.17g\n", part[i]);
  });
  together(comm, [&] {
    if (out) out->finish();
  });
}

int run(int argc, char** argv, const limber::petsc::Session& session) {
  const MPI_Comm comm = MPI_COMM_WORLD;
  Options options;
  std::unique_ptr<OwnRows> A;
  std::vector<std::string> notes;
  Vector b, x;
  together(comm, [&] { options = readOptions(argc, argv); });
  together(comm, [&] {
    A = std::make_unique<OwnRows>(comm, options.matrix);
    if (!options.solution.empty() && sameFile(options.solution, A->problem().path))
      throw InputError("solve_distributed: -x: expected another file than the matrix");
    notes = A->problem().notes;
    b = rightHandSide(options, *A, comm, notes);
  });

  SolveOptions how;
  how.relative = options.relative;
  const SolveReport report = options.positiveDefinite
                                 ? limber::petsc::solvePositiveDefinite(comm, A->rows(), b, &x, how)
                                 : limber::petsc::solveLeastSquares(comm, A->rows(), b, &x, how);
  // An error of PETSc leaves no result.
  const bool hasResult = report.status != SOLVE_BAD_INPUT && !std::isnan(report.residual);
  if (!options.solution.empty() && hasResult) writeSolution(comm, options.solution, x, A->problem().columns);

  together(comm, [&] {
    if (session.rank() != 0) return;
    for (const std::string& note : notes) std::fprintf(stderr, "%s\n", note.c_str());
    std::printf("%s: %d x %d on %d process%s\n", A->problem().path.c_str(), A->problem().rows,
                A->problem().columns, session.size(), session.size() == 1 ? "" : "es");
    std::printf("%s after %d iterations and %.3f s: %s\n",
                report.status == SOLVE_CONVERGED ? "solved" : "not solved", report.iterations, report.seconds,
                report.message);
    if (hasResult) std::printf("residual %.3g, relative %.3g\n", report.residual, report.relativeResidual);
    requireStandardOutput("solve_distributed");
  });
  return report.status == SOLVE_CONVERGED   ? exitSolved
         : report.status == SOLVE_BAD_INPUT ? exitBadInput
                                            : exitNotSolved;
}

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (std::strcmp(argv[i], "--help") == 0) return std::fputs(help, stdout) < 0 || std::fflush(stdout) != 0;
  const limber::petsc::Session session(&argc, &argv);
  if (!session.ok()) return exitBadInput;
  try {
    return run(argc, argv, session);
  } catch (const Ended& ended) {
    return ended.status;
  }
}
