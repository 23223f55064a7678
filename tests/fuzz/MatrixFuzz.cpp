// Any bytes are either a matrix or an error that names the file. A matrix is complete, its rows hold what its
// file says, and after writing it reads back as the same matrix. The same bytes are also read as a right-hand
// side.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "input_error.h"
#include "limber/foundation/Output.h"
#include "matrix_market.h"
#include "memory.h"
#include "tests/fuzz/MemoryFile.h"
#include "tests/support/DecimalPoint.h"

namespace {

int silent(const char*) { return 0; }

// Runs `read`. False if it throws an error, which must name the file.
template <class Read>
bool reads(const std::string& path, const Read& read) {
  try {
    read();
    return true;
  } catch (const InputError& error) {
    REQUIRE(std::strncmp(error.what(), path.c_str(), path.size()) == 0);
  } catch (const OutOfMemory& error) {
    REQUIRE(std::strncmp(error.what(), path.c_str(), path.size()) == 0);
  }
  return false;
}

void checkWhole(const SparseProblem& problem) {
  REQUIRE(problem.rows >= 1 && problem.columns >= 1);
  const Entry* last = nullptr;
  for (const Entry& entry : problem.entries) {
    REQUIRE(entry.row >= 0 && entry.row < problem.rows && entry.column >= 0 &&
            entry.column < problem.columns);
    REQUIRE(std::isfinite(entry.value));
    REQUIRE(!last || last->row < entry.row || (last->row == entry.row && last->column < entry.column));
    last = &entry;
  }
}

void checkRows(const SparseProblem& problem) {
  RowMatrix all(problem, RowMatrix::All), contract(problem, RowMatrix::Contract);
  REQUIRE(all.matrix().height() == problem.rows && all.matrix().width() == problem.columns &&
          all.dropped() == 0);
  REQUIRE(contract.matrix().height() == problem.rows && contract.matrix().width() == problem.columns);
  std::size_t tiny = 0;
  for (const Entry& entry : problem.entries) {
    REQUIRE(all.matrix().acc(entry.row, entry.column) == entry.value);
    tiny += entry.value != 0.0 && std::fabs(entry.value) <= 1e-12;
  }
  REQUIRE(contract.dropped() == tiny);
}

void checkReadsBack(const SparseProblem& problem) {
  const MemoryFile copy;
  std::FILE* const out = std::fopen(copy.path().c_str(), "wb");
  REQUIRE(out);
  std::fprintf(out, "%%%%MatrixMarket matrix coordinate real general\n%d %d %zu\n", problem.rows,
               problem.columns, problem.entries.size());
  {
    const DecimalPoint point;
    for (const Entry& entry : problem.entries) {
      std::fprintf(out, "%d %d %.17g\n", entry.row + 1, entry.column + 1, entry.value);
    }
  }
  std::fclose(out);
  const SparseProblem again = readMatrix(copy.path(), nullptr);
  REQUIRE(again.rows == problem.rows && again.columns == problem.columns);
  REQUIRE(again.entries.size() == problem.entries.size());
  for (std::size_t k = 0; k < again.entries.size(); ++k) {
    const Entry &a = problem.entries[k], &b = again.entries[k];
    REQUIRE(a.row == b.row && a.column == b.column && a.value == b.value);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  stdoutF = stderrF = silent;
  const MemoryFile file(data, size);
  SparseProblem problem;
  if (reads(file.path(), [&] { problem = readMatrix(file.path(), nullptr); })) {
    checkWhole(problem);
    // Large tables of empty rows only slow down the fuzzer, and a large matrix with few entries would be
    // refused.
    if (problem.rows <= 10000 && problem.entries.size() <= 2000) checkRows(problem);
    if (problem.rows <= 1000000 && problem.columns <= 1000000) checkReadsBack(problem);
  }
  const int wanted = 1 + static_cast<int>(size % 5);
  NumberFile read;
  if (reads(file.path(), [&] { read = readVector(file.path(), nullptr, wanted); })) {
    REQUIRE(static_cast<int>(read.values.size()) == wanted && read.path == file.path());
    for (const double value : read.values) REQUIRE(std::isfinite(value));
  }
  return 0;
}
